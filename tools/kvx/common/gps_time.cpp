#include "common/gps_time.h"

#include <rtk_gnss.h>

#include <charconv>
#include <chrono>
#include <cmath>

#include "common/text_format.h"
#include "gnss/foundation/time_scales.h"

namespace kvx {

namespace {

// Reads a text from its start; every step that fails makes all the later ones fail too.
class scanner_t {
public:
    explicit scanner_t(const std::string& text) : at_(text.data()), end_(at_ + text.size()) {}

    scanner_t& digits(int& value, std::ptrdiff_t n)
    {
        const char* stop = at_ + n;
        good_ = good_ && stop <= end_ && *at_ != '-' && std::from_chars(at_, stop, value).ptr == stop;
        if (good_) at_ = stop;
        return *this;
    }
    scanner_t& one_of(const char* characters)
    {
        good_ = good_ && at_ < end_ && std::string(characters).find(*at_) != std::string::npos;
        if (good_) ++at_;
        return *this;
    }
    scanner_t& fraction(double& value)   // ".sss", may be missing
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

double gps_seconds(int week, double tow)
{
    return week * kWeek + tow;
}

gps_time_t gps_time_of(double gps_seconds)
{
    const int week = static_cast<int>(gps_seconds / kWeek);
    return {week, gps_seconds - week * kWeek};
}

std::string date_text(double gps_seconds)
{
    const auto hundredths = std::llround(gps_seconds * 100.0);   // may round up into the next minute
    const auto minutes = hundredths / 6000, of_minute = hundredths % 6000;
    const gps_time_t t = gps_time_of(60.0 * static_cast<double>(minutes));
    int year = 0, month = 0, day = 0, hour = 0, minute = 0;
    double second = 0.0;
    GetCommonTime(t.week, t.tow, 0.0, &year, &month, &day, &hour, &minute, &second);
    return text("%04d-%02d-%02d %02d:%02d:%02lld.%02lld", year, month, day, hour, minute, of_minute / 100,
                of_minute % 100);
}

std::optional<gps_time_t> parse_gps_time(const std::string& text)
{
    int year = 0, month = 0, day = 0, hour = 0, minute = 0, second = 0;
    double fraction = 0.0;
    scanner_t scan(text);
    scan.digits(year, 4).one_of("-").digits(month, 2).one_of("-").digits(day, 2);
    if (!scan.done()) scan.one_of(" T").digits(hour, 2).one_of(":").digits(minute, 2);
    if (!scan.done()) scan.one_of(":").digits(second, 2).fraction(fraction);

    using namespace std::chrono;
    const year_month_day date{std::chrono::year(year), std::chrono::month(static_cast<unsigned>(month)),
                              std::chrono::day(static_cast<unsigned>(day))};
    gps_time_t time{};
    const bool valid = scan.good() && date.ok() && hour < 24 && minute < 60 && second < 60 && fraction < 1.0 &&
                       GetGpsTime(year, month, day, hour, minute, second, &time.week, &time.tow) == 1;
    if (!valid) return std::nullopt;
    time.tow += fraction;
    return time;
}

}   // namespace kvx
