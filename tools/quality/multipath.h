/// @file multipath.h  Noise and multipath of pseudoranges, by their phases on two carriers.
#ifndef QUALITY_MULTIPATH_H
#define QUALITY_MULTIPATH_H

#include <cstdint>
#include <functional>
#include <optional>
#include <span>

#include "quality/elevations.h"
#include "quality/measurements.h"

namespace quality {

/// Squares about means that were taken out.
struct scatter_t {
    double squares = 0.0;   ///< m^2
    double degrees = 0.0;   ///< of freedom
    std::uint64_t count = 0;

    double rms() const { return degrees > 0.0 ? std::sqrt(squares / degrees) : 0.0; }   ///< m
    scatter_t& operator+=(const scatter_t& o)
    {
        squares += o.squares, degrees += o.degrees, count += o.count;
        return *this;
    }
};

struct multipath_count_t {
    by_elevation_t<scatter_t> steps;

    scatter_t all() const
    {
        scatter_t sum;
        for (const scatter_t& s : steps) sum += s;
        return sum;
    }
};

/// Of each code with a second carrier the combination
///     MP = P_i - L_i - 2 f_j^2 / (f_i^2 - f_j^2) * (L_i - L_j)
/// of lengths (m), free of geometry, clocks and ionosphere; its constant, from the ambiguities, goes with the mean of
/// the arc. Arcs end where a phase slips, when the satellite is away for two minutes, and after four hours; those below
/// ten minutes or twenty epochs tell nothing.
/// @note L. H. Estey, C. M. Meertens, TEQC: the multi-purpose toolkit for GPS/GLONASS data, GPS Solutions 3 (1), 1999.
class multipath_t {
public:
    explicit multipath_t(const carriers_t& carriers) : carriers_(carriers), arcs_(carriers), counts_(carriers) {}

    /// Takes the measurements of one satellite.
    /// @param slipped  bits of the signals whose phases slipped
    void add(std::int64_t time, std::span<const measurement_t> of_satellite, std::uint64_t slipped,
             const direction_t& to);

    /// Ends all arcs.
    void finish();

    /// Calls with every value of an arc, from which its first one has been taken (m) ...
    std::function<void(const measurement_t&, const direction_t&, double)> on_value;
    /// ... and when the arc of a satellite's signal has ended, with its mean; with none when it tells nothing.
    std::function<void(int place, int signal, std::optional<double> mean)> on_arc;

    per_signal_t<multipath_count_t>& counts() { return counts_; }

private:
    static constexpr int kNoPartner = -1;

    struct sums_t {
        double n = 0.0, sum = 0.0, squares = 0.0;
    };
    struct arc_t {
        std::int64_t begin = 0, last = 0;   // ms
        int partner = kNoPartner;           // signal of the second carrier
        double level = 0.0;                 // of the first value (m): what is summed are differences
        by_elevation_t<sums_t> sums;
    };

    void close(int place, int signal, arc_t& arc);
    const measurement_t* partner_of(const measurement_t& m, std::span<const measurement_t> of_satellite,
                                    const arc_t& arc) const;

    const carriers_t& carriers_;
    per_signal_t<arc_t> arcs_;
    per_signal_t<multipath_count_t> counts_;
};

}   // namespace quality

#endif
