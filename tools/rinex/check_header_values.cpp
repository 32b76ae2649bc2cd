#include "rinex/check_header_values.h"

#include <algorithm>
#include <set>

#include "rinex/field_formats.h"

namespace rinex {

namespace {

std::string quoted(std::string_view text)
{
    return "'" + std::string(trimmed(text)) + "'";
}

// Whether a word is one of several, apart by blanks.
bool is_one_of(std::string_view word, std::string_view words)
{
    const std::string all = " " + std::string(words) + " ";
    return !word.empty() && all.find(" " + std::string(word) + " ") != std::string::npos;
}

constexpr std::string_view kMarkerTypes =
    "GEODETIC NON_GEODETIC NON_PHYSICAL SPACEBORNE AIRBORNE WATER_CRAFT GROUND_CRAFT FIXED_BUOY FLOATING_BUOY "
    "FLOATING_ICE GLACIER BALLISTIC ANIMAL HUMAN";
constexpr std::string_view kIonospheres = "GAL GPSA GPSB QZSA QZSB BDSA BDSB IRNA IRNB";
constexpr std::string_view kOffsets = "GAUT GPUT SBUT GLUT GPGA GAGP GLGP QZGP QZUT BDUT BDGP IRUT IRGP";
constexpr std::string_view kTimeSystems = "GPS GLO GAL QZS BDT IRN", kTimeSystems2 = "GPS GLO GAL";

void check_date(const header_record_t& record, const file_header_t& header, findings_t& findings)
{
    if (header.version < 300) return;
    const std::string_view date = std::string_view(record.text).substr(40, 20), zone = trimmed(date.substr(16));
    const auto number = [date](std::size_t at, std::size_t n) {
        const std::string_view text = date.substr(at, n);
        return std::all_of(text.begin(), text.end(), is_digit) ? integer_of(text).value_or(-1) : -1;
    };
    const bool zoned = zone.size() >= 3 && date[16] != ' ' &&
                       std::all_of(zone.begin(), zone.end(), [](char c) { return c >= 'A' && c <= 'Z'; });
    const bool exists =
        ticks_of(number(0, 4), number(4, 2), number(6, 2), number(9, 2), number(11, 2), number(13, 2) * kTicksPerSecond)
            .has_value();
    if (!zoned || !exists || date[8] != ' ' || date[15] != ' ') {
        findings.add(rule_t::pgm_date, record.line, 41, record.label, quoted(date) + " is not 'yyyymmdd hhmmss zone'");
    }
}

void check_marker_type(const header_record_t& record, const file_header_t&, findings_t& findings)
{
    if (!is_one_of(trimmed(record.text), kMarkerTypes)) {
        findings.add(rule_t::marker_type, record.line, 1, record.label,
                     quoted(record.text) + " is none of the keywords");
    }
}

void check_strength_unit(const header_record_t& record, const file_header_t&, findings_t& findings)
{
    if (trimmed(record.text) != "DBHZ") {
        findings.add(rule_t::strength_unit, record.line, 1, record.label, quoted(record.text) + " is not DBHZ");
    }
}

void check_clock_applied(const header_record_t& record, const file_header_t&, findings_t& findings)
{
    const int value = integer_of(record.text).value_or(-1);
    if (value != 0 && value != 1) {
        findings.add(rule_t::clock_applied, record.line, 1, record.label, quoted(record.text) + " is neither 0 nor 1");
    }
}

void check_scale_factor(const header_record_t& record, const file_header_t&, findings_t& findings)
{
    const std::string_view text = trimmed(std::string_view(record.text).substr(2, 4));
    if (record.text[0] != ' ' && !is_one_of(text, "1 10 100 1000")) {
        findings.add(rule_t::scale_factor, record.line, 3, record.label, quoted(text) + " is none of 1, 10, 100, 1000");
    }
}

void check_correction(const header_record_t& record, const file_header_t&, findings_t& findings)
{
    const std::string_view name = trimmed(std::string_view(record.text).substr(0, 4));
    const bool ionosphere = record.label == "IONOSPHERIC CORR";
    if (!is_one_of(name, ionosphere ? kIonospheres : kOffsets)) {
        findings.add(rule_t::correction_type, record.line, 1, record.label, quoted(name) + " is no correction");
    } else if (ionosphere && name != "GAL" && is_blank(std::string_view(record.text).substr(41, 12))) {
        findings.add(format_rule(record.label), record.line, 42, record.label, std::string(name) + " has four values");
    }
}

void check_slots(const header_record_t& record, const file_header_t& header, findings_t& findings)
{
    const std::string_view text = record.text;
    for (std::size_t at = 4; at < text.size(); at += 7) {
        const std::string_view cell = text.substr(at, 7);
        if (is_blank(cell)) continue;
        const auto slot = integer_of(cell.substr(1, 2)), channel = integer_of(cell.substr(4, 2));
        const bool right = cell[0] == 'R' && is_digit(cell[1]) && slot && is_satellite('R', *slot) && channel &&
                           *channel >= -7 && *channel <= 13;
        if (!right)
            findings.add(rule_t::glonass_slot_range, record.line, at + 1, record.label,
                         quoted(cell) + " is no slot and channel");
    }
    const auto announced = integer_of(text.substr(0, 3));
    const auto listed = header.glonass_channels().size();
    if (announced && static_cast<std::size_t>(*announced) != listed) {
        findings.add(rule_t::glonass_slot_count, record.line, 1, record.label,
                     std::to_string(*announced) + " announced, " + std::to_string(listed) + " listed");
    }
}

void check_time(const header_record_t& record, const file_header_t& header, findings_t& findings)
{
    if (!header.time(record.label)) {
        findings.add(format_rule(record.label), record.line, 1, record.label,
                     quoted(record.text.substr(0, 43)) + " is no time");
    }
}

struct value_check_t {
    std::string_view label;
    void (*check)(const header_record_t&, const file_header_t&, findings_t&);
};

constexpr value_check_t kChecks[] = {
    {"PGM / RUN BY / DATE", check_date},
    {"MARKER TYPE", check_marker_type},
    {"SIGNAL STRENGTH UNIT", check_strength_unit},
    {"RCV CLOCK OFFS APPL", check_clock_applied},
    {"SYS / SCALE FACTOR", check_scale_factor},
    {"IONOSPHERIC CORR", check_correction},
    {"TIME SYSTEM CORR", check_correction},
    {"GLONASS SLOT / FRQ #", check_slots},
    {"TIME OF FIRST OBS", check_time},
    {"TIME OF LAST OBS", check_time},
};

bool lists(const file_header_t& header, char system, std::string_view code)
{
    const auto& types = header.types_of(system).types;
    return std::any_of(types.begin(), types.end(),
                       [code](const listed_type_t& type) { return type.code.text() == code; });
}

// @return whether the record's time system is right
bool check_scale(const header_record_t& record, const file_header_t& header, findings_t& findings)
{
    const std::string_view scale = trimmed(std::string_view(record.text).substr(48, 3));
    const bool known = is_one_of(scale, header.version < 300 ? kTimeSystems2 : kTimeSystems);
    if (known || (scale.empty() && header.system != 'M')) return true;
    findings.add(rule_t::time_system, record.line, 49, record.label,
                 scale.empty() ? "a mixed file names its time system" : quoted(scale) + " is no time system");
    return false;
}

}   // namespace

void check_values(const header_record_t& record, const file_header_t& header, findings_t& findings)
{
    for (const value_check_t& row : kChecks) {
        if (row.label == record.label) row.check(record, header, findings);
    }
}

void check_phase_shifts(const file_header_t& header, findings_t& findings)
{
    if (header.version < 300 || header.version >= 400 || header.lost_types()) return;
    std::set<std::string> stated;   // "G L1C"; "G" stands for the whole system
    for (const header_record_t& record : header.records) {
        if (record.label != "SYS / PHASE SHIFT" || record.text[0] == ' ') continue;
        const char system = record.text[0];
        const std::string code(trimmed(std::string_view(record.text).substr(2, 3)));
        stated.insert(std::string(1, system) + (code.empty() ? "" : " ") + code);
        if (!code.empty() && !lists(header, system, code)) {
            findings.add(rule_t::phase_shift_type, record.line, 3, record.label,
                         std::string(1, system) + " " + code + " is not listed");
        }
    }
    if (stated.empty()) return;
    for (const char system : kSystems) {
        if (stated.count(std::string(1, system)) > 0) continue;
        for (const listed_type_t& type : header.types_of(system).types) {
            const std::string name = std::string(1, system) + " " + type.code.text();
            if (!type.code.is_phase() || !is_observation_code(system, type.code, header.version) ||
                stated.count(name) > 0)
                continue;
            findings.add(rule_t::phase_shift_missing, type.line, type.column, name, "has no SYS / PHASE SHIFT");
        }
    }
}

void check_time_systems(const file_header_t& header, findings_t& findings)
{
    const header_record_t *first = header.find("TIME OF FIRST OBS"), *last = header.find("TIME OF LAST OBS");
    const bool known = first != nullptr && check_scale(*first, header, findings);
    if (!known || last == nullptr) return;
    const std::string_view one = trimmed(std::string_view(first->text).substr(48, 3));
    const std::string_view other = trimmed(std::string_view(last->text).substr(48, 3));
    if (one != other)
        findings.add(rule_t::time_system, last->line, 49, last->label,
                     quoted(other) + ", but " + quoted(one) + " in TIME OF FIRST OBS");
}

}   // namespace rinex
