// Long names by RINEX 3.05, appendix A1; short ones by RINEX 2.11, section 4.
#include "convert/file_names.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <filesystem>

#include "common/folder.h"
#include "common/text_format.h"
#include "convert/name_pattern.h"
#include "rinex/dates.h"

namespace kvx {

namespace {

constexpr double kHalfMs = 0.0005;   // s

bool is_digit(char c)
{
    return c >= '0' && c <= '9';
}

std::string site(const std::string& marker, const std::string& country)
{
    std::string name;
    for (const char c : marker) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte < 0x80 && std::isalnum(byte) != 0) name += static_cast<char>(std::toupper(byte));
    }
    if (name.size() == 9 && is_digit(name[4]) && is_digit(name[5])) return name;
    if (name.empty()) name = "XXXX";
    name.resize(4, '0');
    return name + "00" + (country.empty() ? "XXX" : country);   // monument 0, receiver 0
}

// The unit that was meant.
std::string intended(double seconds)
{
    const long minutes = std::lround(seconds / 60.0);
    if (minutes % 1440 == 0) return text("%02ldD", minutes / 1440);
    return minutes % 60 == 0 ? text("%02ldH", minutes / 60) : text("%02ldM", minutes);
}

// The shortest unit that holds the span.
std::string period(const coverage_t& c)
{
    if (c.period > 0.0) return intended(c.period);
    const double seconds = c.last - c.first + c.interval;
    const auto units = [seconds](double unit) { return std::max(std::lround(std::ceil(seconds / unit - 1e-6)), 1L); };
    if (units(60.0) <= 99) return text("%02ldM", units(60.0));
    if (units(3600.0) <= 99) return text("%02ldH", units(3600.0));
    return text("%02ldD", std::min(units(86400.0), 99L));
}

// Intervals that are no whole number of a unit have no name.
std::string rate(double interval)
{
    const auto whole = [](double x) { return std::fabs(x - std::round(x)) < 1e-3 * x ? std::lround(x) : 0; };
    if (interval <= 0.0) return "00U";
    const long hertz = interval < 1.0 ? whole(1.0 / interval) : 0, seconds = whole(interval);
    if (hertz > 99) return text("%02ldC", hertz / 100);
    if (hertz > 0) return text("%02ldZ", hertz);
    if (seconds == 0 || interval < 1.0) return "00U";
    if (seconds % 3600 == 0) return text("%02ldH", std::min(seconds / 3600, 99L));
    if (seconds % 60 == 0) return text("%02ldM", std::min(seconds / 60, 99L));
    return seconds < 100 ? text("%02ldS", seconds) : "00U";
}

rinex::calendar_t date_of(double seconds)
{
    return rinex::calendar_of(rinex::ticks_of_seconds(seconds));
}

std::string long_stem(const std::string& site, const coverage_t& c)
{
    const rinex::calendar_t start = date_of(c.first);
    return site + text("_R_%04d%03d%02d%02d_", start.year, start.day_of_year, start.hour, start.minute) + period(c);
}

// Sessions of more than an hour are named as days are; others by their hour and, when it is not full, the minute.
// Parts of an hour all have it: the hour's name is that of the whole.
std::string short_stem(const std::string& site, const coverage_t& c)
{
    const rinex::calendar_t start = date_of(c.first);
    std::string stem = site.substr(0, 4);
    std::transform(stem.begin(), stem.end(), stem.begin(),
                   [](unsigned char l) { return static_cast<char>(std::tolower(l)); });
    stem += text("%03d", start.day_of_year);
    const bool is_day = c.period > 0.0 ? c.period >= 86400.0 : c.last - c.first + c.interval > 3600.0 + 1e-6;
    if (is_day) return stem + "0";
    stem += static_cast<char>('a' + start.hour);
    const bool is_part = c.period > 0.0 && c.period < 3600.0;
    return start.minute == 0 && !is_part ? stem : stem + text("%02d", start.minute);
}

}   // namespace

