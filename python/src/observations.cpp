#include "observations.h"

#include <bit>
#include <limits>

#include "rinex/dates.h"
#include "rinex/fields.h"

namespace rtk_python {

namespace {

constexpr double kNone = std::numeric_limits<double>::quiet_NaN();

std::vector<text_t<3>> satellite_names()
{
    std::vector<text_t<3>> names;
    for (int place = 0; place < rinex::kSatellites; ++place)
        names.push_back(text_of<3>(rinex::satellite_at(place).name()));
    return names;
}

std::size_t count(const rinex::epoch_t& epoch)
{
    std::size_t n = 0;
    epoch.satellites.each([&](int place) {
        n += static_cast<std::size_t>(std::popcount(epoch.signals[static_cast<std::size_t>(place)]));
    });
    return n;
}

double usable(double value)
{
    return rinex::fits_columns(value) ? value : kNone;
}

}   // namespace

observations_t::observations_t(const rinex::signals_t& names, rinex::ledger_t& ledger)
    : satellites_(satellite_names()), codes_(rinex::kConstellationCount), ledger_(ledger)
{
    for (int c = 0; c < rinex::kConstellationCount; ++c) {
        for (const std::string& code : names.codes(c)) codes_[static_cast<std::size_t>(c)].push_back(text_of<2>(code));
    }
}

// Where a row is to be written, column by column.
struct observations_t::row_t {
    std::int64_t* time;
    text_t<3>* satellite;
    text_t<2>* code;
    double* values[rinex::kKindCount];
    std::uint8_t* lli;
    float* lock_time;
};

observations_t::row_t observations_t::extend(std::size_t n)
{
    row_t row{};
    row.time = columns_.time.extend(n);
    row.satellite = columns_.satellite.extend(n);
    row.code = columns_.code.extend(n);
    for (std::size_t kind = 0; kind < rinex::kKindCount; ++kind) row.values[kind] = columns_.values[kind].extend(n);
    row.lli = columns_.lli.extend(n);
    row.lock_time = columns_.lock_time.extend(n);
    return row;
}

bool observations_t::add(rinex::epoch_t& epoch, rinex::lock_tracker_t& locks)
{
    const std::size_t room = count(epoch);
    const row_t to = extend(room);
    const std::int64_t time = nanoseconds_of_ticks(epoch.time * rinex::kTicksPerMs);
    std::size_t n = 0;
    epoch.each([&](int place, int signal) {
        rinex::observation_t& o = epoch.at(place, signal);
        locks.follow(place, signal, o);
        if (o.beyond_columns != 0) ledger_.add_blanks(o.tracking_key, o.beyond_columns);
        const bool any = rinex::has_value_to_print(o);
        ledger_.add(o.tracking_key, any ? rinex::fate_t::written : rinex::fate_t::no_value);
        if (!any) return;
        if (o.value[rinex::kPhase] != 0.0) locks.mark(place, signal, epoch.time, o);
        const auto constellation = static_cast<std::size_t>(rinex::satellite_at(place).constellation);
        to.time[n] = time;
        to.satellite[n] = satellites_[static_cast<std::size_t>(place)];
        to.code[n] = codes_[constellation][static_cast<std::size_t>(signal)];
        for (std::size_t kind = 0; kind < rinex::kKindCount; ++kind) to.values[kind][n] = usable(o.value[kind]);
        to.lli[n] = rinex::fits_columns(o.value[rinex::kPhase]) ? o.digits : 0;
        to.lock_time[n] = static_cast<float>(o.lock_time);
        ++n;
    });
    columns_.each([&](auto& column) { column.drop(room - n); });
    return n > 0;
}

py::dict arrays_of(observations_t::columns_t columns)
{
    constexpr const char* kNames[] = {"pseudorange", "phase", "doppler", "cn0"};
    py::dict all;
    all["time"] = times_of(columns.time);
    all["satellite"] = array_of(columns.satellite);
    all["code"] = array_of(columns.code);
    for (std::size_t kind = 0; kind < rinex::kKindCount; ++kind) all[kNames[kind]] = columns.values[kind].array();
    all["lli"] = columns.lli.array();
    all["lock_time"] = columns.lock_time.array();
    return all;
}

}   // namespace rtk_python
