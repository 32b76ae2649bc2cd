// What headers say of all their data: first and last time, interval, types, frequency numbers, counts.
#include <algorithm>

#include "rinex/check_header.h"
#include "rinex/check_observations.h"
#include "rinex/field_formats.h"

namespace rinex {

namespace {

std::string seconds_text(ticks_t ticks)
{
    const std::string fraction = std::to_string(kTicksPerSecond + ticks % kTicksPerSecond).substr(1);
    const std::size_t used = fraction.find_last_not_of('0') + 1;
    return std::to_string(ticks / kTicksPerSecond) + (used > 0 ? "." : "") + fraction.substr(0, used) + " s";
}

}   // namespace

void observation_check_t::check_times()
{
    struct time_check_t {
        const char* label;
        rule_t rule;
        ticks_t time;
    };
    const time_check_t checks[] = {{"TIME OF FIRST OBS", rule_t::time_of_first_obs, first_},
                                   {"TIME OF LAST OBS", rule_t::time_of_last_obs, last_}};
    for (const time_check_t& check : checks) {
        const auto said = header_.time(check.label);
        if (!timed_ || !said || *said == check.time) continue;
        findings_.add(check.rule, header_.find(check.label)->line, 1, check.label,
                      "the data have " + ticks_text(check.time));
    }
}

void observation_check_t::check_interval()
{
    const header_record_t* record = header_.find("INTERVAL");
    if (record == nullptr) return;
    const auto text = decimal_of(record->text.substr(0, 10), 3);
    if (!interval_) {
        if (text) findings_.add(rule_t::interval, record->line, 1, record->label, "is not above zero");
    } else if (off_grid_) {
        findings_.add(rule_t::interval, record->line, 1, record->label,
                      "the step to line " + std::to_string(off_grid_line_) + " is " + seconds_text(off_grid_step_));
    } else if (shortest_ > *interval_ + wander(*interval_)) {
        findings_.add(rule_t::interval_unused, record->line, 1, record->label,
                      "the shortest step is " + seconds_text(shortest_));
    }
}

// Types without a value; a system without a satellite is one finding.
void observation_check_t::check_unused()
{
    const bool one_list = header_.version < 300;
    for (std::size_t system = 0; system < (one_list ? 1 : kSystemCount); ++system) {
        const type_list_t& list = header_.types_of(kSystems[system]);
        if (list.line == 0) continue;
        const auto values = [&](std::size_t i) {
            std::uint64_t sum = 0;
            for (std::size_t s = 0; s < kSystemCount; ++s) sum += one_list || s == system ? types_[s][i].values : 0;
            return sum;
        };
        const std::string name = one_list ? "" : std::string(1, kSystems[system]);
        bool any = false;
        for (std::size_t at = 0; at < kNumbers; ++at) any = any || one_list || present_[system * kNumbers + at];
        if (!any) {
            findings_.add(rule_t::type_unused, list.line, 1, name, "no satellite of this system");
            continue;
        }
        for (std::size_t i = 0; i < list.types.size(); ++i) {
            if (values(i) > 0) continue;
            findings_.add(rule_t::type_unused, list.types[i].line, list.types[i].column,
                          name + (name.empty() ? "" : " ") + list.types[i].code.text(), "has no value");
        }
    }
}

void observation_check_t::check_slots()
{
    const std::size_t first = system_index('R') * kNumbers;
    if (header_.version < 300) return;
    std::string lacking;
    const auto channels = header_.glonass_channels();
    bool any = false;
    for (std::size_t number = 1; number < kNumbers; ++number) {
        if (!present_[first + number]) continue;
        any = true;
        const std::string name = {'R', static_cast<char>('0' + number / 10), static_cast<char>('0' + number % 10)};
        if (channels.count(static_cast<int>(number)) == 0) lacking += " " + name;
    }
    if (!any) return;
    const header_record_t* record = header_.find("GLONASS SLOT / FRQ #");
    if (record == nullptr) {
        require(header_, "GLONASS SLOT / FRQ #", findings_);
    } else if (!lacking.empty()) {
        findings_.add(rule_t::glonass_slot_missing, record->line, 1, record->label, "lacks" + lacking);
    }
    if (header_.version < 400) require(header_, "GLONASS COD/PHS/BIS", findings_);
}

void observation_check_t::check_numbers()
{
    const header_record_t* number = header_.find("# OF SATELLITES");
    const auto said = number == nullptr ? std::nullopt : integer_of(number->text.substr(0, 6));
    if (said && static_cast<std::size_t>(*said) != satellites()) {
        findings_.add(rule_t::satellite_number, number->line, 1, number->label,
                      "the data have " + std::to_string(satellites()));
    }
    if (findings_.count(format_rule("PRN / # OF OBS")) > 0) return;
    std::bitset<kSystemCount * kNumbers> listed;
    counts_t* counts = nullptr;
    std::size_t first = 0;
    const header_record_t* any = nullptr;
    bool all_known = true;
    for (const header_record_t& record : header_.records) {
        if (record.label != "PRN / # OF OBS") continue;
        any = &record;
        const char letter = record.text[3] == ' ' ? header_.default_system() : record.text[3];
        const auto prn = integer_of(record.text.substr(4, 2));
        first += 9;
        if (prn) {
            const std::size_t at = system_index(letter) * kNumbers + static_cast<std::size_t>(std::max(*prn, 0));
            const bool known = is_satellite(letter, *prn) && present_[at];
            counts = known ? &counts_[at] : nullptr;
            first = 0;
            if (known) listed[at] = true;
            all_known = all_known && known;
            if (!known)
                findings_.add(rule_t::obs_number, record.line, 4, record.label,
                              record.text.substr(3, 3) + " is not in the data");
        }
        if (counts != nullptr) check_obs_number(record, counts, first);
    }
    if (any != nullptr && all_known && listed != present_) {
        findings_.add(rule_t::obs_number, any->line, 4, any->label, "satellites of the data are not listed");
    }
}

void observation_check_t::check_obs_number(const header_record_t& record, counts_t* counts, std::size_t first)
{
    for (std::size_t i = 0; i < 9; ++i) {
        const std::string_view text = std::string_view(record.text).substr(6 + 6 * i, 6);
        if (!is_blank(text) && !integer_of(text)) continue;   // has been found
        const auto said = static_cast<std::uint64_t>(std::max(0, integer_of(text).value_or(0)));
        const bool is_type = first + i < counts->values.size();
        const std::uint64_t values = is_type ? counts->values[first + i] : 0,
                            zeros = is_type ? counts->zeros[first + i] : 0;
        if (said >= values && said <= values + zeros) continue;
        findings_.add(rule_t::obs_number, record.line, 7 + 6 * i, record.label,
                      std::to_string(said) + ", the data have " + std::to_string(values));
    }
}

}   // namespace rinex
