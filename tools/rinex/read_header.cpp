#include "rinex/read_header.h"

#include <algorithm>

#include "rinex/field_formats.h"
#include "rinex/header_labels.h"

namespace rinex {

namespace {

constexpr std::size_t kTypesColumn = 6, kLabelColumn = 60, kColumns = 80, kMostRecords = 20'000, kMostEarly = 100;
constexpr std::size_t kMostTypes = 999;   // what the count of a list can say; a line of data stays bounded by it
constexpr std::string_view kVersionLabel = "RINEX VERSION / TYPE", kEndLabel = "END OF HEADER";

// The longest label of the table that stands anywhere in a line.
std::string_view label_within(std::string_view line)
{
    std::string_view found;
    for (const header_label_t& row : label_table()) {
        if (row.label.size() > found.size() && line.find(row.label) != std::string_view::npos) found = row.label;
    }
    return found;
}

void check_text(std::string_view line, std::uint64_t number, findings_t& findings)
{
    const auto odd = std::find_if(line.begin(), line.end(), [](char c) { return c < ' ' || c > '~'; });
    if (odd != line.end()) {
        findings.add(rule_t::not_ascii, number, static_cast<std::size_t>(odd - line.begin()) + 1, "",
                     "byte " + std::to_string(static_cast<unsigned char>(*odd)));
    }
}

std::string columns(std::string_view line, std::size_t n)
{
    std::string text(cut(line, 0, n));
    text.resize(n, ' ');
    return text;
}

// Lines that no header has: of the data, when the header's end lacks.
bool begins_data(std::string_view line, const file_header_t& header)
{
    if (find_label(trimmed(cut(line, kLabelColumn, kColumns)), header.type, header.version) != nullptr) return false;
    if (header.version >= 300 && (header.is_observation() || header.version >= 400)) return line.substr(0, 2) == "> ";
    const std::size_t day = header.version >= 300 ? 12 : header.is_observation() ? 7 : 9;
    const auto date = [&](std::size_t at) { return is_digit(cut(line, at + 1, 1).empty() ? ' ' : line[at + 1]); };
    return label_within(line).empty() && line.size() > 32 && date(day) && line[day - 1] == ' ' && date(day + 3);
}

void read_version(file_header_t& header)
{
    const std::string_view text = header.records.front().text;
    header.version_text = trimmed(text.substr(0, 9));
    const auto version = decimal_of(text.substr(0, 9), 2);
    header.stated_version = version && *version < 10000 ? static_cast<int>(*version) : -1;
    header.version = nearest_version(header.stated_version < 0 ? 304 : header.stated_version);
    header.type = text[20];
    header.system = text[40];
}

// Those behind the version.
void read_records(numbered_lines_t& lines, findings_t& findings, file_header_t& header)
{
    for (std::string_view line; header.records.size() < kMostRecords && lines.next(line);) {
        if (begins_data(line, header)) {
            lines.put_back();
            break;
        }
        header_record_t record = read_record(line, lines.number(), header.type, header.version, findings);
        header.end_line = lines.number();
        const bool ends = record.label == kEndLabel;
        header.add(std::move(record), findings);
        if (ends) return;
    }
    findings.add(rule_t::no_end_of_header, header.end_line, 1, std::string(kEndLabel),
                 "the header does not end with it");
}

}   // namespace

bool is_version_line(std::string_view line)
{
    return line.substr(0, kColumns + 20).find(kVersionLabel) != std::string_view::npos;
}

header_record_t read_record(std::string_view line, std::uint64_t number, char type, int version, findings_t& findings)
{
    check_text(line, number, findings);
    const std::size_t length = line.size();
    line = line.substr(0, 2 * kColumns);
    header_record_t record{number, columns(line, kLabelColumn), std::string(trimmed(cut(line, kLabelColumn, 20)))};
    const bool in_column = line.size() > kLabelColumn && line[kLabelColumn] != ' ';
    const bool known = in_column && find_label(record.label, type, version) != nullptr;
    const std::string_view label = known || record.label == "COMMENT" ? record.label : label_within(line);
    const std::size_t at = known || label.empty() ? kLabelColumn : line.find(label);
    if (at != kLabelColumn) {
        findings.add(rule_t::label_column, number, at + 1, std::string(label), "the label does not begin in column 61");
        record = {number, columns(line.substr(0, at), kLabelColumn), std::string(label)};
    } else if (length > kColumns) {
        findings.add(rule_t::line_length, number, kColumns + 1, "", std::to_string(length) + " columns");
    }
    return record;
}

bool read_header(numbered_lines_t& lines, findings_t& findings, file_header_t& header)
{
    std::string_view line;
    std::vector<header_record_t> early;   // which stand in front of the version, without which they mean nothing
    while (lines.next(line) && !is_version_line(line)) {
        const std::string_view label = trimmed(cut(line, kLabelColumn, 20));
        if (early.size() >= kMostEarly || find_label(label, 'O', nearest_version(0)) == nullptr) return false;
        early.push_back({lines.number(), columns(line, kLabelColumn), std::string(label)});
    }
    if (!is_version_line(line)) return false;
    header.add(read_record(line, lines.number(), header.type, nearest_version(0), findings), findings);
    header.end_line = lines.number();
    read_version(header);
    for (header_record_t& record : early) {
        findings.add(rule_t::header_order, record.line, 61, record.label,
                     "stands before " + std::string(kVersionLabel));
        header.add(std::move(record), findings);
    }
    read_records(lines, findings, header);
    return true;
}

char file_header_t::default_system() const
{
    if (type == 'G') return 'R';
    if (type == 'H') return 'S';
    return version < 300 && (system == ' ' || system == 'M') ? 'G' : system;
}

bool file_header_t::carries(char letter) const
{
    return system == letter || system_index(system) == kSystemCount || (version < 300 && letter == default_system());
}

const type_list_t& file_header_t::types_of(char letter) const
{
    static const type_list_t kNone;
    const std::size_t at = system_index(letter);
    return at == kSystemCount ? kNone : types_[version < 300 ? 0 : at];
}

bool file_header_t::has_types() const
{
    return std::any_of(types_.begin(), types_.end(), [](const type_list_t& list) { return list.line > 0; });
}

void file_header_t::add(header_record_t record, findings_t& findings)
{
    const std::string_view text = record.text;
    if (record.label == "# / TYPES OF OBSERV" && version < 300) {
        if (!is_blank(text.substr(0, 6))) begin_types(record, 0, text.substr(0, 6), findings);
        add_types(record, 6, findings);
    } else if (record.label == "SYS / # / OBS TYPES" && version >= 300) {
        if (text[0] != ' ') begin_types(record, system_index(text[0]), text.substr(3, 3), findings);
        add_types(record, 4, findings);
    }
    records.push_back(std::move(record));
}

// A first line of a list: its system and the number of types.
void file_header_t::begin_types(const header_record_t& record, std::size_t list, std::string_view count,
                                findings_t& findings)
{
    current_ = list < kSystemCount ? list : kNoList;
    if (current_ != kNoList) {
        types_[list] = {record.line, integer_of(count).value_or(-1), {}};
        return;
    }
    lost_types_ = true;
    findings.add(rule_t::obs_types, record.line, 1, record.label, "there is no system " + record.text.substr(0, 1));
}

// The types of a line, from its cells; where they do not stand in these, from its words.
void file_header_t::add_types(const header_record_t& record, std::size_t step, findings_t& findings)
{
    if (current_ == kNoList) {
        if (!lost_types_) {
            findings.add(rule_t::obs_types, record.line, 1, record.label, "a continuation of no list");
        }
        lost_types_ = true;
        return;
    }
    const std::string_view text = record.text;
    const std::size_t gap = step - (version < 300 ? 2 : 3);
    bool in_cells = true;
    for (std::size_t at = kTypesColumn; at + step <= kLabelColumn && in_cells; at += step) {
        const std::string_view cell = text.substr(at, step);
        in_cells = is_blank(cell) || (is_blank(cell.substr(0, gap)) && cell[gap] != ' ');
        if (in_cells) continue;
        findings.add(rule_t::format_obs_types, record.line, at + 1, record.label,
                     "'" + std::string(cell) + "' does not stand in its columns");
    }
    for (std::size_t at = kTypesColumn; at < kLabelColumn;) {
        const std::size_t first = text.find_first_not_of(' ', at);
        if (first == std::string_view::npos) break;
        const std::size_t end = in_cells ? first + step - gap : std::min(text.find(' ', first), kLabelColumn);
        listed_type_t listed{{}, record.line, first + 1};
        const std::string_view code = trimmed(text.substr(first, end - first));
        std::copy_n(code.begin(), std::min<std::size_t>(3, code.size()), listed.code.letters.begin());
        if (types_[current_].types.size() < kMostTypes) types_[current_].types.push_back(listed);
        at = end;
    }
}

const header_record_t* file_header_t::find(std::string_view label) const
{
    const auto at = std::find_if(records.begin(), records.end(),
                                 [label](const header_record_t& record) { return record.label == label; });
    return at == records.end() ? nullptr : &*at;
}

std::optional<ticks_t> file_header_t::time(std::string_view label) const
{
    const header_record_t* record = find(label);
    if (record == nullptr) return std::nullopt;
    std::array<int, 5> date{};
    for (std::size_t i = 0; i < date.size(); ++i) {
        const auto number = integer_of(std::string_view(record->text).substr(6 * i, 6));
        if (!number || *number > 9999) return std::nullopt;
        date[i] = *number;
    }
    const auto second = decimal_of(std::string_view(record->text).substr(30, 13), 7);
    if (!second) return std::nullopt;
    return ticks_of(date[0], date[1], date[2], date[3], date[4], *second);
}

std::optional<ticks_t> file_header_t::interval() const
{
    const header_record_t* record = find("INTERVAL");
    const auto ms = record == nullptr ? std::nullopt : decimal_of(std::string_view(record->text).substr(0, 10), 3);
    if (!ms || *ms <= 0) return std::nullopt;
    return *ms * (kTicksPerSecond / 1000);
}

std::optional<std::array<double, 3>> file_header_t::vector(std::string_view label) const
{
    const header_record_t* record = find(label);
    std::array<double, 3> xyz{};
    for (std::size_t i = 0; i < 3; ++i) {
        const auto value =
            record == nullptr ? std::nullopt : real_of(std::string_view(record->text).substr(14 * i, 14));
        if (!value) return std::nullopt;
        xyz[i] = *value;
    }
    return xyz;
}

std::optional<int> file_header_t::leap_seconds() const
{
    constexpr int kBeidou = 14;   // GPS - BDT
    const header_record_t* record = find("LEAP SECONDS");
    const auto said = record == nullptr ? std::nullopt : integer_of(std::string_view(record->text).substr(0, 6));
    return said && record->text.compare(24, 3, "BDS") == 0 ? std::optional(*said + kBeidou) : said;
}

std::string_view file_header_t::time_system() const
{
    const header_record_t* record = find("TIME OF FIRST OBS");
    return record == nullptr ? std::string_view() : trimmed(std::string_view(record->text).substr(48, 3));
}

std::map<int, int> file_header_t::glonass_channels() const
{
    std::map<int, int> channels;
    for (const header_record_t& record : records) {
        if (record.label != "GLONASS SLOT / FRQ #") continue;
        for (std::size_t at = 4; at < kLabelColumn; at += 7) {
            const std::string_view cell = std::string_view(record.text).substr(at, 7);
            const auto slot = integer_of(cell.substr(1, 2)), channel = integer_of(cell.substr(4, 2));
            if (cell[0] == 'R' && slot && channel) channels[*slot] = *channel;
        }
    }
    return channels;
}

}   // namespace rinex
