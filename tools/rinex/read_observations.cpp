#include "rinex/read_observations.h"

#include <algorithm>

#include "rinex/field_formats.h"
#include "rinex/observation_fields.h"

namespace rinex {

namespace {

constexpr std::size_t kNames = 12, kNamesColumn = 32, kNamesEnd = 68;   // RINEX 2, satellites of an epoch line
constexpr std::size_t kFieldsPerRow = 5, kColumns = 80;                 // RINEX 2
constexpr std::size_t kIdColumns = 3;

constexpr std::size_t rows_of(std::size_t n, std::size_t per_row)
{
    return n == 0 ? 1 : (n + per_row - 1) / per_row;
}

// Two digits, the first of which may be blank.
int two_digits(std::string_view line, std::size_t at)
{
    const char tens = line[at], ones = line[at + 1];
    if (!is_digit(ones) || (tens != ' ' && !is_digit(tens))) return -1;
    return (tens == ' ' ? 0 : tens - '0') * 10 + (ones - '0');
}

// What stands behind the year in all versions: " mm dd hh mm ss.sssssss  f nnn".
constexpr std::size_t kClock = 23, kFlag = 25, kCount = 26, kClockEnd = 29;

bool has_clock_form(std::string_view rest)
{
    for (const std::size_t at : {0U, 3U, 6U, 9U}) {
        if (rest[at] != ' ' || two_digits(rest, at + 1) < 0) return false;
    }
    return rest[15] == '.' && two_digits(rest, 13) >= 0 && rest[12] == ' ' &&
           std::all_of(rest.begin() + 16, rest.begin() + kClock, is_digit);
}

// "  f" and a count, right-aligned or blank.
bool has_flag_form(std::string_view rest)
{
    if (rest[23] != ' ' || rest[24] != ' ' || !is_digit(rest[kFlag])) return false;
    return is_blank(rest.substr(kCount, 3)) || has_form(rest.substr(kCount, 3), 'I', 0);
}

// A digit where a line of values has no point: nothing of a satellite's line of RINEX 2 is taken for an epoch.
bool may_be_epoch2(std::string_view line)
{
    return line.size() > 18 && line[18] == '.';
}

std::string quoted(std::string_view text)
{
    return "'" + std::string(text.substr(0, 80)) + "'";
}

}   // namespace

std::uint64_t observation_reader_t::line_of(const read_satellite_t& satellite, std::size_t field) const
{
    return satellite.line + (header_.version < 300 ? field / kFieldsPerRow : 0);
}

std::size_t observation_reader_t::column_of(std::size_t field) const
{
    return header_.version < 300 ? 1 + kFieldColumns * (field % kFieldsPerRow) : 1 + kIdColumns + kFieldColumns * field;
}

std::string subject_of(const file_header_t& header, const read_satellite_t& satellite, std::size_t field)
{
    std::string name(satellite.name);
    if (name[0] == ' ') name[0] = satellite.system;
    const type_list_t& list = header.types_of(satellite.system);
    return field < list.types.size() ? name + " " + list.types[field].code.text() : name;
}

bool observation_reader_t::next(read_epoch_t& epoch)
{
    std::string_view line;
    if (header_.version < 300 && !header_.has_types()) return false;   // how many lines a satellite has nobody knows
    if (!find_epoch(line)) return false;
    epoch.line = lines_.number();
    epoch.satellites.clear();
    epoch.values.clear();
    epoch.records.clear();
    read_epoch_line(line, epoch);
    if (epoch.is_event()) {
        read_records(epoch);
    } else if (header_.version >= 300) {
        read_satellites3(epoch);
    } else if (read_names2(line, epoch)) {
        read_satellites2(epoch);
    }
    return true;
}

// Skips what is no epoch line; a run of such lines is one finding.
bool observation_reader_t::find_epoch(std::string_view& line)
{
    bool stray = false;
    while (lines_.next(line)) {
        if (is_epoch_line(line)) return true;
        if (!stray) {
            const bool begun = header_.version >= 300 && line.substr(0, 1) == ">";
            const bool satellite = header_.version >= 300 && line.size() > 2 && system_index(line[0]) < kSystemCount;
            findings_.add(!begun && satellite ? rule_t::satellite_count : rule_t::epoch_line, lines_.number(), 1, "",
                          quoted(line.substr(0, 40)) + " where an epoch line belongs");
        }
        stray = true;
        all_epochs_ = false;
    }
    return false;
}

bool observation_reader_t::is_epoch_line(std::string_view line) const
{
    const bool v3 = header_.version >= 300;
    const std::size_t year = v3 ? 2 : 1, behind = v3 ? 6 : 3;
    if (line.size() <= behind + kFlag || line.substr(0, year) != (v3 ? "> " : " ")) return false;
    // The count's columns may be cut off when they are blank.
    char text[kClockEnd];
    std::fill(std::begin(text), std::end(text), ' ');
    const std::string_view rest = cut(line, behind, kClockEnd);
    std::copy(rest.begin(), rest.end(), text);
    const std::string_view padded(text, sizeof text);
    if (!has_flag_form(padded)) return false;
    const char flag = padded[kFlag];
    if (flag >= '2' && flag <= '5' && is_blank(line.substr(year, behind - year + kClock))) return true;
    const bool digits = v3 ? std::all_of(line.begin() + 2, line.begin() + 6, is_digit) : two_digits(line, 1) >= 0;
    return digits && has_clock_form(padded);
}

void observation_reader_t::read_epoch_line(std::string_view line, read_epoch_t& epoch)
{
    const bool v3 = header_.version >= 300;
    const std::size_t behind = v3 ? 6 : 3;
    epoch.flag = line[behind + kFlag] - '0';
    epoch.announced = integer_of(cut(line, behind + kCount, 3)).value_or(0);
    epoch.has_time = false;
    epoch.picoseconds = 0;
    const std::size_t begin = v3 ? 2 : 1;
    const std::string_view text = line.substr(begin, behind - begin + kClock);
    const bool timeless = is_blank(text);
    if (!timeless) {
        const int year = v3 ? integer_of(line.substr(2, 4)).value_or(0) : full_year(two_digits(line, 1));
        epoch.has_time = read_clock(line.substr(behind), year, epoch);
        if (!epoch.has_time) {
            all_epochs_ = false;
            findings_.add(rule_t::epoch_time, epoch.line, begin + 1, "", quoted(text) + " is no time");
        }
    }
    if (v3 && !timeless && !std::all_of(line.begin() + 7, line.begin() + 18, [&line](const char& c) {
            return ((&c - line.data()) - 6) % 3 == 0 || is_digit(c);
        })) {
        findings_.add(rule_t::epoch_format, epoch.line, 8, "", quoted(line.substr(0, 18)) + ", not two digits each");
    }
    read_tail(line, epoch);
}

bool observation_reader_t::read_clock(std::string_view rest, int year, read_epoch_t& epoch)
{
    ticks_t second = two_digits(rest, 13);
    for (std::size_t i = 16; i < 23; ++i) second = second * 10 + (rest[i] - '0');
    const auto time =
        ticks_of(year, two_digits(rest, 1), two_digits(rest, 4), two_digits(rest, 7), two_digits(rest, 10), second);
    // A second 60 is in the scales that have leap seconds.
    const std::string_view scale = header_.time_system();
    const bool leap = second >= 60 * kTicksPerSecond;
    if (!time || (leap && scale != "GLO" && scale != "UTC")) return false;
    epoch.time = *time;
    return true;
}

// The receiver clock offset, and since 4.02 picoseconds.
void observation_reader_t::read_tail(std::string_view line, read_epoch_t& epoch)
{
    const bool v3 = header_.version >= 300;
    const std::size_t at = v3 ? 41 : kNamesEnd, width = v3 ? 15 : 12;
    const std::string_view offset = cut(line, at, width);
    const std::string_view gap = v3 ? cut(line, 35, 6) : std::string_view();
    const bool fine = is_blank(offset) || (offset.size() == width && has_form(offset, 'F', v3 ? 12 : 9));
    epoch.clock_offset.assign(trimmed(offset));
    std::string_view behind = cut(line, at + width, line.size());
    if (header_.version >= 402 && behind.size() >= 6 && behind[0] == ' ' && has_form(behind.substr(1, 5), 'I', 0)) {
        epoch.picoseconds = integer_of(behind.substr(1, 5)).value_or(0);
        behind.remove_prefix(6);
    }
    if (fine && is_blank(gap) && is_blank(behind)) return;
    const std::size_t column = !is_blank(gap) ? 35 : !fine ? at : at + width;
    findings_.add(rule_t::epoch_format, epoch.line, column + 1, "",
                  "receiver clock offset " + quoted(cut(line, v3 ? 35 : at, 80)));
}

// The next line of an epoch. Where the file ends or the next epoch begins first it is reported.
bool observation_reader_t::take(std::string_view& line, const read_epoch_t& epoch, rule_t rule, std::size_t n)
{
    const std::string found = std::to_string(epoch.announced) + " announced, ";
    if (!lines_.next(line)) {
        all_epochs_ = false;
        findings_.add(rule_t::truncated, lines_.number(), 1, "",
                      found + std::to_string(n) + " are there when the file ends");
        return false;
    }
    const bool epoch_begins =
        header_.version >= 300 ? line.substr(0, 1) == ">" : may_be_epoch2(line) && is_epoch_line(line);
    if (!epoch_begins) return true;
    all_epochs_ = false;
    lines_.put_back();
    findings_.add(rule, epoch.line, header_.version >= 300 ? 33 : 30, "", found + std::to_string(n) + " follow");
    return false;
}

void observation_reader_t::read_records(read_epoch_t& epoch)
{
    std::string_view line;
    for (int i = 0; i < epoch.announced; ++i) {
        if (!take(line, epoch, rule_t::record_count, epoch.records.size())) return;
        epoch.records.push_back(read_record(line, lines_.number(), header_.type, header_.version, findings_));
        const std::string& label = epoch.records.back().label;
        // Only types take effect; other records would pile up over a long file.
        if (label == "# / TYPES OF OBSERV" || label == "SYS / # / OBS TYPES") {
            header_.add(epoch.records.back(), findings_);
            header_.records.pop_back();
        }
    }
}

// Fields [first, first + n) of a satellite from a line of them; reports fields that are none and what stands behind.
void observation_reader_t::read_fields(std::string_view data, read_satellite_t& satellite, std::size_t first,
                                       std::size_t n, read_epoch_t& epoch)
{
    const std::size_t whole = std::min(n, data.size() / kFieldColumns);
    read_value_t* to = epoch.values.data() + satellite.first + first;
    const auto one = [&](const char* p, std::size_t i) {
        const field_fault_t fault = read_field(p, to[i]);
        if (fault == field_fault_t::none) return;
        all_values_ = all_values_ && fault != field_fault_t::value;
        findings_.add(fault == field_fault_t::value ? rule_t::value_format : rule_t::value_digits,
                      line_of(satellite, first + i), column_of(first + i) + (fault == field_fault_t::value ? 0 : 14),
                      subject_of(header_, satellite, first + i), quoted({p, kFieldColumns}));
    };
    for (std::size_t i = 0; i < whole; ++i) one(data.data() + kFieldColumns * i, i);
    if (whole < n && data.size() > whole * kFieldColumns) {
        char text[kFieldColumns];
        std::fill(std::begin(text), std::end(text), ' ');
        std::copy(data.begin() + static_cast<std::ptrdiff_t>(whole * kFieldColumns), data.end(), text);
        one(text, whole);
    }
    if (data.size() > n * kFieldColumns && !is_blank(data.substr(n * kFieldColumns))) {
        const std::size_t types = header_.types_of(satellite.system).types.size();
        if (types == 0) return;   // its system has no list, which is another finding
        findings_.add(
            rule_t::value_count, lines_.number(), (header_.version < 300 ? 1 : 1 + kIdColumns) + n * kFieldColumns,
            subject_of(header_, satellite, types), "more values than its " + std::to_string(types) + " types");
    }
}

void observation_reader_t::read_satellites3(read_epoch_t& epoch)
{
    std::string_view line;
    names_.assign(kIdColumns * static_cast<std::size_t>(epoch.announced), ' ');
    for (int i = 0; i < epoch.announced; ++i) {
        if (!take(line, epoch, rule_t::satellite_count, epoch.satellites.size())) return;
        char* name = names_.data() + kIdColumns * static_cast<std::size_t>(i);
        std::copy_n(line.begin(), std::min(line.size(), kIdColumns), name);
        read_satellite_t satellite{
            name[0], two_digits({name, kIdColumns}, 1), {name, kIdColumns}, lines_.number(), epoch.values.size()};
        satellite.count = header_.types_of(satellite.system).types.size();
        epoch.values.resize(satellite.first + satellite.count);
        read_fields(cut(line, kIdColumns, line.size()), satellite, 0, satellite.count, epoch);
        epoch.satellites.push_back(satellite);
    }
}

// The satellites of an epoch line and of its continuation lines. Where these are not as many as announced, the list
// is believed: the lines below follow it.
bool observation_reader_t::read_names2(std::string_view line, read_epoch_t& epoch)
{
    const auto announced = static_cast<std::size_t>(epoch.announced);
    names_.clear();
    for (;;) {
        if (line.size() > kColumns) {
            findings_.add(rule_t::line_length, lines_.number(), kColumns + 1, "",
                          std::to_string(line.size()) + " columns");
        }
        const std::string_view names = cut(line, kNamesColumn, kNamesEnd - kNamesColumn);
        std::size_t here = 0;
        for (; here < kNames && !is_blank(cut(names, kIdColumns * here, kIdColumns)); ++here) {
            names_.append(cut(names, kIdColumns * here, kIdColumns));
            names_.resize((names_.size() + kIdColumns - 1) / kIdColumns * kIdColumns, ' ');
        }
        const std::size_t listed = names_.size() / kIdColumns;
        if (here == kNames && listed < announced) {
            if (!take(line, epoch, rule_t::satellite_count, listed)) return false;
            if (is_blank(line.substr(0, kNamesColumn))) continue;
            lines_.put_back();
        }
        if (listed == announced) return true;
        all_epochs_ = false;
        findings_.add(rule_t::satellite_count, epoch.line, 30, "",
                      std::to_string(announced) + " announced, " + std::to_string(listed) + " are listed");
        return true;
    }
}

void observation_reader_t::read_satellites2(read_epoch_t& epoch)
{
    const std::vector<listed_type_t>& types = header_.types_of('G').types;
    for (std::size_t i = 0; i < names_.size() / kIdColumns; ++i) {
        const std::string_view name = std::string_view(names_).substr(kIdColumns * i, kIdColumns);
        read_satellite_t satellite{name[0] == ' ' ? header_.default_system() : name[0],
                                   two_digits(name, 1),
                                   name,
                                   lines_.number() + 1,
                                   epoch.values.size(),
                                   types.size()};
        epoch.values.resize(satellite.first + satellite.count);
        if (!read_rows2(satellite, types, epoch, i)) return;
        epoch.satellites.push_back(satellite);
    }
}

bool observation_reader_t::read_rows2(read_satellite_t& satellite, const std::vector<listed_type_t>& types,
                                      read_epoch_t& epoch, std::size_t n)
{
    std::string_view line;
    for (std::size_t row = 0; row < rows_of(types.size(), kFieldsPerRow); ++row) {
        if (!take(line, epoch, rule_t::satellite_count, n)) return false;
        if (line.size() > kColumns) {
            findings_.add(rule_t::line_length, lines_.number(), kColumns + 1,
                          subject_of(header_, satellite, types.size()), std::to_string(line.size()) + " columns");
            line = line.substr(0, kColumns);
        }
        const std::size_t first = row * kFieldsPerRow;
        read_fields(line, satellite, first, std::min(kFieldsPerRow, types.size() - std::min(first, types.size())),
                    epoch);
    }
    return true;
}

}   // namespace rinex
