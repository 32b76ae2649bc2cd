#include "revise/navigation_header.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <set>

#include "rinex/field_formats.h"
#include "rinex/header.h"
#include "rinex/header_labels.h"

namespace kvx {

namespace {

using rinex::cut;
using rinex::header_line;
using rinex::header_record_t;

struct kind2_t {
    char letter;
    std::string_view text;
};
constexpr kind2_t kKinds2[] = {{'G', "N: GPS NAV DATA"}, {'R', "G: GLONASS NAV DATA"}, {'S', "H: GEO NAV MSG DATA"}};

// The lines of RINEX 2 and what they are called since: label and first columns there, label and first columns here.
struct ionosphere_t {
    std::string_view label2, name3;
};
constexpr ionosphere_t kIonospheres[] = {{"ION ALPHA", "GPSA "}, {"ION BETA", "GPSB "}};
constexpr std::string_view kIonosphere3 = "IONOSPHERIC CORR", kOffset3 = "TIME SYSTEM CORR",
                           kOffset2 = "DELTA-UTC: A0,A1,T,W";

// A number in exponent form, in other columns.
std::string refitted(std::string_view field, std::size_t width, int decimals)
{
    const auto number = rinex::real_of(field);
    std::array<char, 40> text{};
    char* const end = std::to_chars(text.data(), text.data() + text.size(), number.value_or(0.0),
                                    std::chars_format::scientific, decimals)
                          .ptr;
    std::string fitted(text.data(), end);
    fitted[fitted.find('e')] = 'E';
    return std::string(width - std::min(width, fitted.size()), ' ') + fitted;
}

std::string right_of(std::string_view text, std::size_t width)
{
    const std::string word(rinex::trimmed(text));
    return std::string(width - std::min(width, word.size()), ' ') + word;
}

class header_t {
public:
    header_t(const navigation_source_t& source, int version, char letter, const maker_t& maker, lost_labels_t& lost)
        : source_(source), version_(version), letter_(letter), maker_(maker), lost_(lost)
    {}

    std::string line(std::size_t at)
    {
        const header_record_t& record = source_.header.records[at];
        const std::string& as_it_is = source_.lines[at];
        const int from = source_.header.version;
        if (record.label == "RINEX VERSION / TYPE") return first_line(as_it_is);
        if (record.label == "PGM / RUN BY / DATE")
            return rinex::program_line(maker_.program, maker_.run_by, maker_.date) +
                   header_line(record.text, "COMMENT");
        if (from == version_) return as_it_is;
        if (from < 300 && version_ >= 300) {
            if (std::string other = from_2(record); !other.empty()) return other;
        }
        if (from >= 300 && version_ < 300) {
            if (std::string other = into_2(record); !other.empty()) return other;
        }
        return carried(record, as_it_is);
    }

private:
    std::string first_line(const std::string& as_it_is) const
    {
        const rinex::file_header_t& from = source_.header;
        const char own = version_ < 300 ? from.default_system() : from.system;
        if (from.version == version_ && own == letter_) return as_it_is;
        if (version_ >= 300) return rinex::version_line(version_, "N: GNSS NAV DATA", {&letter_, 1});
        for (const kind2_t& kind : kKinds2) {
            if (kind.letter == letter_) return rinex::version_line(version_, kind.text, "");
        }
        return as_it_is;
    }

    std::string from_2(const header_record_t& record) const
    {
        const bool frames = version_ >= 400;   // whose corrections are records
        for (const ionosphere_t& row : kIonospheres) {
            if (record.label == row.label2 && !frames)
                return header_line(std::string(row.name3) + record.text.substr(2, 48), kIonosphere3);
        }
        if (record.label != kOffset2 || frames) return "";
        const std::string_view t = record.text;
        return header_line("GPUT " + refitted(t.substr(3, 19), 17, 10) + refitted(t.substr(22, 19), 16, 9) +
                               right_of(t.substr(41, 9), 7) + right_of(t.substr(50, 9), 5),
                           kOffset3);
    }

