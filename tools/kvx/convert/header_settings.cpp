#include "convert/header_settings.h"

#include <algorithm>
#include <charconv>
#include <set>
#include <sstream>

#include "common/ascii.h"
#include "common/command_line.h"
#include "common/error.h"
#include "common/nearest.h"
#include "rinex/field_formats.h"
#include "rinex/header.h"
#include "rinex/header_labels.h"
#include "rinex/observation_header.h"

namespace kvx {

namespace {

constexpr std::size_t kContent = 60, kColumns = 20;

// Labels that no one can set, and what does.
struct refused_t {
    std::string_view label, reason;
};
constexpr refused_t kRefused[] = {
    {"RINEX VERSION / TYPE", "--rinex chooses the version"},
    {"PGM / RUN BY / DATE", "it tells who makes this file; --run-by names the user"},
    {"# / TYPES OF OBSERV", "the data decide; --signals chooses"},
    {"SYS / # / OBS TYPES", "the data decide; --signals chooses"},
    {"SYS / SCALE FACTOR", "the values of the data stand in its units"},
    {"INTERVAL", "the data decide; --interval chooses epochs"},
    {"TIME OF FIRST OBS", "the data decide; --start chooses"},
    {"TIME OF LAST OBS", "the data decide; --end chooses"},
    {"# OF SATELLITES", "the data decide; --satellites chooses"},
    {"PRN / # OF OBS", "the data decide"},
    {"END OF HEADER", "every header ends with it"},
};

const rinex::header_label_t& known_label(const std::string& label)
{
    std::vector<std::string> labels;
    for (const rinex::header_label_t& row : rinex::label_table()) {
        if (row.label == label) return row;
        labels.emplace_back(row.label);
    }
    const std::string meant = nearest(label, labels);
    throw usage_error_t("--set", "'" + label + "' is no label of a RINEX header" +
                                     (meant.empty() ? "" : "; did you mean '" + meant + "'?"));
}

// Of "A20,40X": 20.
std::size_t columns_for_text(std::string_view format)
{
    std::size_t n = kContent;
    if (format.starts_with('A')) std::from_chars(format.data() + 1, format.data() + format.size(), n);
    return format.find('X') == format.npos || format.find(',') == format.rfind(',') ? n : kContent;
}

// A whole number, or three numbers of a vector, are put where they belong; another text stands as it is.
std::string in_place(const std::string& text, std::string_view format)
{
    const std::string word(rinex::trimmed(text));
    if (format.starts_with("I6,") && rinex::integer_of(word) && word.size() <= 6)
        return std::string(6 - word.size(), ' ') + word;
    if (!format.starts_with("3F14.4")) return text;
    std::istringstream words(text);
    words.imbue(std::locale::classic());
    std::array<double, 3> v{};
    std::string behind;
    if (!(words >> v[0] >> v[1] >> v[2]) || words >> behind) return text;
    return rinex::vector_line(v, "").substr(0, kContent);
}

struct edit_t {
    std::string_view label;
    std::size_t column, width;
    std::string text;   // empty: none
};

std::vector<edit_t> named_edits(const convert_options_t& o)
{
    std::vector<edit_t> edits = {
        {"MARKER NAME", 0, kContent, o.marker},
        {"MARKER NUMBER", 0, kContent, o.marker_number},
        {"MARKER TYPE", 0, kContent, o.marker_type},
        {"OBSERVER / AGENCY", 0, kColumns, o.observer},
        {"OBSERVER / AGENCY", kColumns, 40, o.agency},
        {"REC # / TYPE / VERS", 0, kColumns, o.receiver_number},
        {"REC # / TYPE / VERS", kColumns, kColumns, o.receiver_type},
        {"REC # / TYPE / VERS", 2 * kColumns, kColumns, o.receiver_version},
        {"ANT # / TYPE", 0, kColumns, o.antenna_number},
        {"ANT # / TYPE", kColumns, kColumns, o.antenna_type},
    };
    if (o.antenna_delta) {
        const std::vector<double>& d = *o.antenna_delta;
        edits.push_back(
            {"ANTENNA: DELTA H/E/N", 0, kContent, rinex::vector_line({d[0], d[1], d[2]}, "").substr(0, kContent)});
    }
    return edits;
}

// The lines of a header, with those of the command line in their places.
class edited_t {
public:
    explicit edited_t(const std::string& header)
    {
        std::istringstream in(header);
        for (std::string line; std::getline(in, line);) lines_.push_back(line + "\n");
    }

