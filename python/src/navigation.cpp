#include "navigation.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <tuple>

#include "rinex/dates.h"

namespace rtk_python {

namespace {

constexpr std::size_t kNumbers = 31;   // three of the clock and seven lines of four
using numbers_t = std::array<double, kNumbers>;

// Blanks are no numbers, whatever their bits.
numbers_t numbers_of(const rinex::ephemeris_record_t& r)
{
    numbers_t numbers;
    numbers.fill(std::numeric_limits<double>::quiet_NaN());
    auto to = std::copy(r.clock.begin(), r.clock.end(), numbers.begin());
    for (int line = 0; line < r.lines; ++line) {
        for (const double x : r.orbit[static_cast<std::size_t>(line)])
            *to++ = std::fabs(x) <= rinex::kLargestNumber ? x : std::numeric_limits<double>::quiet_NaN();
    }
    return numbers;
}

std::int64_t nanoseconds_of_seconds(std::int64_t seconds)
{
    return nanoseconds_of_ticks(seconds * rinex::kTicksPerSecond);
}

}   // namespace

int navigation_t::take(const kvx::message_t& m)
{
    return messages_.take(m.id, m.sent, m.body, m.size, [this](const rinex::ephemeris_record_t& r, bool repetition) {
        if (!repetition && selection_.wants(r.satellite)) records_.push_back(r);
    });
}

py::dict navigation_t::arrays()
{
    std::stable_sort(records_.begin(), records_.end(), [](const auto& a, const auto& b) {
        return std::tuple(a.epoch, a.satellite, a.message) < std::tuple(b.epoch, b.satellite, b.message);
    });
    column_t<std::int64_t> time, reference;
    column_t<text_t<3>> satellite;
    column_t<text_t<4>> message;
    column_t<std::uint32_t> issue, health;
    column_t<numbers_t> numbers;
    for (const rinex::ephemeris_record_t& r : records_) {
        time.add(nanoseconds_of_seconds(r.epoch));
        reference.add(nanoseconds_of_seconds(r.reference));
        satellite.add(text_of<3>(r.satellite.name()));
        message.add(text_of<4>(rinex::kNavMessageNames[static_cast<std::size_t>(r.message)]));
        issue.add(r.issue);
        health.add(r.health);
        numbers.add(numbers_of(r));
    }
    py::dict all;
    all["time"] = times_of(time);
    all["reference"] = times_of(reference);
    all["satellite"] = array_of(satellite);
    all["message"] = array_of(message);
    all["issue"] = issue.array();
    all["health"] = health.array();
    all["numbers"] = numbers.array(py::dtype::of<double>(), kNumbers);
    return all;
}

py::object navigation_t::ionosphere() const
{
    const auto& told = messages_.ion_utc();
    if (!told) return py::none();
    py::array_t<double> coefficients({2, 4});
    for (py::ssize_t i = 0; i < 4; ++i) {
        coefficients.mutable_at(0, i) = told->alpha[static_cast<std::size_t>(i)];
        coefficients.mutable_at(1, i) = told->beta[static_cast<std::size_t>(i)];
    }
    return coefficients;
}

py::object navigation_t::leap_seconds() const
{
    const auto leaps = messages_.leap_seconds();
    return leaps ? py::object(py::int_(*leaps)) : py::none();
}

}   // namespace rtk_python