    std::string into_2(const header_record_t& record) const
    {
        const std::string_view t = record.text;
        if (letter_ != 'G') return "";
        for (const ionosphere_t& row : kIonospheres) {
            if (record.label == kIonosphere3 && t.starts_with(row.name3))
                return header_line("  " + std::string(t.substr(5, 48)), row.label2);
        }
        if (record.label != kOffset3 || !t.starts_with("GPUT ")) return "";
        return header_line("   " + refitted(t.substr(5, 17), 19, 12) + refitted(t.substr(22, 16), 19, 12) +
                               right_of(t.substr(38, 7), 9) + right_of(t.substr(45, 5), 9),
                           kOffset2);
    }

    std::string carried(const header_record_t& record, const std::string& as_it_is)
    {
        if (record.label == "LEAP SECONDS" && version_ < 300)
            return header_line(std::string_view(record.text).substr(0, 6), record.label);
        const rinex::header_label_t* row = rinex::find_label(record.label, 'N', version_);
        if (row == nullptr || row->use('N', version_) != '-') return as_it_is;
        if (std::string_view(row->format) == "A60") return header_line(record.text, "COMMENT");
        const bool kind = record.label == kIonosphere3 || record.label == kOffset3;
        const bool of_g = kind && version_ < 300 && record.text.starts_with("GP") && letter_ != 'G';
        if (!of_g) lost_.insert(record.label + (kind ? " " + std::string(rinex::trimmed(cut(record.text, 0, 4))) : ""));
        return "";
    }

    const navigation_source_t& source_;
    int version_;
    char letter_;
    const maker_t& maker_;
    lost_labels_t& lost_;
};

// Whether a file can have records of a system, or of any (M).
bool may_have(const rinex::file_header_t& header, char letter)
{
    if (letter == 'M') return true;
    return header.version < 300 ? header.default_system() == letter : header.carries(letter);
}

// The sources of a file's records; all of them when none says so.
std::vector<const navigation_source_t*> sources_of(const std::vector<navigation_source_t>& all, char letter)
{
    std::vector<const navigation_source_t*> sources;
    for (const navigation_source_t& source : all) {
        if (may_have(source.header, letter)) sources.push_back(&source);
    }
    for (std::size_t i = 0; sources.empty() && i < all.size(); ++i) sources.push_back(&all[i]);
    return sources;
}

// What a line tells of all the data, whatever the version calls it; files beside the first may add theirs. Else empty.
std::string fact_of(const header_record_t& record)
{
    for (const ionosphere_t& row : kIonospheres) {
        if (record.label == row.label2) return std::string(kIonosphere3) + std::string(row.name3.substr(0, 4));
    }
    if (record.label == kOffset2) return std::string(kOffset3) + "GPUT";
    if (record.label == kIonosphere3 || record.label == kOffset3) return record.label + record.text.substr(0, 4);
    return record.label == "LEAP SECONDS" ? record.label : "";
}

}   // namespace

std::string navigation_header(const std::vector<navigation_source_t>& all, int version, char letter,
                              const maker_t& maker, lost_labels_t& lost)
{
    const std::vector<const navigation_source_t*> sources = sources_of(all, letter);
    std::string text;
    std::set<std::string> there;   // facts
    for (const navigation_source_t* source : sources) {
        header_t header(*source, version, letter, maker, lost);
        std::set<std::string> told;
        for (std::size_t i = 0; i < source->header.records.size(); ++i) {
            const header_record_t& record = source->header.records[i];
            if (record.label == "END OF HEADER") break;
            const std::string fact = fact_of(record);
            if (source == sources.front() || (!fact.empty() && there.count(fact) == 0)) text += header.line(i);
            told.insert(fact);
        }
        there.merge(told);
    }
    const navigation_source_t& first = *sources.front();
    const bool ended = first.header.records.back().label == "END OF HEADER";
    return text + (ended ? first.lines.back() : header_line("", "END OF HEADER"));
}

}   // namespace kvx
