/// @file time_scales.h  What the time scales and calendars of the systems differ by.
#ifndef RTK_TIME_SCALES_H
#define RTK_TIME_SCALES_H

inline constexpr double kDay = 86400.0;             // s
inline constexpr double kWeek = 7 * kDay;           // s
inline constexpr double kMoscowTime = 3 * 3600.0;   // GLONASS time - UTC (s)
inline constexpr double kBdsOffset = 14.0;          // GPS time - BeiDou time (s)
inline constexpr int kBdsWeekOffset = 1356;         // BeiDou week 0 in GPS weeks

/// Mode of GetCommonTime() that leaves the seconds as they are.
inline constexpr double kUnrounded = -3.0;

#endif
