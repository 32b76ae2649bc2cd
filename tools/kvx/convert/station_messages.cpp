#include "convert/station_messages.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <ctime>

#include "gnss/log/station.h"
#include "rinex/dates.h"
#include "rinex/header.h"
#include "rinex/observation_text.h"

namespace kvx {

namespace {

constexpr double kDegree = 3.1415926535897932 / 180.0;   // rad
constexpr std::int64_t kWeekMs = 604800000;

std::string now_in_utc()
{
    const std::time_t now = std::time(nullptr);
    std::tm utc{};
    gmtime_r(&now, &utc);
    char date[32];
    std::strftime(date, sizeof date, "%Y%m%d %H%M%S UTC", &utc);
    return date;
}

std::string text_of(const char* text, std::size_t size)
{
    std::string s(text, strnlen(text, size));
    s.resize(s.find_last_not_of(' ') + 1);
    return s;
}

// F14.4, with a sign.
bool fit_columns(const std::array<double, 3>& v)
{
    constexpr double kLargest = 99999999.9999;   // m
    return std::all_of(v.begin(), v.end(), [](double x) { return std::fabs(x) <= kLargest; });
}

}   // namespace

station_messages_t::station_messages_t(const convert_options_t& o) : options_(o)
{
    station_.program = KVX_VERSION;
    station_.run_by = o.run_by;
    station_.date = now_in_utc();
    station_.marker = o.marker.empty() ? "UNKNOWN" : o.marker;
    station_.marker_number = o.marker_number;
    station_.marker_type = o.marker_type.empty() ? "GEODETIC" : o.marker_type;
    station_.observer = o.observer;
    station_.agency = o.agency;
    station_.receiver_number = o.receiver_number;
    station_.receiver_type = o.receiver_type;
    station_.receiver_version = o.receiver_version;
    station_.antenna_number = o.antenna_number;
    station_.antenna_type = o.antenna_type;
    if (o.antenna_delta) std::copy_n(o.antenna_delta->begin(), 3, station_.delta.begin());
}

decode_result_t station_messages_t::take(int id, std::int64_t time, const std::uint8_t* body, int size)
{
    event_.reset();
    fix_.reset();
    switch (id) {
        case MSG_POSITION:
            return size < korvex::kPositionSize ? DECODE_NOTHING : take_position(id, time, body);
        case MSG_ECEF_POSITION:
            return size < korvex::kEcefPositionSize ? DECODE_REFUSED : take_position(id, time, body);
        case MSG_VERSION:
            return size < korvex::kVersionSize ? DECODE_NOTHING : take_version(body);
        case MSG_ANTENNA:
            return size < korvex::kAntennaSize ? DECODE_NOTHING : take_antenna(body);
        case MSG_MARK_TIME:
            return size < korvex::kMarkTimeSize ? DECODE_REFUSED : take_mark(time, body);
        case MSG_STOP_AND_GO:
            return size < korvex::kStopAndGoSize ? DECODE_REFUSED : take_stop_and_go(time, body, size);
        default:
            return DECODE_NOTHING;
    }
}

decode_result_t station_messages_t::take_position(int id, std::int64_t time, const std::uint8_t* body)
{
    const bool cartesian = id == MSG_ECEF_POSITION;
    const korvex::position_t p = cartesian ? korvex::read_ecef_position(body) : korvex::read_position(body);
    if (!p.is_known()) return DECODE_NOTHING;
    std::array<double, 3> position{p.coordinates[0], p.coordinates[1], p.coordinates[2]};
    if (!cartesian) {
        const double geodetic[3] = {position[0] * kDegree, position[1] * kDegree, position[2] + p.undulation};
        pos2ecef(geodetic, position.data());
    }
    if (!fit_columns(position)) return DECODE_REFUSED;
    station_.position = position;
    fix_ = {time, position, cartesian, static_cast<int>(p.type), p.undulation};
    return DECODE_STATION;
}

// The texts of the message are taken for the receiver's type, firmware and serial number, by their lengths.
decode_result_t station_messages_t::take_version(const std::uint8_t* body)
{
    const korvex::version_t v = korvex::read_version(body);
    if (options_.receiver_type.empty()) station_.receiver_type = text_of(v.text1, sizeof v.text1);
    if (options_.receiver_version.empty()) station_.receiver_version = text_of(v.text2, sizeof v.text2);
    if (options_.receiver_number.empty()) station_.receiver_number = text_of(v.text3, sizeof v.text3);
    return DECODE_STATION;
}

decode_result_t station_messages_t::take_antenna(const std::uint8_t* body)
{
    constexpr double kHighest = 99999.0;   // m: what the header's columns hold
    const korvex::antenna_t a = korvex::read_antenna(body);
    if (options_.antenna_type.empty()) station_.antenna_type = korvex::antenna_name(a.type);
    const auto height = static_cast<double>(std::bit_cast<float>(a.words[1]));
    if (!(std::fabs(height) < kHighest)) return DECODE_REFUSED;
    if (!options_.antenna_delta) station_.delta = {height, 0.0, 0.0};
    return DECODE_STATION;
}

// The mark's second of the week belongs to the week of the header or to a neighbour.
decode_result_t station_messages_t::take_mark(std::int64_t time, const std::uint8_t* body)
{
    const korvex::mark_time_t m = korvex::read_mark_time(body);
    if ((m.clock_status & 0xFE) != 0 || !(m.tow >= 0.0 && m.tow <= 604800.0)) return DECODE_REFUSED;
    const std::int64_t in_week = rinex::ticks_of_seconds(m.tow), week = kWeekMs * rinex::kTicksPerMs;
    const std::int64_t sent = time * rinex::kTicksPerMs;
    std::int64_t ticks = sent - sent % week + in_week;
    if (ticks - sent > week / 2) ticks -= week;
    if (sent - ticks > week / 2) ticks += week;
    event_ = {ticks, rinex::kExternalEvent, {}};
    return DECODE_MARK;
}

decode_result_t station_messages_t::take_stop_and_go(std::int64_t time, const std::uint8_t* body, int size)
{
    const korvex::stop_and_go_record_t s = korvex::read_stop_and_go(body, size);
    const std::array<double, 3> delta{s.antenna_delta[0], s.antenna_delta[1], s.antenna_delta[2]};
    if (s.word != 0 && (size < korvex::kStopAndGoFullSize || !fit_columns(delta))) return DECODE_REFUSED;
    event_ = {time * rinex::kTicksPerMs, s.word == 0 ? rinex::kStartMoving : rinex::kNewSite, {}};
    if (s.word == 0) return DECODE_STOP_AND_GO;
    auto& lines = event_->lines;
    lines.push_back(rinex::header_line(station_.marker, "MARKER NAME"));
    if (!station_.marker_number.empty()) lines.push_back(rinex::header_line(station_.marker_number, "MARKER NUMBER"));
    lines.push_back(rinex::vector_line(station_.position, "APPROX POSITION XYZ"));
    lines.push_back(rinex::vector_line(delta, "ANTENNA: DELTA H/E/N"));
    return DECODE_STOP_AND_GO;
}

}   // namespace kvx
