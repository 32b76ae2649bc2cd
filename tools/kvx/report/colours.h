/// @file colours.h  Steps of values that have a colour each, from bad (0) to good (8); the page's style has the
/// colours.
#ifndef KVX_REPORT_COLOURS_H
#define KVX_REPORT_COLOURS_H

#include <algorithm>
#include <iterator>
#include <string>

namespace kvx::report {

inline constexpr int kColours = 9;

/// Lower ends of all steps but the first one (dB-Hz), and upper ends (m), the good ones last.
inline constexpr double kStrengthSteps[] = {24, 28, 32, 36, 40, 44, 48, 52};
inline constexpr double kMultipathSteps[] = {2.0, 1.5, 1.0, 0.7, 0.5, 0.3, 0.2, 0.1};

inline int colour_of_strength(double cn0)
{
    return static_cast<int>(std::upper_bound(std::begin(kStrengthSteps), std::end(kStrengthSteps), cn0) -
                            std::begin(kStrengthSteps));
}

inline int colour_of_multipath(double metres)
{
    return static_cast<int>(std::count_if(std::begin(kMultipathSteps), std::end(kMultipathSteps),
                                          [metres](double step) { return metres < step; }));
}

/// A strip of all colours with their limits.
std::string strength_key();
std::string multipath_key();

/// The class of the colour of a system, "sG".
inline std::string system_class(char letter)
{
    return {'s', letter};
}

}   // namespace kvx::report

#endif
