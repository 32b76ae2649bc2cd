#include "revise/observation_rows.h"

#include <algorithm>

#include "rinex/field_formats.h"
#include "rinex/fixed_point.h"
#include "rinex/header.h"
#include "rinex/header_labels.h"

namespace kvx {

namespace {

using rinex::cut;
using rinex::kSystemCount;

constexpr std::size_t kField = source_epoch_t::kField, kValue = 14, kLock = 14, kPoint = 10;
constexpr std::size_t kRow2 = 5, kNames2 = 12, kClock2 = 68, kNamesColumn2 = 32;   // RINEX 2
constexpr std::size_t kCount3 = 32, kBehindCount3 = 35, kClockEnd3 = 56;
constexpr std::size_t kCount2 = 29;
constexpr int kFirstWithPicoseconds = 402;

std::size_t place_of(const rinex::read_satellite_t& satellite)
{
    return rinex::system_index(satellite.system) * tally_t::kNumbers + static_cast<std::size_t>(satellite.number);
}

bool has_place(const rinex::read_satellite_t& satellite)
{
    return rinex::system_index(satellite.system) < kSystemCount && satellite.number >= 0;
}

bool has_value(const source_epoch_t& epoch, const rinex::read_satellite_t& satellite)
{
    const auto first = epoch.read.values.begin() + static_cast<std::ptrdiff_t>(satellite.first);
    return std::any_of(first, first + static_cast<std::ptrdiff_t>(satellite.count),
                       [](const rinex::read_value_t& value) { return value.present; });
}

std::string name_of(const rinex::read_satellite_t& s)
{
    return {s.system, static_cast<char>('0' + s.number / 10), static_cast<char>('0' + s.number % 10)};
}

bool is_slip(char lock)
{
    return lock >= '0' && lock <= '7' && ((lock - '0') & 1) != 0;
}

void mark_slip(char& lock)
{
    lock = static_cast<char>('0' + ((lock == ' ' ? 0 : lock - '0') | 1));
}

void append_trimmed(std::string& out, std::string_view line)
{
    out.append(line.substr(0, line.find_last_not_of(' ') + 1)).push_back('\n');
}

// Year to flag: "> 2020 06 25 10 45  0.0000000  0" and " 20  6 25 10 45  0.0000000  0".
std::string date_text(std::string_view line, bool from2, bool to2)
{
    if (from2 == to2) return std::string(line.substr(0, to2 ? kCount2 : kCount3));
    std::string rest(line.substr(from2 ? 3 : 6));
    rest.resize(26, ' ');
    const std::string_view year = line.substr(from2 ? 1 : 2, from2 ? 2 : 4);
    const bool timeless = rinex::is_blank(year);
    for (const std::size_t at : {1U, 4U, 7U, 10U}) {
        if (timeless) break;
        if (!to2 && rest[at] == ' ') rest[at] = '0';
        if (to2 && rest[at] == '0') rest[at] = ' ';
    }
    if (to2) return " " + std::string(year.substr(2)) + rest;
    const auto short_year = rinex::integer_of(year);
    return "> " + (timeless ? "    " : std::to_string(rinex::full_year(short_year.value_or(0)))) + rest;
}

}   // namespace

observation_rows_t::observation_rows_t(int version, rinex::type_names_t columns, const asked_t& wanted,
                                       version_losses_t& losses)
    : version_(version), columns_(std::move(columns)), wanted_(wanted), losses_(losses)
{}

void observation_rows_t::tally_row(const rinex::read_epoch_t& epoch, const rinex::read_satellite_t& satellite,
                                   tally_t& tally)
{
    if (!has_place(satellite)) return;
    auto& counts = tally.of(rinex::system_index(satellite.system), satellite.number, satellite.count);
    const rinex::read_value_t* const values = epoch.values.data() + satellite.first;
    for (std::size_t i = 0; i < satellite.count; ++i) counts[i] += values[i].present;
}

bool observation_rows_t::is_whole(const source_epoch_t& epoch, const column_plan_t& plan) const
{
    return plan.identical && wanted_.all_satellites() && !epoch.faulty && slips_to_come_ == 0 &&
           epoch.read.satellites.size() == static_cast<std::size_t>(epoch.read.announced);
}

bool observation_rows_t::put(const source_epoch_t& epoch, column_plan_t& plan, tally_t& tally, std::string& out)
{
    if (is_whole(epoch, plan)) {
        for (const auto& satellite : epoch.read.satellites) tally_row(epoch.read, satellite, tally);
        out += epoch.text;
        return true;
    }
    rows_.clear();
    names_.clear();
    for (const auto& satellite : epoch.read.satellites) {
        if (has_place(satellite) && wanted_.satellite(satellite.system, satellite.number))
            put_satellite(epoch, satellite, plan, tally);
    }
    if (names_.empty() && !epoch.read.satellites.empty()) return false;
    put_epoch_line(epoch, out);
    out += rows_;
    return true;
}

void observation_rows_t::put_satellite(const source_epoch_t& epoch, const rinex::read_satellite_t& satellite,
                                       column_plan_t& plan, tally_t& tally)
{
    const std::size_t system = rinex::system_index(satellite.system), place = place_of(satellite);
    const bool slips = slips_to_come_ > 0 && !slips_[place].empty();
    if (plan.same[system] && !epoch.faulty && !slips) {
        names_.push_back(name_of(satellite));
        rows_ += epoch.rows(satellite);
        return tally_row(epoch.read, satellite, tally);
    }
    row_.assign(width(system) * kField, ' ');
    const bool any = plan.shares ? share_columns(epoch, satellite, plan) : put_fields(epoch, satellite, plan);
    if (!any && (has_value(epoch, satellite) || !plan.carries(system))) return;   // one that had none stays so
    if (slips && std::find(slips_[place].begin(), slips_[place].end(), true) == slips_[place].end())
        slips_[place].clear();
    auto& counts = tally.of(system, satellite.number, width(system));
    for (std::size_t i = 0; i < width(system); ++i) counts[i] += row_[i * kField + kPoint] == '.';
    names_.push_back(name_of(satellite));
    put_lines(names_.back());
}

// @return whether there is any value
bool observation_rows_t::put_fields(const source_epoch_t& epoch, const rinex::read_satellite_t& satellite,
                                    column_plan_t& plan)
{
    bool any = false;
    auto& ways = plan.ways[rinex::system_index(satellite.system)];
    for (std::size_t i = 0; i < std::min(satellite.count, ways.size()); ++i) {
        if (ways[i].column >= 0) {
            any |= put_field(epoch, satellite, i, ways[i].column, static_cast<std::size_t>(ways[i].column));
        } else {
            ways[i].lost += ways[i].unnamed && epoch.read.values[satellite.first + i].present;
        }
    }
    return any;
}

// What is no value stays out.
bool observation_rows_t::put_field(const source_epoch_t& epoch, const rinex::read_satellite_t& satellite,
                                   std::size_t from, int to, std::size_t slip_key)
{
    const rinex::read_value_t& value = epoch.read.values[satellite.first + from];
    if (!value.present && value.lock == ' ' && value.strength == ' ') return false;
    const std::string_view text = epoch.field(satellite, from);
    if (!value.present && !rinex::is_blank(text.substr(0, kValue))) return false;
    char* const cell = row_.data() + static_cast<std::size_t>(to) * kField;
    std::copy(text.begin(), text.end(), cell);
    if (value.present && slips_to_come_ > 0) take_slip(place_of(satellite), slip_key, cell[kLock]);
    for (std::size_t i = kLock; epoch.faulty && i < kField; ++i) {
        if (!rinex::is_digit(cell[i])) cell[i] = ' ';
    }
    return value.present;
}

// RINEX 2: the signals of a band one after the other, the preferred one has the phase.
bool observation_rows_t::share_columns(const source_epoch_t& epoch, const rinex::read_satellite_t& satellite,
                                       column_plan_t& plan)
{
    const std::size_t system = rinex::system_index(satellite.system);
    auto& ways = plan.ways[system];
    const auto present = [&](int from) { return from >= 0 && epoch.read.values[satellite.first + from].present; };
    for (std::size_t i = 0; i < std::min(satellite.count, ways.size()); ++i)
        ways[i].lost += ways[i].unnamed && present(static_cast<int>(i));
    bool any = false;
    for (std::size_t n = 0; n < plan.signals[system].size(); ++n) {
        const column_plan_t::signal_t& signal = plan.signals[system][n];
        const auto free = [&](std::size_t kind) {
            return signal.to[kind] < 0 || row_[static_cast<std::size_t>(signal.to[kind]) * kField + kPoint] == ' ';
        };
        const bool range = free(0), rest = range && free(1) && free(2) && free(3);
        for (std::size_t kind = 0; kind < signal.from.size(); ++kind) {
            if (!present(signal.from[kind])) continue;
            if (!(kind == 0 ? range : rest)) {
                ++ways[static_cast<std::size_t>(signal.from[kind])].lost;
                continue;
            }
            const auto from = static_cast<std::size_t>(signal.from[kind]);
            any |= put_field(epoch, satellite, from, signal.to[kind], from);
            if (kind == 1 && is_other_source(place_of(satellite), signal.to[1], n))
                mark_slip(row_[static_cast<std::size_t>(signal.to[1]) * kField + kLock]);
        }
    }
    return any;
}

// The phase of a column may come from another signal than before.
bool observation_rows_t::is_other_source(std::size_t place, int column, std::size_t signal)
{
    auto& sources = sources_[place];
    const auto at = static_cast<std::size_t>(column);
    if (sources.size() <= at) sources.resize(at + 1, -1);
    const bool other = sources[at] >= 0 && sources[at] != static_cast<std::int16_t>(signal);
    sources[at] = static_cast<std::int16_t>(signal);
    return other;
}

void observation_rows_t::follow(const source_epoch_t& epoch, column_plan_t& plan)
{
    for (const auto& satellite : epoch.read.satellites) {
        if (!has_place(satellite)) continue;
        const auto& ways = plan.ways[rinex::system_index(satellite.system)];
        for (std::size_t i = 0; i < std::min(satellite.count, ways.size()); ++i) {
            const rinex::read_value_t& value = epoch.read.values[satellite.first + i];
            if (!value.present || !is_slip(value.lock) || ways[i].column < 0) continue;
            auto& slips = slips_[place_of(satellite)];
            const std::size_t at = plan.shares ? i : static_cast<std::size_t>(ways[i].column);
            slips.resize(std::max(slips.size(), at + 1));
            slips_to_come_ += !slips[at];
            slips[at] = true;
        }
    }
}

// A lock that was lost in an epoch left out.
void observation_rows_t::take_slip(std::size_t place, std::size_t key, char& lock)
{
    auto& slips = slips_[place];
    if (key >= slips.size() || !slips[key]) return;
    mark_slip(lock);
    slips[key] = false;
    --slips_to_come_;
}

void observation_rows_t::put_lines(const std::string& name)
{
    if (version_ >= 300) {
        rows_ += name;
        return append_trimmed(rows_, row_);
    }
    for (std::size_t at = 0; at < row_.size(); at += kRow2 * kField)
        append_trimmed(rows_, cut(row_, at, kRow2 * kField));
}

// The receiver's clock offset with as many decimals as the version has.
std::string observation_rows_t::clock_text(const source_epoch_t& epoch)
{
    constexpr int kDecimals2 = 9, kDecimals3 = 12, kWidth2 = 12, kWidth3 = 15;
    constexpr std::int64_t kMore = 1000;   // picoseconds of a nanosecond
    const bool from2 = epoch.version < 300, to2 = version_ < 300;
    const auto number = rinex::decimal_of(epoch.read.clock_offset, from2 ? kDecimals2 : kDecimals3);
    if (!number) return "";
    const std::int64_t half = *number < 0 ? -kMore / 2 : kMore / 2;
    const std::int64_t value = from2 == to2 ? *number : to2 ? (*number + half) / kMore : *number * kMore;
    std::string text(to2 ? kWidth2 : kWidth3, ' ');
    const bool fits = rinex::put_fixed(text.data(), to2 ? kWidth2 : kWidth3, to2 ? kDecimals2 : kDecimals3, value);
    losses_.clock_offsets += !fits || (to2 && !from2 && value * kMore != *number);
    return fits ? text : "";
}

void observation_rows_t::put_epoch_line(const source_epoch_t& epoch, std::string& out)
{
    const std::string_view from = epoch.line(epoch.read.line);
    std::string line = date_text(from, epoch.version < 300, version_ < 300) + rinex::count_of(names_.size(), 3);
    if (epoch.version >= kFirstWithPicoseconds && version_ < kFirstWithPicoseconds && epoch.read.picoseconds != 0)
        ++losses_.picoseconds;
    if (version_ >= 300) {
        const bool whole = epoch.version >= 300 && (version_ >= kFirstWithPicoseconds || version_ == epoch.version);
        if (whole) {
            line += cut(from, kBehindCount3, from.size());
        } else if (const std::string clock = clock_text(epoch); !clock.empty()) {
            line.resize(kClockEnd3 - clock.size(), ' ');
            line += clock;
        }
        return append_trimmed(out, line);
    }
    const std::string clock = clock_text(epoch);
    for (std::size_t i = 0; i < names_.size() || i == 0; i += kNames2) {
        for (std::size_t n = i; n < std::min(i + kNames2, names_.size()); ++n) line += names_[n];
        if (i == 0 && !clock.empty()) {
            line.resize(kClock2, ' ');
            line += clock;
        }
        append_trimmed(out, line);
        line.assign(kNamesColumn2, ' ');
    }
}

void observation_rows_t::put_event(const source_epoch_t& event, std::string& out)
{
    const bool as_it_is = event.version == version_ && !event.faulty &&
                          event.read.records.size() == static_cast<std::size_t>(event.read.announced);
    if (as_it_is) {
        out += event.text;
        return;
    }
    std::string lines;
    std::size_t n = 0;
    for (const rinex::header_record_t& record : event.read.records) {
        const rinex::header_label_t* row = rinex::find_label(record.label, 'O', version_);
        const bool types = record.label == "# / TYPES OF OBSERV" || record.label == "SYS / # / OBS TYPES";
        const bool fits = row != nullptr && row->use('O', version_) != '-' && !(types && event.version != version_);
        losses_.event_lines += !fits && !types;
        if (!fits) continue;
        lines += rinex::header_line(record.text, record.label);
        ++n;
    }
    const std::string_view from = event.line(event.read.line);
    append_trimmed(out, date_text(from, event.version < 300, version_ < 300) + rinex::count_of(n, 3));
    out += lines;
}

}   // namespace kvx
