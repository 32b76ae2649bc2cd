#include "convert/file_names.h"

#include <rtk_gnss.h>

#include <cctype>
#include <cmath>
#include <filesystem>

#include "common/gps_time.h"
#include "common/text_format.h"
#include "gnss/foundation/time_scales.h"

namespace kvx {

namespace {

std::string site(const std::string& marker)
{
    std::string name;
    for (const char c : marker) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte < 0x80 && std::isalnum(byte) != 0) name += static_cast<char>(std::toupper(byte));
    }
    if (name.size() == 9 && std::isdigit(static_cast<unsigned char>(name[4])) != 0) return name;
    name.resize(4, '0');
    return name + "00XXX";   // monument 0, receiver 0, country not told
}

std::string start_time(double seconds)
{
    const gps_time_t start = gps_time_of(seconds);
    int year = 0, month = 0, day = 0, hour = 0, minute = 0, first_week = 0;
    double first_tow = 0.0;
    GetCommonTime(start.week, start.tow, 0.0, &year, &month, &day, &hour, &minute, nullptr);
    GetGpsTime(year, 1, 1, 0, 0, 0.0, &first_week, &first_tow);
    const int day_of_year = static_cast<int>((seconds - gps_seconds(first_week, first_tow)) / kDay) + 1;
    return text("%04d%03d%02d%02d", year, day_of_year, hour, minute);
}

std::string period(double seconds)
{
    const long minutes = std::lround(std::ceil(seconds / 60.0 - 1e-6));
    if (minutes >= 1440 && minutes % 1440 == 0 && minutes / 1440 <= 99) return text("%02ldD", minutes / 1440);
    if (minutes >= 60 && (minutes % 60 == 0 || minutes > 99)) {
        const long hours = std::lround(static_cast<double>(minutes) / 60.0);
        return hours <= 99 ? text("%02ldH", hours)
                           : text("%02ldD", std::min(std::lround(static_cast<double>(hours) / 24.0), 99L));
    }
    return text("%02ldM", std::max(minutes, 1L));
}

std::string rate(double interval)
{
    if (interval <= 0.0) return "00U";
    if (interval < 1.0) return text("%02ldZ", std::min(std::lround(1.0 / interval), 99L));
    const long seconds = std::lround(interval);
    if (seconds < 100) return text("%02ldS", seconds);
    return seconds < 6000 ? text("%02ldM", seconds / 60) : text("%02ldH", std::min(seconds / 3600, 99L));
}

}   // namespace

std::string rinex_stem(const std::string& marker, const coverage_t& c, bool with_rate)
{
    std::string stem = site(marker) + "_R_" + start_time(c.first) + "_" + period(c.last - c.first + c.interval);
    if (with_rate) stem += "_" + rate(c.interval);
    return stem;
}

std::string log_stem(const std::string& path)
{
    if (path == "-") return "STDIN";
    std::filesystem::path name = std::filesystem::path(path).filename();
    if (name.extension() == ".gz") name = name.stem();
    return name.stem().string();
}

}   // namespace kvx
