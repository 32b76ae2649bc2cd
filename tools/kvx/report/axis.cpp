#include "report/axis.h"

#include <cmath>

#include "common/gps_time.h"
#include "report/markup.h"

namespace kvx::report {

namespace {

constexpr std::int64_t kSecond = 1000, kMinute = 60 * kSecond, kHour = 60 * kMinute, kDay = 24 * kHour;

constexpr std::int64_t kTimeSteps[] = {
    kSecond,     2 * kSecond,  5 * kSecond,  10 * kSecond, 15 * kSecond, 30 * kSecond, kMinute,   2 * kMinute,
    5 * kMinute, 10 * kMinute, 15 * kMinute, 30 * kMinute, kHour,        2 * kHour,    3 * kHour, 6 * kHour,
    12 * kHour,  kDay,         2 * kDay,     7 * kDay,     14 * kDay,    28 * kDay,    91 * kDay, 364 * kDay,
};

}   // namespace

scale_t::scale_t(double least, double greatest, int wanted)
{
    const double span = std::max(greatest - least, 1e-6 * std::max(1.0, std::fabs(greatest)));
    const double rough = span / wanted, power = std::pow(10.0, std::floor(std::log10(rough)));
    const double first = rough / power;
    step = power * (first < 1.5 ? 1.0 : first < 3.5 ? 2.0 : first < 7.5 ? 5.0 : 10.0);
    low = step * std::floor(least / step + 1e-9), high = step * std::ceil(greatest / step - 1e-9);
    if (high <= low) high = low + step;
    decimals = std::max(0, static_cast<int>(-std::floor(std::log10(step) + 1e-9)));
}

std::vector<double> scale_t::marks() const
{
    std::vector<double> all;
    const auto n = static_cast<int>(std::lround((high - low) / step));
    for (int i = 0; i <= n; ++i) all.push_back(low + step * i);
    return all;
}

std::vector<time_mark_t> time_marks(std::int64_t from, std::int64_t to, int most)
{
    std::int64_t step = kTimeSteps[0];
    for (const std::int64_t longer : kTimeSteps) {
        if ((to - from) / step < most) break;
        step = longer;
    }
    std::vector<time_mark_t> marks;
    if ((to - from) / step > 2L * most) return marks;
    for (std::int64_t t = (from + step - 1) / step * step; t <= to; t += step) {
        const std::string date = time_text(t);
        marks.push_back({t, t % kDay == 0 ? date.substr(5, 5) : date.substr(11, step < kMinute ? 8 : 5)});
    }
    return marks;
}

std::string time_text(std::int64_t time)
{
    return date_text(static_cast<double>(time) / 1000.0).substr(0, 19);
}

std::string duration_text(double seconds)
{
    const auto whole = static_cast<std::int64_t>(std::llround(seconds));
    if (whole < 120) return number(seconds, 2) + " s";
    struct unit_t {
        std::int64_t size;
        const char* name;
    };
    constexpr unit_t kUnits[] = {{86400, " d"}, {3600, " h"}, {60, " min"}, {1, " s"}};
    std::string out;
    int parts = 0;
    std::int64_t left = whole;
    for (const unit_t& unit : kUnits) {
        if (left < unit.size || parts == 2) continue;
        out += (out.empty() ? "" : " ") + std::to_string(left / unit.size) + unit.name;
        left %= unit.size;
        ++parts;
    }
    return out;
}

}   // namespace kvx::report