    void overlay(const edit_t& edit)
    {
        auto at = find(edit.label);
        std::string content = at == lines_.end() ? "" : at->substr(0, kContent);
        content.resize(kContent, ' ');
        std::string text = edit.text;
        text.resize(edit.width, ' ');
        content.replace(edit.column, edit.width, text);
        put(at, rinex::header_line(content, edit.label));
    }

    void set(const header_setting_t& setting)
    {
        const std::string line = rinex::header_line(setting.text, setting.label);
        if (setting.label == "COMMENT") return put(lines_.end(), line);
        if (!set_.insert(setting.label).second) {   // behind the one before
            const auto last = std::find_if(lines_.rbegin(), lines_.rend(),
                                           [&](const std::string& l) { return label_of(l) == setting.label; });
            lines_.insert(last.base(), line);
            return;
        }
        put(find(setting.label), line);
        const auto first = find(setting.label);
        lines_.erase(
            std::remove_if(first + 1, lines_.end(), [&](const std::string& l) { return label_of(l) == setting.label; }),
            lines_.end());
    }

    std::string text() const
    {
        std::string all;
        for (const std::string& line : lines_) all += line;
        return all;
    }

private:
    using place_t = std::vector<std::string>::iterator;

    static std::string_view label_of(std::string_view line)
    {
        return rinex::trimmed(rinex::cut(line.substr(0, line.size() - 1), kContent, kColumns));
    }

    place_t find(std::string_view label)
    {
        return std::find_if(lines_.begin(), lines_.end(), [&](const std::string& l) { return label_of(l) == label; });
    }

    void put(place_t at, const std::string& line)
    {
        if (at != lines_.end()) {
            *at = line;
        } else {
            lines_.insert(lines_.end() - 1, line);
        }
    }

    std::vector<std::string> lines_;
    std::set<std::string> set_;
};

bool has_label(std::string_view label, char type, int version)
{
    const rinex::header_label_t* row = rinex::find_label(label, type, version);
    return row != nullptr && row->use(type, version) != '-';
}

}   // namespace

header_setting_t header_setting(const std::string& text)
{
    const std::size_t equals = text.find('=');
    if (equals == text.npos) throw usage_error_t("--set", "'" + text + "' is not like \"MARKER NAME=BASE\"");
    const std::string label(rinex::trimmed(text.substr(0, equals)));
    const rinex::header_label_t& row = known_label(label);
    for (const refused_t& refused : kRefused) {
        if (refused.label == label)
            throw usage_error_t("--set", label + " cannot be set: " + std::string(refused.reason));
    }
    const auto ascii = to_ascii(text.substr(equals + 1));
    if (!ascii) throw usage_error_t("--set", label + ": the text has characters that RINEX cannot carry; use ASCII");
    const std::string content = in_place(*ascii, row.format);
    const std::size_t columns = columns_for_text(row.format);
    if (content.size() > columns)
        throw usage_error_t("--set", label + ": the text has " + std::to_string(content.size()) +
                                         " characters, its line " + std::to_string(columns) + " columns for it");
    std::string filled = content;
    filled.resize(kContent, ' ');
    rinex::compare_with_format(filled, row.format, [&](std::size_t at, std::string_view field, std::string_view form) {
        throw usage_error_t("--set", label + ": '" + std::string(field) + "' in column " + std::to_string(at + 1) +
                                         " is no " + std::string(form));
    });
    return {label, content};
}

std::string with_set_lines(const std::string& header, const convert_options_t& options, char type, int version)
{
    if (options.settings.empty()) return header;
    edited_t edited(header);
    for (const header_setting_t& setting : options.settings) {
        const char other = type == 'O' ? 'N' : 'O';
        if (has_label(setting.label, type, version)) {
            edited.set(setting);
        } else if (!has_label(setting.label, other, version)) {
            throw error_t("--set", setting.label + " is no label of this RINEX version",
                          std::to_string(version / 100) + "." + std::to_string(version % 100 + 100).substr(1));
        }
    }
    return edited.text();
}

std::string with_settings(const std::string& header, const convert_options_t& options, char type, int version)
{
    edited_t edited(header);
    for (const edit_t& edit : named_edits(options)) {
        if (!edit.text.empty() && has_label(edit.label, type, version)) edited.overlay(edit);
    }
    return with_set_lines(edited.text(), options, type, version);
}

}   // namespace kvx
