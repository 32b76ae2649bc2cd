/// @file single_point.h  A position from the pseudoranges of one epoch.
#ifndef POSITION_SINGLE_POINT_H
#define POSITION_SINGLE_POINT_H

#include <array>
#include <optional>
#include <vector>

#include "position/broadcast.h"
#include "position/geodetic.h"

namespace position {

/// One satellite's pseudorange.
struct ranging_t {
    int place = 0;                    ///< rinex::place_of()
    double pseudorange = 0.0;         ///< m; of one carrier, or the combination of two without the ionosphere
    double frequency = 0.0;           ///< Hz, of the one carrier; 0: two
    sky::orbit_point_t sent_from{};   ///< when it was sent, in the axes of that time; clock with the code's group delay
    // Found by the solution:
    double elevation = 0.0;   ///< rad
    double residual = 0.0;    ///< measured - computed (m)
    bool used = false;
};

/// What the solution knows besides.
struct surroundings_t {
    seconds_t time = 0.0;                              ///< by the receiver's clock
    std::optional<std::array<double, 8>> ionosphere;   ///< alpha 0..3, beta 0..3 of the broadcast model
    double mask = 10.0 / kRadian;                      ///< least elevation (rad)
    std::optional<vec3_t> near;                        ///< a position within some kilometres (ECEF, m)
};

struct solution_t {
    vec3_t position{};   ///< ECEF (m)
    /// Receiver clock against each system's time (m), in the order of rinex::kConstellations; of systems in use.
    std::array<std::optional<double>, rinex::kConstellationCount> clocks;
    int used = 0, rejected = 0;   ///< satellites; rejected: by their residuals
    double gdop = 0.0, pdop = 0.0, hdop = 0.0, vdop = 0.0;
    double residual_rms = 0.0;   ///< m
};

/// Weighted least squares: three coordinates and a clock a system. Satellites whose residuals do not fit the others'
/// are taken out one by one.
///
/// @param rangings  of the epoch, each satellite once; the solution leaves elevations and residuals there
/// @return nothing when there are fewer satellites than unknowns, or they contradict each other
/// @note Weights by the sine of the elevation; troposphere after Saastamoinen with the mapping of RTCA DO-229,
/// ionosphere
///       of single carriers after Klobuchar (IS-GPS-200, 20.3.3.5.2.5); rotation of the Earth during the travel.
std::optional<solution_t> single_point(std::vector<ranging_t>& rangings, const surroundings_t& around);

}   // namespace position

#endif
