// Long names by RINEX 3.05, appendix A1: their parts stand in columns.
#include "revise/names.h"

#include <algorithm>
#include <filesystem>

#include "rinex/field_formats.h"

namespace kvx {

namespace {

// "ABCD00DNK_R_20201771045_04H_30S_MO.rnx"
constexpr std::size_t kSite = 9, kSource = 10, kStart = 12, kPeriod = 24, kRate = 28, kSize = 30;

bool is_upper_or_digit(char c)
{
    return rinex::is_digit(c) || (c >= 'A' && c <= 'Z');
}

bool is_long(const std::string& name)
{
    if (name.size() < kSize + 4) return false;
    for (const std::size_t at : {kSite, kSource + 1, kPeriod - 1, kRate - 1}) {
        if (name[at] != '_') return false;
    }
    return std::all_of(name.begin(), name.begin() + kSite, is_upper_or_digit) && rinex::is_digit(name[4]) &&
           rinex::is_digit(name[5]) && std::string_view("RSU").find(name[kSource]) != std::string_view::npos &&
           std::all_of(name.begin() + kStart, name.begin() + kPeriod - 1, rinex::is_digit);
}

// "abcd0010.21o"
bool is_short(const std::string& name)
{
    const std::size_t dot = name.find('.');
    return dot >= 8 && dot <= 10 && name.size() > dot + 3 &&
           std::all_of(name.begin() + 4, name.begin() + 7, rinex::is_digit) && rinex::is_digit(name[dot + 1]);
}

}   // namespace

revised_names_t::revised_names_t(const convert_options_t& options, int version, const std::string& input,
                                 const std::string& marker)
    : options_(options), version_(version)
{
    const std::string name = std::filesystem::path(input).filename().string();
    if (is_long(name)) old_ = name;
    marker_ = options.marker;
    if (!marker_.empty()) return;
    marker_ = marker;
    if (!old_.empty())
        marker_ = options.country.empty() ? old_.substr(0, kSite) : old_.substr(0, kSite - 3) + options.country;
    else if (marker_.empty() && is_short(name))
        marker_ = name.substr(0, 4);
}

file_names_t revised_names_t::names(const coverage_t& coverage, int number) const
{
    return {version_, marker_, options_.country, options_.name, nominal(options_, coverage), number};
}

// What the data cannot tell: who recorded them, and the time that was meant.
std::string revised_names_t::completed(std::string name) const
{
    if (!options_.name.empty() || version_ < 300) return name;
    if (old_.empty()) return name;
    name[kSource] = old_[kSource];
    const bool cut = options_.split > 0 || options_.join || options_.start || options_.end;
    if (!cut) name.replace(kStart, kRate - 1 - kStart, old_, kStart, kRate - 1 - kStart);
    return name;
}

std::string revised_names_t::observations(const coverage_t& coverage, int number) const
{
    return completed(names(coverage, number).observations());
}

std::string revised_names_t::navigation(const coverage_t& coverage, char letter, int number) const
{
    const std::string name = completed(names(coverage, 1).navigation(letter));
    return number == 1 ? name : with_number(name, number);
}

}   // namespace kvx
