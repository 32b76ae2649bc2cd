#include "rinex/check_observations.h"

#include <algorithm>

#include "rinex/check_header.h"
#include "rinex/field_formats.h"

namespace rinex {

namespace {

constexpr int kMoved = 3, kExternal = 5, kSlips = 6;   // flags

// Clocks of receivers wander within a millisecond, and some files keep their times as measured.
constexpr ticks_t kWander = kTicksPerSecond / 100;

// The step's distance from whole intervals.
bool is_off_grid(ticks_t step, ticks_t interval)
{
    const ticks_t rest = step % interval;
    return std::min(rest, interval - rest) > std::min(kWander, interval / 10);
}

char strength_digit(std::int64_t thousandths)
{
    return static_cast<char>('0' + std::clamp<std::int64_t>(thousandths / 6000, 1, 9));
}

std::string seconds_text(ticks_t ticks)
{
    const std::string fraction = std::to_string(kTicksPerSecond + ticks % kTicksPerSecond).substr(1);
    const std::size_t used = fraction.find_last_not_of('0') + 1;
    return std::to_string(ticks / kTicksPerSecond) + (used > 0 ? "." : "") + fraction.substr(0, used) + " s";
}

}   // namespace

observation_check_t::observation_check_t(const file_header_t& header, const observation_reader_t& reader,
                                         findings_t& findings)
    : header_(header), reader_(reader), findings_(findings)
{
    prepare();
}

void observation_check_t::prepare()
{
    const header_record_t* unit = header_.find("SIGNAL STRENGTH UNIT");
    // RINEX 2 leaves the scale of strengths to the receiver.
    const bool decibels = header_.version >= 300 && (unit == nullptr || trimmed(unit->text) == "DBHZ");
    for (std::size_t system = 0; system < kSystemCount; ++system) {
        const auto& types = header_.types_of(kSystems[system]).types;
        types_[system].clear();
        for (const listed_type_t& type : types) {
            auto signal = type.code;
            signal.letters[0] = 'S';
            const auto strength =
                std::find_if(types.begin(), types.end(), [&signal](const auto& t) { return t.code == signal; });
            const bool takes = decibels && strength != types.end() && (type.code.kind() == 'C' || type.code.is_phase());
            types_[system].push_back({type.code.is_phase(), type.code.kind() == 'S', takes,
                                      takes ? static_cast<std::size_t>(strength - types.begin()) : kNone, 0});
        }
    }
    for (counts_t& counts : counts_) counts = {};
}

void observation_check_t::add(const read_epoch_t& epoch)
{
    if (epoch.is_event()) {
        check_event(epoch);
        return;
    }
    if (epoch.flag > kSlips) {
        findings_.add(rule_t::epoch_flag, epoch.line, header_.version < 300 ? 29 : 32, "", std::to_string(epoch.flag));
    }
    if (epoch.flag != kSlips) check_order(epoch);
    ++epochs_;
    if (!header_.has_types()) return;
    std::bitset<kSystemCount * kNumbers> seen;
    for (const read_satellite_t& satellite : epoch.satellites) {
        if (!check_satellite(satellite, seen)) {
            all_satellites_ = false;
        } else if (epoch.flag != kSlips) {
            check_values(satellite, epoch.values.data() + satellite.first);
        }
    }
}

void observation_check_t::check_event(const read_epoch_t& epoch)
{
    for (const header_record_t& record : epoch.records) check_record(record, header_, findings_);
    const auto has = [&epoch](std::string_view label) {
        return std::any_of(epoch.records.begin(), epoch.records.end(),
                           [label](const auto& r) { return r.label == label; });
    };
    if (epoch.flag == kMoved && !has("MARKER NAME")) {
        findings_.add(rule_t::event_site, epoch.line, 1, "", "a new site without MARKER NAME");
    }
    if (epoch.flag == kExternal && !epoch.has_time) {
        findings_.add(rule_t::event_time, epoch.line, 1, "", "an external event without its time");
    }
    if (has("SYS / # / OBS TYPES") || has("# / TYPES OF OBSERV")) {
        types_changed_ = true;   // counts of types are no more those of the header
        check_types(header_, findings_);
        prepare();
    }
}

void observation_check_t::check_order(const read_epoch_t& epoch)
{
    if (!epoch.has_time) return;
    if (!timed_) first_ = epoch.time;
    if (timed_) {
        const ticks_t step = epoch.time - last_;
        if (step <= 0) {
            findings_.add(rule_t::epoch_order, epoch.line, header_.version < 300 ? 2 : 3, "",
                          ticks_text(epoch.time) + " is not later than " + ticks_text(last_));
        }
        if (step > 0) shortest_ = shortest_ == 0 ? step : std::min(shortest_, step);
        const auto interval = header_.interval();
        if (!off_grid_ && step > 0 && interval && is_off_grid(step, *interval)) {
            off_grid_ = true;
            off_grid_line_ = epoch.line;
            off_grid_step_ = step;
        }
    }
    timed_ = true;
    last_ = epoch.time;
}

// @return whether its values can be looked at
bool observation_check_t::check_satellite(const read_satellite_t& satellite, std::bitset<kSystemCount * kNumbers>& seen)
{
    const char letter = satellite.system;
    const auto column = static_cast<std::size_t>(1);
    const std::string name(satellite.name);
    if (name[0] == ' ' && is_blank(name)) {
        findings_.add(rule_t::satellite_id, satellite.line, column, "", "a line without a satellite");
        return false;
    }
    if (satellite.count == 0 && header_.lost_types()) return false;   // that is known
    if (!is_system_of(letter, 'O', header_.version) || !header_.carries(letter) || satellite.count == 0) {
        findings_.add(rule_t::satellite_system, satellite.line, column, name, "its system is not of this file");
        return false;
    }
    if (!is_satellite(letter, satellite.number) || (header_.version >= 300 && name[1] == ' ')) {
        findings_.add(rule_t::satellite_id, satellite.line, column, name, "there is no such satellite");
        return false;
    }
    const std::size_t at = system_index(letter) * kNumbers + static_cast<std::size_t>(satellite.number);
    if (seen[at]) {
        findings_.add(rule_t::satellite_twice, satellite.line, column, name, "stands in this epoch already");
        return false;
    }
    seen[at] = true;
    present_[at] = true;
    return true;
}

void observation_check_t::check_values(const read_satellite_t& satellite, const read_value_t* values)
{
    const std::size_t system = system_index(satellite.system);
    std::vector<type_use_t>& types = types_[system];
    counts_t& counts = counts_[system * kNumbers + static_cast<std::size_t>(satellite.number)];
    if (counts.values.empty()) {
        counts.values.resize(types.size());
        counts.zeros.resize(types.size());
    }
    const char harmless = header_.version < 300 ? '4' : '0';   // RINEX 2: under antispoofing, of any type
    for (std::size_t i = 0; i < satellite.count; ++i) {
        const read_value_t& value = values[i];
        type_use_t& type = types[i];
        if (value.present) {
            (value.thousandths != 0 ? counts.values : counts.zeros)[i]++;
            ++type.values;
            if (value.thousandths == 0) {
                findings_.add(rule_t::value_zero, reader_.line_of(satellite, i), reader_.column_of(i),
                              subject_of(header_, satellite, i), "is zero");
            }
        }
        if (!type.is_phase && value.lock > '0' && value.lock <= '7' && value.lock != harmless) {
            findings_.add(rule_t::lock_place, reader_.line_of(satellite, i), reader_.column_of(i) + 14,
                          subject_of(header_, satellite, i), std::string(1, value.lock) + " beside what is no phase");
        }
        if (type.takes_strength && value.strength > '0') check_strength(satellite, i, type, values);
    }
}

void observation_check_t::check_strength(const read_satellite_t& satellite, std::size_t i, const type_use_t& type,
                                         const read_value_t* values)
{
    const read_value_t &value = values[i], &strength = values[type.strength];
    if (!value.present || !strength.present || strength.thousandths == 0) return;
    const char digit = strength_digit(strength.thousandths);
    if (digit == value.strength || value.strength > '9') return;
    findings_.add(rule_t::strength, reader_.line_of(satellite, i), reader_.column_of(i) + 15,
                  subject_of(header_, satellite, i),
                  std::string(1, value.strength) + ", but " + std::to_string(strength.thousandths / 1000) +
                      " dB-Hz are " + std::string(1, digit));
}

std::size_t observation_check_t::satellites() const
{
    return present_.count();
}

// What the header says of the data is compared with data that could be read as a whole.
void observation_check_t::finish()
{
    if (epochs_ == 0) return;
    check_slots();
    if (!reader_.all_epochs()) return;
    check_times();
    check_interval();
    if (types_changed_ || !reader_.all_values() || !all_satellites_) return;
    check_unused();
    check_numbers();
}

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
    const auto interval = header_.interval();
    const auto text = decimal_of(record->text.substr(0, 10), 3);
    if (!interval) {
        if (text) findings_.add(rule_t::interval, record->line, 1, record->label, "is not above zero");
    } else if (off_grid_) {
        findings_.add(rule_t::interval, record->line, 1, record->label,
                      "the step to line " + std::to_string(off_grid_line_) + " is " + seconds_text(off_grid_step_));
    } else if (shortest_ > *interval + std::min(kWander, *interval / 10)) {
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
