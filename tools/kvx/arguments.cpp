#include "arguments.h"

#include <rtk_gnss.h>

#include <charconv>
#include <chrono>

#include "systems.h"
#include "text_format.h"

namespace kvx {

namespace {

// Reads a text from its start; every step that fails makes all the later ones fail too.
class Scanner {
public:
    explicit Scanner(const std::string& text) : at_(text.data()), end_(at_ + text.size()) {}

    Scanner& digits(int& value, std::ptrdiff_t n)
    {
        const char* stop = at_ + n;
        good_ = good_ && stop <= end_ && *at_ != '-' && std::from_chars(at_, stop, value).ptr == stop;
        if (good_) at_ = stop;
        return *this;
    }
    Scanner& one_of(const char* characters)
    {
        good_ = good_ && at_ < end_ && std::string(characters).find(*at_) != std::string::npos;
        if (good_) ++at_;
        return *this;
    }
    Scanner& fraction(double& value)   // ".sss", may be missing
    {
        if (!good_ || done()) return *this;
        good_ = *at_ == '.' && std::from_chars(at_, end_, value, std::chars_format::fixed).ptr == end_;
        if (good_) at_ = end_;
        return *this;
    }
    bool done() const { return at_ == end_; }
    bool good() const { return good_; }

private:
    const char* at_;
    const char* end_;
    bool good_ = true;
};

}   // namespace

std::optional<gps_time_t> parse_gps_time(const std::string& text)
{
    int year = 0, month = 0, day = 0, hour = 0, minute = 0, second = 0;
    double fraction = 0.0;
    Scanner scan(text);
    scan.digits(year, 4).one_of("-").digits(month, 2).one_of("-").digits(day, 2);
    if (!scan.done()) scan.one_of(" T").digits(hour, 2).one_of(":").digits(minute, 2);
    if (!scan.done()) scan.one_of(":").digits(second, 2).fraction(fraction);

    using namespace std::chrono;
    const year_month_day date{std::chrono::year(year), std::chrono::month(static_cast<unsigned>(month)),
                              std::chrono::day(static_cast<unsigned>(day))};
    gps_time_t time{};
    const bool valid = scan.good() && date.ok() && hour < 24 && minute < 60 && second < 60 &&
                       GetGpsTime(year, month, day, hour, minute, second, &time.week, &time.tow) == 1;
    if (!valid) return std::nullopt;
    time.tow += fraction;
    return time;
}

CLI::Validator within(double low, double high)
{
    const auto check = [low, high](const std::string& text) {
        double value = 0.0;
        const bool number = CLI::detail::lexical_cast(text, value);
        return number && value >= low && value <= high
                   ? std::string()
                   : "'" + text + "' is not a number from " + kvx::text("%g", low) + " to " + kvx::text("%g", high);
    };
    return {check, kvx::text("FLOAT in [%g - %g]", low, high)};
}

CLI::Validator system_letters()
{
    const auto check = [](const std::string& text) {
        return systems_of(text) != 0 ? std::string() : "'" + text + "' is not made of letters of GRECJS";
    };
    return {check, "LETTERS"};
}

}   // namespace kvx
