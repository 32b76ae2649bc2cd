#include "convert/navigation_header.h"

#include <algorithm>
#include <cmath>

#include "common/error.h"
#include "common/text_format.h"
#include "convert/header_completion.h"

namespace kvx {

namespace {

constexpr std::size_t kKindColumn = 40;   // of the satellite system in the first line
constexpr char kMixed = 'M';

// A library line cut at its label; empty content and label for anything else.
struct labelled_t {
    std::string content, label;
};

labelled_t split(const std::string& line)
{
    constexpr const char* kLabels[] = {"RINEX VERSION / TYPE", "PGM / RUN BY / DATE", "IONOSPHERIC CORR",
                                       "TIME SYSTEM CORR",     "ION ALPHA",           "ION BETA",
                                       "LEAP SECONDS",         "END OF HEADER"};
    for (const char* label : kLabels) {
        if (const auto at = line.find(label); at != line.npos) return {line.substr(0, at), label};
    }
    return {};
}

// Names stand in the first columns, the four coefficients behind them.
bool has_value(const std::string& content)
{
    return content.find_first_of("123456789", 5) != content.npos;
}

std::string ionosphere_lines(const double (&ion)[8])
{
    const auto four = [](const char* name, const double* c) {
        return header_line(text("%s %12.4E%12.4E%12.4E%12.4E", name, c[0], c[1], c[2], c[3]), "IONOSPHERIC CORR");
    };
    return four("GPSA", ion) + four("GPSB", ion + 4);
}

std::string completed(const labelled_t& line, const raw_t& raw, const std::string& run_by, bool mixed)
{
    if (line.label == "PGM / RUN BY / DATE") {
        return program_line(run_by) + (mixed && knows_ionosphere(raw) ? ionosphere_lines(raw.ion_gps) : "");
    }
    if (line.label == "LEAP SECONDS") return header_line(text("%6d", g_curleap), line.label);
    const bool coefficients = line.label.find("CORR") != line.label.npos || line.label.find("ION ") == 0;
    if (coefficients && !has_value(line.content)) return "";
    // RINEX 2 has the coefficients from the third column on, the library two columns further right.
    if (line.label.find("ION ") == 0) return header_line(line.content.substr(2), line.label);
    return header_line(line.content, line.label);
}

}   // namespace

bool knows_ionosphere(const raw_t& raw)
{
    const auto finite = [](double x) { return std::isfinite(x); };
    const auto told = [](double x) { return x != 0.0; };
    return std::all_of(std::begin(raw.ion_gps), std::end(raw.ion_gps), finite) &&
           std::any_of(std::begin(raw.ion_gps), std::end(raw.ion_gps), told);
}

void complete_navigation_header(output_file_t& from, output_file_t& to, const raw_t& raw, const std::string& run_by)
{
    char text[128];
    bool first = true, mixed = false;
    std::fseek(from.stream(), 0, SEEK_SET);
    while (std::fgets(text, sizeof text, from.stream()) != nullptr) {
        const labelled_t line = split(text);
        if (first) mixed = line.content.size() > kKindColumn && line.content[kKindColumn] == kMixed;
        first = false;
        std::fputs(completed(line, raw, run_by, mixed).c_str(), to.stream());
        if (line.label == "END OF HEADER") break;
    }
    copy_rest(from.stream(), to.stream());
    if (std::ferror(from.stream()) != 0) throw error_t(from.path(), "reading back failed", "completing the header");
    to.check("the completed file");
}

}   // namespace kvx
