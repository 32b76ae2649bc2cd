#include "info/navigation_records.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <utility>

#include "common/progress.h"

namespace kvx {

namespace {

constexpr std::int64_t kWeekSeconds = 604800;

std::optional<rinex::nav_message_t> message_of(const rinex::read_nav_record_t& r)
{
    using rinex::nav_message_t;
    if (!r.message.empty()) {
        for (std::size_t i = 0; i < std::size(rinex::kNavMessageNames); ++i) {
            if (r.message == rinex::kNavMessageNames[i]) return static_cast<nav_message_t>(i);
        }
        return {};
    }
    constexpr int kFnav = 2;   // bit of the sources
    switch (r.system) {
        case 'E': {
            const rinex::nav_value_t* source =
                r.values.size() > rinex::kNavSource ? &r.values[rinex::kNavSource] : nullptr;
            const bool fnav = source != nullptr && source->present && std::fabs(source->number) < 1024.0 &&
                              (static_cast<int>(source->number) & kFnav) != 0;
            return fnav ? nav_message_t::fnav : nav_message_t::inav;
        }
        case 'C':
            return nav_message_t::d1;
        case 'R':
            return nav_message_t::fdma;
        case 'S':
            return nav_message_t::sbas;
        case 'G':
        case 'J':
            return nav_message_t::lnav;
        default:
            return {};
    }
}

// The time of a week that lies nearest another time.
std::int64_t nearest(double second_of_week, std::int64_t to)
{
    const std::int64_t t = to - to % kWeekSeconds + std::llround(second_of_week);
    if (t - to > kWeekSeconds / 2) return t - kWeekSeconds;
    return to - t > kWeekSeconds / 2 ? t + kWeekSeconds : t;
}

std::optional<rinex::ephemeris_record_t> ephemeris_of(const rinex::read_nav_record_t& from)
{
    rinex::ephemeris_record_t r;
    r.satellite = rinex::satellite_of(rinex::constellation_of(from.system), from.number);
    const auto message = message_of(from);
    if (from.record != "EPH" || !r.satellite.valid() || !message || !from.has_time) return {};
    const std::size_t lines = (from.values.size() + 3) / 4;
    if (lines < 4 || lines > 8) return {};
    const auto number = [&from](std::size_t i) {
        return i < from.values.size() && from.values[i].present ? from.values[i].number : rinex::kBlank;
    };
    r.message = *message;
    r.epoch = r.reference = from.time / rinex::kTicksPerSecond;
    for (std::size_t i = 0; i < 3; ++i) r.clock[i] = number(i + 1);
    for (std::size_t i = 4; i < 4 * lines; ++i) r.orbit[i / 4 - 1][i % 4] = number(i);
    r.lines = static_cast<int>(lines) - 1;
    const bool ellipse = r.satellite.constellation != rinex::kGlonass && r.satellite.constellation != rinex::kSbas;
    const auto known = [](double x) { return std::fabs(x) <= rinex::kLargestNumber; };
    const bool whole = std::all_of(r.clock.begin(), r.clock.end(), known) &&
                       std::all_of(r.orbit.begin(), r.orbit.begin() + 3, [&](const auto& line) {
                           return std::all_of(line.begin(), line.begin() + 3, known);
                       });
    if (!whole || (ellipse && r.lines < 6)) return {};
    if (ellipse) r.reference = nearest(std::clamp(number(rinex::kNavToe), 0.0, 604800.0), r.epoch);
    const double health = ellipse ? r.orbit[5][1] : r.satellite.constellation == rinex::kGlonass ? r.orbit[0][3] : 0.0;
    r.health = known(health) && health > 0.0 && health < 1e6 ? static_cast<std::uint32_t>(health) : 0;
    return r;
}

}   // namespace

navigation_records_t::navigation_records_t(const std::string& path, rinex_file_t::on_fault_t on_fault)
    : file_(path, std::move(on_fault))
{
    read_header_ionosphere();
}

// "GPSA" and "GPSB" with four numbers, or in RINEX 2 lines of their own.
void navigation_records_t::read_header_ionosphere()
{
    std::array<double, 8> model{};
    int found = 0;
    for (const rinex::header_record_t& record : file_.header().records) {
        const bool alpha = record.label == "ION ALPHA" || record.text.starts_with("GPSA");
        const bool beta = record.label == "ION BETA" || record.text.starts_with("GPSB");
        if (!alpha && !beta) continue;
        const std::size_t first = record.label.starts_with("ION ") ? 2 : 5;
        for (std::size_t i = 0; i < 4; ++i) {
            std::string number = record.text.substr(first + 12 * i, 12);
            std::replace(number.begin(), number.end(), 'D', 'E');
            model[i + (beta ? 4 : 0)] = std::strtod(number.c_str(), nullptr);
        }
        found |= alpha ? 1 : 2;
    }
    if (found == 3) ionosphere_ = model;
}

void navigation_records_t::take_ionosphere(const rinex::read_nav_record_t& r)
{
    if (r.record != "ION" || r.message != "LNAV" || r.system != 'G' || r.values.size() < 9) return;
    std::array<double, 8> model{};
    for (std::size_t i = 0; i < model.size(); ++i) model[i] = r.values[i + 1].present ? r.values[i + 1].number : 0.0;
    ionosphere_ = model;
}

void navigation_records_t::read(const std::function<void(const rinex::ephemeris_record_t&)>& take)
{
    progress_t progress(file_.source());
    rinex::navigation_reader_t reader(file_.lines(), file_.header(), file_.findings());
    for (rinex::read_nav_record_t record; reader.next(record);) {
        progress.at(file_.source().position_on_disk());
        take_ionosphere(record);
        const auto ephemeris = ephemeris_of(record);
        if (!ephemeris) continue;
        const double channel = ephemeris->orbit[1][3];
        if (ephemeris->satellite.constellation == rinex::kGlonass && std::fabs(channel) <= 7.0)
            channels_[static_cast<std::size_t>(ephemeris->satellite.number)] = static_cast<std::int8_t>(channel);
        take(*ephemeris);
    }
    file_.finish();
}

}   // namespace kvx
