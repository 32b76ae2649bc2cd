#include "rinex/check_observations.h"

#include <algorithm>

#include "rinex/check_header.h"
#include "rinex/field_formats.h"

namespace rinex {

namespace {

constexpr int kMoved = 3, kExternal = 5, kSlips = 6;   // flags

// The step's distance from whole intervals.
bool is_off_grid(ticks_t step, ticks_t interval)
{
    const ticks_t rest = step % interval;
    return std::min(rest, interval - rest) > wander(interval);
}

char strength_digit(std::int64_t thousandths)
{
    return static_cast<char>('0' + std::clamp<std::int64_t>(thousandths / 6000, 1, 9));
}

}   // namespace

observation_check_t::observation_check_t(const file_header_t& header, const observation_reader_t& reader,
                                         findings_t& findings)
    : header_(header), reader_(reader), findings_(findings), interval_(header.interval())
{
    prepare(1);
}

// The types of lists that begin in this line or behind it.
void observation_check_t::prepare(std::uint64_t since)
{
    const header_record_t* unit = header_.find("SIGNAL STRENGTH UNIT");
    // RINEX 2 leaves the scale of strengths to the receiver.
    const bool decibels = header_.version >= 300 && (unit == nullptr || trimmed(unit->text) == "DBHZ");
    for (std::size_t system = 0; system < kSystemCount; ++system) {
        const type_list_t& list = header_.types_of(kSystems[system]);
        const auto& types = list.types;
        if (list.line < since) continue;
        std::fill_n(counts_.begin() + static_cast<std::ptrdiff_t>(system * kNumbers), kNumbers, counts_t());
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
        check_types(header_, epoch.line, findings_);
        prepare(epoch.line);
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
        if (!off_grid_ && step > 0 && interval_ && is_off_grid(step, *interval_)) {
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
        if (!type.is_phase && value.present && value.lock > '0' && value.lock <= '7' && value.lock != harmless) {
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

}   // namespace rinex
