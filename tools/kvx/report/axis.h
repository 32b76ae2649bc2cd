/// @file axis.h  Where the marks of an axis stand.
#ifndef KVX_REPORT_AXIS_H
#define KVX_REPORT_AXIS_H

#include <cstdint>
#include <string>
#include <vector>

namespace kvx::report {

/// Round numbers, some `wanted` of them, 1, 2 or 5 of a power of ten apart.
struct scale_t {
    double low, high, step;
    int decimals;   ///< that its marks need

    /// @param least, greatest  that are to be on it
    scale_t(double least, double greatest, int wanted);

    std::vector<double> marks() const;
    double part(double x) const { return (x - low) / (high - low); }   ///< 0 at the low end, 1 at the high one
};

/// A mark of a time axis.
struct time_mark_t {
    std::int64_t time;   ///< ms
    std::string text;    ///< "12:30", or the date where a day begins
};

/// At most so many, at round times.
std::vector<time_mark_t> time_marks(std::int64_t from, std::int64_t to, int most);

/// "2024-03-10 12:00:00" of milliseconds of GPS time.
std::string time_text(std::int64_t time);

/// "2 h 30 min", "45 s".
std::string duration_text(double seconds);

}   // namespace kvx::report

#endif
