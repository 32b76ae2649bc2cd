/// @file slips.h  Where phases lost count of their cycles.
#ifndef QUALITY_SLIPS_H
#define QUALITY_SLIPS_H

#include <cstdint>
#include <span>
#include <vector>

#include "quality/measurements.h"

namespace quality {

/// What tells a slip: bits.
enum slip_sign_t : std::uint8_t {
    kToldByReceiver = 1,   ///< lock time, or the loss-of-lock indicator of a file
    kGeometryFree = 2,     ///< the difference of two carriers jumps
    kWideLane = 4,         ///< the Melbourne-Wuebbena combination jumps
    kDopplerMisfit = 8,    ///< the phase goes another way than its Doppler
};

struct slip_t {
    std::int64_t time = 0;       ///< ms, first epoch behind it
    std::uint8_t place = 0;      ///< satellite
    std::uint8_t signs = 0;      ///< bits of slip_sign_t
    std::uint64_t signals = 0;   ///< bits; where two disagree and nothing tells which one slipped, both
    double cycles = 0.0;         ///< of a single signal; 0: not known
};

/// Compares each phase with the one before it:
/// - what the receiver tells counts when the signal was away for less than ten minutes;
/// - differences of phases (m) of one satellite since the epoch before, the ionosphere taken on as it changed, agree to
///   8 cm, the first of an arc to 15: with three and more signals those that leave the middle have slipped, of two
///   whole cycles tell;
/// - the wide-lane combination stays within six of its deviations, and four cycles, of its mean, twice in a row;
/// - a phase alone, and each of an SBAS satellite, stays within half a cycle, and five deviations, of what its Doppler
///   says.
/// Differences are taken over 90 s at most. Phases whose half cycles are not known are left out.
/// @note G. Blewitt, An automatic editing algorithm for GPS data, Geophys. Res. Lett. 17 (3), 1990.
class slip_finder_t {
public:
    explicit slip_finder_t(const carriers_t& carriers)
        : carriers_(carriers), phases_(carriers), satellites_(rinex::kSatellites)
    {}

    /// Takes the measurements of one satellite.
    /// @param clock_jumped  the receiver set its clock since the epoch before: phases may have moved all alike
    /// @return what has slipped; `signals` is 0 when nothing has
    slip_t add(std::int64_t time, std::span<const measurement_t> of_satellite, bool clock_jumped);

private:
    struct phase_t {
        std::int64_t time = 0;   // ms; 0: none yet
        double length = 0.0;     // m
        double rate = 0.0;       // by the Doppler (m/s)
        bool whole = false;      // cycles
        double misfit = 0.0;     // mean square of phase against Doppler, a second apart (m/s)^2
        std::uint32_t fits = 0;
    };
    struct wide_lane_t {
        int first = -1, second = -1;        // signals
        std::int64_t time = 0;              // ms, of the last epoch
        double mean = 0.0, squares = 0.0;   // cycles
        double count = 0.0;
        int beyond = 0;   // epochs in a row
    };
    struct satellite_t {
        double ionosphere_rate = 0.0;   // of the delay at 1 GHz (m/s)
        bool rate_known = false;
        wide_lane_t wide_lane;
    };
    // A phase that can be compared.
    struct change_t {
        const measurement_t* m;
        double frequency;
        double change;   // m since the epoch before
        double level;    // without the ionosphere's part
    };

    double dispersion(double frequency) const { return 1e18 / (frequency * frequency); }
    void take_told(std::int64_t time, std::span<const measurement_t> of_satellite, slip_t& slip);
    double gather(std::int64_t time, std::span<const measurement_t> of_satellite, std::uint64_t slipped);
    void compare(slip_t& slip, satellite_t& satellite, double dt);
    void compare_two(slip_t& slip);
    void compare_with_doppler(const change_t& c, slip_t& slip, double dt);
    void follow_ionosphere(const slip_t& slip, satellite_t& satellite, double dt);
    void follow_wide_lane(std::span<const measurement_t> of_satellite, slip_t& slip, wide_lane_t& lane);
    void keep(std::int64_t time, std::span<const measurement_t> of_satellite);

    const carriers_t& carriers_;
    per_signal_t<phase_t> phases_;
    std::vector<satellite_t> satellites_;
    std::vector<change_t> changes_;   // of the satellite in hand
    std::vector<double> levels_;
};

}   // namespace quality

#endif
