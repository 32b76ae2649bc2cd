#include "rinex/crinex_coder.h"

#include <algorithm>
#include <charconv>
#include <cmath>

#include "rinex/line_error.h"

namespace rinex {

using crinex::columns;
using crinex::label;
using crinex::trimmed;

namespace {

constexpr int kMostTypes = 255;         // of a satellite: more than any system has
constexpr std::size_t kNumbers = 100;   // of satellites of a system

// A right-aligned number of digits; blank is none, 0. @return -1 when it is anything else
int whole_number(std::string_view field)
{
    field = trimmed(field);
    field.remove_prefix(std::min(field.find_first_not_of(' '), field.size()));
    int n = 0;
    if (field.empty()) return n;
    const auto end = field.data() + field.size();
    return field[0] != '-' && std::from_chars(field.data(), end, n).ptr == end ? n : -1;
}

// Row of a system's letter; 0 for the blank that some versions allow. @return -1 when it is none
int system_row(char letter)
{
    if (letter == ' ') return 0;
    return letter >= 'A' && letter <= 'Z' ? letter - 'A' + 1 : -1;
}

}   // namespace

// clang-format off
const std::array<crinex_layout_t, 2> crinex_coder_t::kLayouts = {{
    // version holds      mark initial flag count head list  clock         satellites, values a line  flags
    {"1.0", "RINEX 2",         ' ', '&', 28, 29, 32, 32, {68, 12,  9}, 12, 5,          ' ',  false},
    {"3.0", "RINEX 3 to 4.01", '>', '>', 31, 32, 35, 41, {41, 15, 12},  0, kMostTypes, '\0', true},
}};
// clang-format on

crinex_coder_t::crinex_coder_t() : satellites_(kNumbers * types_.size()) {}

void crinex_coder_t::fail(const std::string& what) const
{
    throw line_error_t(line_, what);
}

void crinex_coder_t::demand_blank(std::string_view line, std::size_t from, std::size_t to) const
{
    const std::size_t at = columns(line, from, to - from).find_first_not_of(' ');
    if (at != std::string_view::npos) fail("there must be a blank in column " + std::to_string(from + at + 1));
}

const crinex_layout_t& crinex_coder_t::layout_for(std::string_view line) const
{
    constexpr double kSecond = 1.995, kThird = 2.995, kUnknown = 4.015;   // 4.01 is the last with what is known here
    if (label(line) != "RINEX VERSION / TYPE" || columns(line, 20, 1) != "O") fail("this is no RINEX observation file");
    std::string_view text = trimmed(columns(line, 0, 9));
    text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
    double version = 0.0;
    std::from_chars(text.data(), text.data() + text.size(), version);
    const std::string name = "RINEX " + crinex::quoted(text);
    if (!(version >= kSecond && version < 5.0)) fail(name + " cannot be compact");
    if (version >= kUnknown) fail(name + " belongs to CRINEX 3.1, whose details are not public");
    return kLayouts[version < kThird ? 0 : 1];
}

void crinex_coder_t::note_types(std::string_view line)
{
    const bool each = label(line) == "SYS / # / OBS TYPES";
    if (!each && label(line) != "# / TYPES OF OBSERV") return;
    const std::string_view count = each ? columns(line, 3, 3) : columns(line, 0, 6);
    if (trimmed(count).empty()) return;   // more of the line before
    const int n = whole_number(count);
    const int row = system_row(line[0]);
    if (n < 0 || n > kMostTypes || row < 0) fail("a list of observation types that cannot be read");
    if (each) {
        types_[static_cast<std::size_t>(row)] = n;
    } else {
        types_.fill(n);
    }
}

std::size_t crinex_coder_t::number_of_satellites(std::string_view epoch_line) const
{
    const int n = whole_number(columns(epoch_line, layout_->count, 3));
    if (n < 0) fail("the number of satellites cannot be read");
    return static_cast<std::size_t>(n);
}

bool crinex_coder_t::is_event(std::string_view epoch_line) const
{
    const char flag = epoch_line.size() > layout_->flag ? epoch_line[layout_->flag] : ' ';
    if (flag != ' ' && (flag < '0' || flag > '6')) fail("this is no epoch line");
    return flag >= '2' && flag <= '5';
}

void crinex_coder_t::begin_epoch()
{
    if (text_.find('&') != std::string::npos) fail("an epoch line has no '&'");
    if (initial_) clock_.end();
    epoch_ += initial_ ? 2 : 1;   // by two: no satellite was seen in the one before
    initial_ = false;
}

crinex_coder_t::satellite_t& crinex_coder_t::satellite(std::string_view id, char no_flag)
{
    const int row = system_row(id[0]), number = whole_number(id.substr(1));
    if (row < 0 || number < 0 || id[2] == ' ') fail(crinex::quoted(id) + " is no satellite");
    satellite_t& found = satellites_[static_cast<std::size_t>(row) * kNumbers + static_cast<std::size_t>(number)];
    if (found.epoch == epoch_) fail("satellite " + std::string(id) + " a second time in one epoch");
    if (found.epoch + 1 != epoch_) {
        const auto types = static_cast<std::size_t>(types_[static_cast<std::size_t>(row)]);
        if (types == 0) fail("no observation types are listed for satellite " + std::string(id));
        found.series.assign(types, {});
        found.flags.assign(2 * types, no_flag);
    }
    found.epoch = epoch_;
    return found;
}

namespace crinex {

std::string quoted(std::string_view text)
{
    constexpr std::size_t kShown = 40;
    std::string shown(text.substr(0, kShown));
    std::replace_if(
        shown.begin(), shown.end(), [](char c) { return c < ' ' || c > '~'; }, '?');
    return "'" + shown + (text.size() > kShown ? "...'" : "'");
}

char* put_difference(char* to, std::string_view now, std::string_view before)
{
    const std::size_t common = std::min(now.size(), before.size());
    for (std::size_t i = 0; i < common; ++i) *to++ = now[i] == before[i] ? ' ' : now[i] == ' ' ? '&' : now[i];
    to = std::copy(now.begin() + static_cast<std::ptrdiff_t>(common), now.end(), to);
    for (std::size_t i = common; i < before.size(); ++i) *to++ = before[i] == ' ' ? ' ' : '&';
    return to;
}

void apply_difference(std::string& text, std::string_view difference)
{
    if (text.size() < difference.size()) text.resize(difference.size(), ' ');
    for (std::size_t i = 0; i < difference.size(); ++i)
        if (difference[i] != ' ') text[i] = difference[i] == '&' ? ' ' : difference[i];
}

}   // namespace crinex
}   // namespace rinex
