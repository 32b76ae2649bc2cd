// Logs: all at once, and epoch by epoch.
#include <pybind11/stl.h>

#include <algorithm>
#include <atomic>
#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "common/systems.h"
#include "lock.h"
#include "losses.h"
#include "navigation.h"
#include "observations.h"
#include "rooms.h"
#include "station.h"
#include "turn.h"

namespace rtk_python {

namespace {

constexpr double kLongestInterval = 86400.0, kShortestInterval = 0.001;   // s

struct wanted_t {
    std::string systems;
    std::vector<std::string> satellites, signals, names;
    std::optional<double> start, end;   // GPS seconds
    double interval;                    // s, 0: every epoch
};

// A name that nothing has is a slip: it would select nothing, without a word.
void demand_names(const kvx::selection_options_t& options)
{
    std::vector<std::string> satellites, signals;
    for (int place = 0; place < rinex::kSatellites; ++place) satellites.push_back(rinex::satellite_at(place).name());
    for (int c = 0; c < rinex::kConstellationCount; ++c) {
        for (const std::string& code : options.names.codes(c)) {
            signals.push_back(code);
            signals.push_back(rinex::kConstellations[c].letter + code);
        }
    }
    const auto demand = [](const char* what, const auto& patterns, const auto& names, const char* like) {
        for (const std::string& pattern : patterns) {
            const auto named = [&pattern](const std::string& name) { return kvx::matches({pattern}, name); };
            if (std::none_of(names.begin(), names.end(), named))
                throw py::value_error(std::string(what) + ": '" + pattern + "' is the name of none, such as " + like);
        }
    };
    demand("satellites", options.satellites, satellites, "G01 or E*");
    demand("signals", options.signals, signals, "1C, G2W or E*");
}

kvx::selection_options_t options_of(const wanted_t& wanted)
{
    kvx::selection_options_t options;
    if (const std::string fault = kvx::fault_in_letters(wanted.systems); !fault.empty())
        throw py::value_error("systems: " + fault);
    for (const std::string& rule : wanted.names) {
        if (const std::string fault = options.names.rename(rule); !fault.empty())
            throw py::value_error("names: " + fault);
    }
    if (wanted.interval != 0.0 && !(wanted.interval >= kShortestInterval && wanted.interval <= kLongestInterval))
        throw py::value_error("interval: not between 0.001 s and a day");
    options.systems = wanted.systems;
    options.satellites = wanted.satellites;
    options.signals = wanted.signals;
    options.start = wanted.start;
    options.end = wanted.end;
    options.interval = wanted.interval;
    demand_names(options);
    return options;
}

// At the end of what should be a log.
void demand_log(const log_source_t& log)
{
    const std::string why = log.why_no_log();
    if (why.empty()) return;
    PyErr_SetObject(PyExc_ValueError,
                    text_with_path(log.source().name() + ": is no log of the receiver: " + why).ptr());
    throw py::error_already_set();
}

py::dict glonass_channels(const rinex::channels_t& channels)
{
    py::dict named;
    for (std::size_t n = 0; n < channels.size(); ++n) {
        const rinex::satellite_t satellite = rinex::satellite_of(rinex::kGlonass, static_cast<std::int64_t>(n));
        if (channels[n] && satellite.valid()) named[satellite.name().c_str()] = static_cast<int>(*channels[n]);
    }
    return named;
}

// Opened without the lock: a pipe waits for its writer.
std::unique_ptr<log_source_t> opened(const py::object& input, const wanted_t& wanted)
{
    const kvx::selection_options_t options = options_of(wanted);
    const source_t source(input);
    const unlocked_t unlocked;
    return std::make_unique<log_source_t>(source, options);
}

py::dict read(const py::object& input, const wanted_t& wanted, bool with_observations)
{
    const auto log = opened(input, wanted);
    auto observations = std::make_unique<observations_t>(log->ledger());
    if (with_observations) observations->expect(log->feed().source().size_on_disk());
    navigation_t navigation(log->selection());
    station_t station(log->selection());
    const log_source_t::takes_t takes{[&](rinex::epoch_t& epoch, rinex::lock_tracker_t& locks) {
                                          return !with_observations || observations->add(epoch, locks);
                                      },
                                      [&](const kvx::message_t& message) {
                                          const int result = navigation.take(message);
                                          return result != DECODE_NOTHING ? result : station.take(message);
                                      }};
    {
        const unlocked_t unlocked;
        while (log->read_on(takes)) {
        }
    }
    demand_log(*log);
    py::dict all;
    all["observations"] = arrays_of(observations->take());
    all["ephemerides"] = navigation.arrays();
    all["positions"] = station.positions();
    all["events"] = station.events();
    all["ionosphere"] = navigation.ionosphere();
    all["leap_seconds"] = navigation.leap_seconds();
    all["receiver"] = station.receiver();
    all["antenna"] = station.antenna();
    all["glonass_channels"] = glonass_channels(log->feed().channels());
    all["losses"] = losses_of(*log);
    return all;
}

/// Reads a log on while it is asked for epochs. One thread at a time; another one is told so.
class epochs_t {
public:
    epochs_t(const py::object& input, const wanted_t& wanted)
        : log_(opened(input, wanted)), rows_(std::make_unique<observations_t>(log_->ledger()))
    {}

    /// Columns of the next epoch.
    /// @throws py::stop_iteration behind the last one, and behind an error
    py::dict next()
    {
        const turn_t turn(busy_);
        try {
            while (ready_.empty() && log_ && read_on()) {
            }
        } catch (...) {
            end();
            throw;
        }
        if (ready_.empty()) throw py::stop_iteration();
        py::dict epoch = arrays_of(std::move(ready_.front()));
        ready_.pop_front();
        return epoch;
    }

    void close()
    {
        const turn_t turn(busy_);
        end();
        ready_.clear();
    }

    /// So far; all of them behind the last epoch.
    py::object losses()
    {
        const turn_t turn(busy_);
        return log_ ? losses_of(*log_) : losses_;
    }

private:
    bool read_on()
    {
        bool more = true;
        {
            const unlocked_t unlocked;
            more = log_->read_on({[this](rinex::epoch_t& epoch, rinex::lock_tracker_t& locks) {
                                      if (!rows_->add(epoch, locks)) return false;
                                      ready_.push_back(rows_->take());
                                      return true;
                                  },
                                  {}});
        }
        if (more) return true;
        demand_log(*log_);
        end();
        return false;
    }

    void end()
    {
        if (log_) losses_ = losses_of(*log_);
        rows_.reset();
        log_.reset();
    }

    std::atomic<bool> busy_ = false;
    std::unique_ptr<log_source_t> log_;   // none: it has ended
    std::unique_ptr<observations_t> rows_;
    std::deque<observations_t::columns_t> ready_;
    py::object losses_ = py::none();
};

}   // namespace

void add_log(py::module_& module)
{
    using texts_t = std::vector<std::string>;
    py::class_<wanted_t>(module, "Wanted")
        .def(py::init<std::string, texts_t, texts_t, texts_t, std::optional<double>, std::optional<double>, double>());
    module.def("names", [](const wanted_t& wanted) { return names_of(options_of(wanted).names); });
    module.def("read", read);
    py::class_<epochs_t>(module, "Epochs")
        .def(py::init<const py::object&, const wanted_t&>())
        .def("__next__", &epochs_t::next)
        .def("close", &epochs_t::close)
        .def("losses", &epochs_t::losses);
}

}   // namespace rtk_python
