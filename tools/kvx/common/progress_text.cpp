#include "common/progress_text.h"

#include <algorithm>
#include <cmath>
#include <iterator>

#include "common/text_format.h"

namespace kvx {

namespace {

// Two digits at least.
std::string size_text(double bytes)
{
    constexpr const char* kUnits[] = {"kB", "MB", "GB", "TB", "PB"};
    const char* const* unit = kUnits;
    bytes /= 1e3;
    while (bytes >= 999.5 && unit + 1 < std::end(kUnits)) {
        bytes /= 1e3;
        ++unit;
    }
    return text(bytes < 9.95 ? "%.1f %s" : "%.0f %s", bytes, *unit);
}

std::string time_text(double seconds)
{
    const auto all = std::llround(seconds);
    const long long hours = all / 3600;
    const int minutes = static_cast<int>(all / 60 % 60), rest = static_cast<int>(all % 60);
    return hours > 0 ? text("%lld:%02d:%02d", hours, minutes, rest) : text("%d:%02d", minutes, rest);
}

// A name may hold anything; the line is one.
std::string harmless(std::string name)
{
    const auto control = [](char c) { return static_cast<unsigned char>(c) < ' ' || c == '\x7f'; };
    std::replace_if(name.begin(), name.end(), control, '?');
    return name;
}

// No character has more columns than bytes in UTF-8, and none is cut in two.
void cut(std::string& line, std::size_t columns)
{
    if (line.size() <= columns) return;
    while (columns > 0 && (static_cast<unsigned char>(line[columns]) & 0xC0U) == 0x80U) --columns;
    line.resize(columns);
}

}   // namespace

std::string progress_text(const progress_state_t& s, std::size_t columns)
{
    constexpr double kLongest = 100 * 3600.0;   // s; what takes longer is no forecast
    const bool known = s.percent >= 0;
    const double left = s.rate > 0.0 && s.total > s.done ? static_cast<double>(s.total - s.done) / s.rate : 0.0;
    std::string line;
    if (known) line += text("%3d %%, ", s.percent);
    if (s.pieces > 1) line += text("%zu of %zu files, ", s.ended, s.pieces);
    line += size_text(static_cast<double>(s.done));
    if (known) line += " of " + size_text(static_cast<double>(s.total));
    if (s.rate > 0.0) line += ", " + size_text(s.rate) + "/s";
    if (!known) line += ", " + time_text(s.seconds);
    if (known && left > 0.0 && left < kLongest) line += ", " + time_text(left) + " left";
    line += ", " + harmless(s.name);
    cut(line, columns);
    return line;
}

}   // namespace kvx
