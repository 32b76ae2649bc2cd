#include "rinex/read_navigation.h"

#include <algorithm>

#include "rinex/field_formats.h"

namespace rinex {

namespace {

constexpr std::size_t kColumns = 80, kNumberColumns = 19;

std::string quoted(std::string_view text)
{
    return "'" + std::string(text.substr(0, 80)) + "'";
}

// Two digits with the leading zero; since a blank may stand for it in RINEX 2, there one digit will do.
int two_digits(std::string_view line, std::size_t at, bool blank_allowed)
{
    const std::string_view text = cut(line, at, 2);
    if (text.size() < 2 || !is_digit(text[1])) return -1;
    if (!is_digit(text[0]) && !(blank_allowed && text[0] == ' ')) return -1;
    return integer_of(text).value_or(-1);
}

}   // namespace

std::string read_nav_record_t::name() const
{
    if (number < 0) return {system};
    return {system, static_cast<char>('0' + number / 10), static_cast<char>('0' + number % 10)};
}

std::size_t navigation_reader_t::column_of(std::size_t field) const
{
    return (header_.version < 300 ? 4 : 5) + kNumberColumns * (field % kNavColumns);
}

bool navigation_reader_t::begins_record(std::string_view line) const
{
    if (header_.version >= 400) return line.substr(0, 1) == ">";
    if (header_.version >= 300) return !line.empty() && line[0] != ' ';
    return !is_blank(line.substr(0, 2));
}

// Skips what begins no record; a run of such lines is one finding.
bool navigation_reader_t::find_record(std::string_view& line)
{
    while (lines_.next(line)) {
        if (begins_record(line)) return true;
        if (!reported_) {
            findings_.add(rule_t::nav_lines, lines_.number(), 1, "",
                          quoted(line.substr(0, 40)) + " where a record belongs");
        }
        reported_ = true;
    }
    return false;
}

bool navigation_reader_t::next(read_nav_record_t& record)
{
    for (std::string_view line; find_record(line);) {
        record.frame_line = record.line = lines_.number();
        record.lines = 0;
        record.values.clear();
        reported_ = true;   // until the record turns out to be whole
        if (header_.version >= 400 ? !read_frame(line, record) : !read_satellite(line, record)) continue;
        if (!read_lines(record)) continue;
        reported_ = false;
        check_margins(record);
        read_time(record);
        read_values(record);
        return true;
    }
    return false;
}

// "> EPH G01 LNAV": record, satellite, message and subtype; the satellite's number may lack except with EPH.
bool navigation_reader_t::read_frame(std::string_view line, read_nav_record_t& record)
{
    record.record = trimmed(cut(line, 2, 3));
    record.system = line.size() > 6 ? line[6] : ' ';
    record.number = two_digits(line, 7, false);
    record.message = trimmed(cut(line, 10, 4));
    record.subtype = trimmed(cut(line, 15, 4));
    const bool blanks = cut(line, 1, 1) == " " && cut(line, 5, 1) == " " && is_blank(cut(line, 9, 1)) &&
                        is_blank(cut(line, 14, 1)) && is_blank(cut(line, 19, kColumns));
    const bool numbered = record.number >= 0 || (record.record != "EPH" && is_blank(cut(line, 7, 2)));
    if (!blanks || !numbered || system_index(record.system) == kSystemCount) {
        findings_.add(rule_t::nav_record, record.line, 1, "", quoted(line) + " is no frame line");
        return false;
    }
    record.layout = record.message.empty()
                        ? nullptr
                        : find_nav_layout(record.record, record.system, record.message, header_.version);
    if (record.layout == nullptr) {
        findings_.add(rule_t::nav_message, record.line, 3, record.name(),
                      quoted(line.substr(2)) + " is not of this version");
    }
    return record.layout != nullptr;
}

// The satellite at the start of the line with the time, RINEX 2 and 3.
bool navigation_reader_t::read_satellite(std::string_view line, read_nav_record_t& record)
{
    const bool v3 = header_.version >= 300;
    record.record = "EPH";
    record.message.clear();
    record.subtype.clear();
    record.system = v3 ? line[0] : header_.default_system();
    record.number = two_digits(line, v3 ? 1 : 0, !v3);
    if (record.number < 0 || (v3 && system_index(record.system) == kSystemCount)) {
        findings_.add(rule_t::nav_record, record.line, 1, "", quoted(line.substr(0, 40)) + " begins no record");
        return false;
    }
    record.layout = find_nav_layout(record.record, record.system, "", header_.version);
    if (record.layout == nullptr) {
        findings_.add(rule_t::nav_message, record.line, 1, record.name(), "the version has no record of this system");
        return false;
    }
    record.texts[record.lines++] = line.substr(0, 2 * kColumns);
    return true;
}

// The lines of the record; a record that has not all of them, or more, is reported, the former left out.
bool navigation_reader_t::read_lines(read_nav_record_t& record)
{
    const std::size_t wanted = record.layout->lines();
    std::string_view line;
    while (wanted == 0 || record.lines < wanted) {
        if (!lines_.next(line)) {
            if (wanted == 0 && record.lines > 0) return true;
            findings_.add(rule_t::truncated, lines_.number(), 1, record.name(), "the file ends within the record");
            return false;
        }
        if (begins_record(line)) {
            lines_.put_back();
            if (wanted == 0 && record.lines > 0) return true;
            findings_.add(rule_t::nav_lines, record.frame_line, 1, record.name(),
                          std::to_string(record.lines) + " lines, not " + std::to_string(wanted));
            return false;
        }
        if (record.lines == 0) record.line = lines_.number();
        if (line.size() > kColumns) {
            findings_.add(rule_t::line_length, lines_.number(), kColumns + 1, record.name(),
                          std::to_string(line.size()) + " columns");
        }
        if (record.lines < read_nav_record_t::kMostLines) record.texts[record.lines++] = line.substr(0, 2 * kColumns);
    }
    return true;
}

// In front of the fields: the satellite in the first line of an ephemeris, as the frame line has it, else blanks.
void navigation_reader_t::check_margins(const read_nav_record_t& record)
{
    const std::size_t margin = header_.version < 300 ? 3 : 4;
    const bool satellite = record.record == "EPH";
    for (std::size_t i = satellite ? 1 : 0; i < record.lines; ++i) {
        if (is_blank(std::string_view(record.texts[i]).substr(0, margin))) continue;
        findings_.add(rule_t::nav_number, record.line + i, 1, record.name(),
                      "columns 1 to " + std::to_string(margin) + " are not blank");
    }
    const std::string first = record.texts[0].substr(0, 3);
    if (header_.version >= 400 && satellite && first != record.name()) {
        findings_.add(rule_t::nav_record, record.line, 1, record.name(), quoted(first) + ", not as the frame line");
    }
}

void navigation_reader_t::read_time(read_nav_record_t& record)
{
    const std::string_view line = record.texts[0];
    const bool v3 = header_.version >= 300;
    const std::size_t at = v3 ? 8 : 5;   // behind the year
    int parts[4];
    bool fine = cut(line, at - (v3 ? 5 : 3), 1) == " ";
    for (std::size_t i = 0; i < 4; ++i) {
        parts[i] = two_digits(line, at + 1 + 3 * i, !v3);
        fine = fine && parts[i] >= 0 && line[at + 3 * i] == ' ';
    }
    const int year = v3 ? integer_of(cut(line, 4, 4)).value_or(-1) : two_digits(line, 3, true);
    const auto second = v3 ? decimal_of(cut(line, 20, 3), 0) : decimal_of(cut(line, 17, 5), 1);
    fine = fine && year >= 0 && second && (!v3 || (two_digits(line, 21, false) >= 0 && line[20] == ' '));
    const auto time = fine ? ticks_of(v3 ? year : full_year(year), parts[0], parts[1], parts[2], parts[3],
                                      *second * (v3 ? kTicksPerSecond : kTicksPerSecond / 10))
                           : std::nullopt;
    record.has_time = time.has_value();
    record.time = time.value_or(0);
    if (!time) {
        findings_.add(rule_t::nav_time, record.line, v3 ? 5 : 4, record.name(),
                      quoted(cut(line, v3 ? 4 : 3, 19)) + " is no time in its columns");
    }
}

void navigation_reader_t::read_values(read_nav_record_t& record)
{
    record.values.resize(record.lines * kNavColumns);
    for (std::size_t i = 0; i < record.values.size(); ++i) {
        const std::string_view text = cut(record.texts[i / kNavColumns], column_of(i) - 1, kNumberColumns);
        record.values[i] = {text, 0, false};
        const char letter = record.layout->fields.empty() ? 'o' : record.layout->field(i);
        if (i == 0 || letter == 'a' || letter == 'b' || is_blank(text)) continue;
        const auto number = text.size() == kNumberColumns && has_form(text, 'D', 12) ? real_of(text) : std::nullopt;
        record.values[i].number = number.value_or(0);
        record.values[i].present = number.has_value();
        if (!number) {
            findings_.add(rule_t::nav_number, record.line + i / kNavColumns, column_of(i), record.name(),
                          quoted(text) + " is no D19.12");
        }
    }
    if (record.values[0].text.size() > 0) record.values[0].text = {};
}

}   // namespace rinex
