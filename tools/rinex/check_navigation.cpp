#include "rinex/check_navigation.h"

#include <algorithm>
#include <cmath>
#include <functional>

#include "rinex/field_formats.h"

namespace rinex {

namespace {

constexpr double kWeek = 604800, kDay = 86400;
constexpr double kBeidouWeek = 1356, kOldGalileoWeek = 1024;   // weeks of GPS time when theirs began

struct range_t {
    std::size_t field;
    double low, high;
    const char* what;
};

// Of all records with orbital elements, and of those with positions; units as in the files.
// clang-format off
constexpr range_t kOrbitRanges[] = {
    {kNavEccentricity,     0,  0.999999999999, "eccentricity"},
    {kNavRootA,         2000,           10000, "square root of the semi-major axis (sqrt(m))"},
    {kNavToe,              0,          604800, "reference time (s of the week)"},
};
constexpr range_t kGlonassRanges[] = {
    { 3,                   0,          604800, "message time (s of the week)"},
    { 4,              -30000,           30000, "X (km)"},
    { 8,              -30000,           30000, "Y (km)"},
    {11,                  -7,              13, "frequency channel"},
    {12,              -30000,           30000, "Z (km)"},
};
constexpr range_t kSbasRanges[] = {
    { 4,              -50000,           50000, "X (km)"},
    { 8,              -50000,           50000, "Y (km)"},
    {12,              -50000,           50000, "Z (km)"},
};
// clang-format on

// GLUT, GPUT, ...: the first two letters are of the system whose time it is, or of another one's.
struct offset_t {
    char system;
    std::string_view pairs;
};
constexpr offset_t kPairs[] = {
    {'G', "GPUT GPGA GPGL GPBD GPQZ GPIR"},
    {'R', "GLUT GLGP GLGA GLBD"},
    {'E', "GAUT GAGP GPGA GAGL GABD"},
    {'J', "QZUT QZGP QZGA QZGL QZBD"},
    {'C', "BDUT BDGP BDGL BDGA"},
    {'I', "IRUT IRGP IRGL IRGA IRBD"},
    {'S', "SBUT SBGP"},
};

constexpr double kUnknownTime = 0.999999999999e9;

}   // namespace

void navigation_check_t::report(rule_t rule, const read_nav_record_t& record, std::size_t field, const std::string& text)
{
    const std::string name = record.message.empty() ? record.name() : record.name() + " " + record.message;
    findings_.add(rule, record.line + field / kNavColumns, reader_.column_of(field), name, text);
}

void navigation_check_t::add(const read_nav_record_t& record)
{
    ++records_;
    if (!check_satellite(record)) return;
    check_fields(record);
    const auto within = [&](const auto& ranges) {
        for (const range_t& range : ranges) {
            const nav_value_t& value = record.values[range.field];
            if (!value.present || (value.number >= range.low && value.number <= range.high)) continue;
            if (range.field < kNavColumns && value.number == kUnknownTime) continue;
            report(rule_t::nav_range, record, range.field,
                   std::string(range.what) + " " + std::string(trimmed(value.text)));
        }
    };
    if (record.layout->fields.empty()) return;
    if (record.record == "STO") check_names(record);
    if (record.record == "EPH" && record.system == 'R') {
        within(kGlonassRanges);
    } else if (record.record == "EPH" && record.system == 'S') {
        within(kSbasRanges);
    } else if (record.record == "EPH") {
        within(kOrbitRanges);
        check_week(record);
        check_source(record);
    }
    check_twice(record);
}

bool navigation_check_t::check_satellite(const read_nav_record_t& record)
{
    const std::size_t column = header_.version >= 400 ? 7 : 1;
    if (!header_.carries(record.system)) {
        findings_.add(rule_t::satellite_system, record.frame_line, column, record.name(),
                      "its system is not of this file");
        return false;
    }
    if (record.number < 0) return true;   // a frame without a satellite
    if (!is_satellite(record.system, record.number)) {
        findings_.add(rule_t::satellite_id, record.frame_line, column, record.name(), "there is no such satellite");
        return false;
    }
    present_[system_index(record.system) * kNumbers + static_cast<std::size_t>(record.number)] = true;
    return true;
}

// Blank and whole-number fields, as the layout says.
void navigation_check_t::check_fields(const read_nav_record_t& record)
{
    if (record.layout->fields.empty()) return;
    for (std::size_t i = 1; i < record.values.size(); ++i) {
        const nav_value_t& value = record.values[i];
        const char letter = record.layout->field(i);
        const bool mandatory = std::string_view("niwa").find(letter) != std::string_view::npos;
        if (mandatory && is_blank(value.text)) report(rule_t::nav_blank, record, i, "the field is mandatory");
        const bool whole = std::string_view("iwj").find(letter) != std::string_view::npos;
        if (whole && value.present && value.number != std::floor(value.number)) {
            report(rule_t::nav_integer, record, i, std::string(trimmed(value.text)) + " is no whole number");
        }
    }
}

// The week belongs to the reference time; in 3.02 Galileo weeks may be Galileo's own.
void navigation_check_t::check_week(const read_nav_record_t& record)
{
    if (record.layout->field(kNavWeek) != 'w') return;
    const nav_value_t &week = record.values[kNavWeek], &toe = record.values[kNavToe];
    if (!record.has_time || !week.present || !toe.present) return;
    if (std::abs(week.number) > 10000 || toe.number < 0 || toe.number > kWeek) return;   // the latter has been found
    const double clock = static_cast<double>(record.time) / kTicksPerSecond;
    const double weeks = week.number + (record.system == 'C' ? kBeidouWeek : 0);
    const auto fits = [&](double w) { return std::abs(w * kWeek + toe.number - clock) <= kDay; };
    if (fits(weeks)) return;
    if (header_.version == 302 && record.system == 'E' && fits(weeks + kOldGalileoWeek)) return;
    report(rule_t::nav_week, record, kNavWeek,
           "week " + std::string(trimmed(week.text)) + " and second " + std::string(trimmed(toe.text)) +
               " are not within a day of " + ticks_text(record.time).substr(0, 19));
}

// Bits 0 and 2: I/NAV; 1: F/NAV; 8 and 9: which clock.
void navigation_check_t::check_source(const read_nav_record_t& record)
{
    const nav_value_t& source = record.values[kNavSource];
    if (record.system != 'E' || !source.present || source.number != std::floor(source.number)) return;
    const bool bits = source.number >= 0 && source.number < 1024;
    const unsigned sources = bits ? static_cast<unsigned>(source.number) : 0;
    const bool inav = (sources & 5U) != 0, fnav = (sources & 2U) != 0;
    const bool both_clocks = (sources & 0x300U) == 0x300U;
    const bool named = record.message.empty() || (record.message == "INAV" ? inav : fnav);
    if (bits && inav != fnav && !both_clocks && named) return;
    report(rule_t::nav_source, record, kNavSource,
           "data source " + std::string(trimmed(source.text)) + " is not of one message");
}

void navigation_check_t::check_names(const read_nav_record_t& record)
{
    const std::string_view text = record.values[1].text, pair = trimmed(text);
    const auto row = std::find_if(std::begin(kPairs), std::end(kPairs),
                                  [&](const offset_t& p) { return p.system == record.system; });
    const bool known = row != std::end(kPairs) && pair.size() == 4 && row->pairs.find(pair) != std::string_view::npos;
    if (pair.empty()) return;   // has been found
    if (!known || text.substr(0, 2) != std::string(" ") + pair[0]) {
        report(rule_t::nav_name, record, 1, "'" + std::string(pair) + "' is no pair of time systems");
    } else if (pair.substr(2) == "UT" && is_blank(record.values[3].text)) {
        report(rule_t::nav_name, record, 3, std::string(pair) + " needs the name of the UTC");
    }
}

// Same satellite, message, time and issue; of Galileo, the same source.
void navigation_check_t::check_twice(const read_nav_record_t& record)
{
    const std::size_t at =
        system_index(record.system) * kNumbers + static_cast<std::size_t>(std::max(record.number, 0));
    std::string key = record.record + record.message + record.subtype + std::to_string(record.time);
    const bool elements = record.record == "EPH" && record.system != 'R' && record.system != 'S';
    for (std::size_t i = elements ? std::size_t{kNavIssue} : 1; i < record.values.size(); ++i) {
        const bool source = i == kNavSource && record.system == 'E';
        if (!elements || i == kNavIssue || i == kNavToe || source) key += record.values[i].text;
        if (record.record == "EPH" && !elements && i > 2) break;   // the clock tells
    }
    const std::size_t digest = std::hash<std::string>()(key) | 1U;   // 0: none
    auto& last = last_[at];
    if (std::find(last.begin(), last.end(), digest) != last.end()) {
        findings_.add(rule_t::nav_twice, record.frame_line, 1, record.name(), "the record stands in the file already");
    }
    last[turn_[at]++ % kRemembered] = digest;
}

}   // namespace rinex