file_names_t::file_names_t(int version, const std::string& marker, const std::string& country, const std::string& stem,
                           const coverage_t& coverage, int number)
    : short_(version < 300), year_(text("%02d", date_of(coverage.first).year % 100))
{
    const std::string name = site(marker, country);
    if (!stem.empty()) {
        observation_stem_ = navigation_stem_ = stem;
    } else if (short_) {
        observation_stem_ = navigation_stem_ = short_stem(name, coverage);
    } else {
        navigation_stem_ = long_stem(name, coverage);
        observation_stem_ = navigation_stem_ + "_" + rate(coverage.interval);
    }
    if (number > 1) observation_stem_ += "_" + std::to_string(number);
}

void file_names_t::put_into(const std::string& folder)
{
    for (std::string* stem : {&observation_stem_, &navigation_stem_})
        *stem = (std::filesystem::path(folder) / *stem).string();
}

std::string file_names_t::observations() const
{
    return short_ ? observation_stem_ + "." + year_ + "o" : observation_stem_ + "_MO.rnx";
}

std::string file_names_t::navigation(char letter) const
{
    if (!short_) return navigation_stem_ + "_" + letter + "N.rnx";
    constexpr std::string_view kLetters = "GRSEJC", kEndings = "nghlqc";
    return navigation_stem_ + "." + year_ + kEndings[kLetters.find(letter)];
}

coverage_t nominal(const convert_options_t& options, coverage_t coverage)
{
    if (options.split == 0) return coverage;
    coverage.period = static_cast<double>(options.split) / 1000.0;
    coverage.first = std::floor((coverage.first + kHalfMs) / coverage.period) * coverage.period;
    return coverage;
}

std::string fault_in_country(const std::string& country)
{
    const bool good =
        country.size() == 3 && std::all_of(country.begin(), country.end(), [](char c) { return c >= 'A' && c <= 'Z'; });
    return good ? "" : "is not three capital letters";
}

std::string fault_in_tree(const std::string& tree)
{
    if (!lies_below(tree)) return "is no folder below another one";
    return fault_in_fields(tree, {"yyyy", "yy", "doy", "mm", "dd", "hh", "site", "stem", "dir"});
}

file_names_t names_of_files(const convert_options_t& options, const coverage_t& coverage, int number)
{
    const coverage_t named = nominal(options, coverage);
    file_names_t names(options.version(), options.marker, options.country, options.name, named, number);
    if (options.tree.empty()) return names;
    const rinex::calendar_t c = date_of(named.first);
    const std::string folder = expand_fields(options.tree, [&](std::string_view field) -> std::optional<std::string> {
        if (field == "yyyy") return text("%04d", c.year);
        if (field == "yy") return text("%02d", c.year % 100);
        if (field == "doy") return text("%03d", c.day_of_year);
        if (field == "mm") return text("%02d", c.month);
        if (field == "dd") return text("%02d", c.day);
        if (field == "hh") return text("%02d", c.hour);
        if (field == "site") return site(options.marker, options.country).substr(0, 4);
        return std::nullopt;
    });
    names.put_into(std::filesystem::path(folder).lexically_normal().string());
    return names;
}

std::string with_number(const std::string& name, int number)
{
    std::string_view stem = name;
    for (const std::string_view ending : {".partial", ".gz", ".zst"}) {
        if (stem.ends_with(ending)) stem.remove_suffix(ending.size());
    }
    std::size_t end = std::min(stem.rfind('.'), stem.size());
    constexpr std::size_t kKind = 3;   // "_MO"
    const auto is_capital = [](char c) { return c >= 'A' && c <= 'Z'; };
    if (end > kKind && stem[end - kKind] == '_' && is_capital(stem[end - 2]) && is_capital(stem[end - 1])) end -= kKind;
    return name.substr(0, end) + "_" + std::to_string(number) + name.substr(end);
}

std::string log_stem(const std::string& path)
{
    if (path == "-") return "STDIN";
    std::filesystem::path name = std::filesystem::path(path).filename();
    if (name.extension() == ".gz") name = name.stem();
    return name.stem().string();
}

}   // namespace kvx
