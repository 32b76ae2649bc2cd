/// @file version.h  What the version of a RINEX file decides. Versions are times 100: 304 is 3.04.
#ifndef RTK_RINEX_VERSION_H
#define RTK_RINEX_VERSION_H

namespace rinex {

/// Versions that the writers are made for. Hosts may set any other number; the questions below settle what comes out.
inline constexpr int kVersions[] = {211, 302, 303, 304};

// RINEX 2.11 or RINEX 3? Deliberate: parts of a file change over at different numbers, so that 300 is of both.

/// Observation headers, GLONASS biases and stop-and-go events.
constexpr bool header_is_rinex3(int version)
{
    return version > 300;
}

/// Epochs, event marks, and the navigation files of GPS, GLONASS, BeiDou, Galileo and of all systems.
constexpr bool records_are_rinex3(int version)
{
    return version >= 300;
}

/// Navigation files of QZSS, records of SBAS.
constexpr bool late_records_are_rinex3(int version)
{
    return version >= 301;
}

// Observation codes of BeiDou.

/// B1I is called 2I, before that 1I.
constexpr bool b1i_is_2i(int version)
{
    return version >= 303;
}

/// B2a has columns beside those of B2. Deliberate: in this version alone.
constexpr bool b2a_has_columns(int version)
{
    return version == 304;
}

/// A fourth signal is written, B1C.
constexpr bool b1c_is_written(int version)
{
    return version >= 304;
}

}   // namespace rinex

#endif
