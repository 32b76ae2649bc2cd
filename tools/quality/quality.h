/// @file quality.h  How good the measurements of a log are: everything that is told of them, in one pass.
#ifndef QUALITY_QUALITY_H
#define QUALITY_QUALITY_H

#include <functional>
#include <map>
#include <memory>
#include <optional>

#include "position/single_point.h"
#include "quality/computed_position.h"
#include "quality/elevations.h"
#include "quality/multipath.h"
#include "quality/positions.h"
#include "quality/slips.h"
#include "quality/strengths.h"

namespace quality {

/// Of one signal of one satellite.
struct signal_count_t {
    std::uint64_t observed = 0;   ///< epochs with a pseudorange or a phase
    std::uint64_t above = 0;      ///< of them, above ten degrees
    std::uint64_t phases = 0;
    std::uint64_t half_cycles = 0;   ///< phases whose half cycles are not known
    std::uint64_t slips = 0;
};

/// Of one satellite.
struct satellite_count_t {
    std::uint64_t observed = 0;   ///< epochs
    std::uint64_t above = 0;      ///< of them, above ten degrees
    std::uint64_t possible = 0;   ///< epochs at which it stood above ten degrees
    std::uint64_t slips = 0;
    std::uint64_t ephemerides = 0;
    std::uint64_t used = 0, rejected = 0;   ///< in computed positions
    double residual_squares = 0.0;          ///< of those used (m^2)

    double residual_rms() const { return used > 0 ? std::sqrt(residual_squares / static_cast<double>(used)) : 0.0; }
};

/// Least, mean and greatest.
struct range_t {
    double least = 0.0, sum = 0.0, greatest = 0.0;
    std::uint64_t count = 0;

    void add(double x)
    {
        least = count == 0 ? x : std::min(least, x);
        greatest = count == 0 ? x : std::max(greatest, x);
        sum += x, ++count;
    }
    double mean() const { return count > 0 ? sum / static_cast<double>(count) : 0.0; }
};

struct clock_jump_t {
    std::int64_t time;   ///< ms
    double seconds;
};

/// What one epoch came to, for those who draw it.
struct judged_epoch_t {
    const measured_epoch_t& measured;
    const std::vector<direction_t>& directions;   ///< by rinex::place_of()
    const std::optional<position::solution_t>& solution;
    const std::vector<position::ranging_t>& rangings;   ///< of the solution
    std::span<const slip_t> slips;
};

class quality_t {
public:
    static constexpr std::size_t kMostNamed = 2000;   ///< slips and jumps that are kept with their times

    explicit quality_t(const carriers_t& carriers);

    /// Calls with every epoch that was taken.
    void on_epoch(std::function<void(const judged_epoch_t&)> act) { act_ = std::move(act); }

    /// Calls with every position that the receiver tells, and its time (ms).
    void on_fix(std::function<void(std::int64_t, const position::vec3_t&)> act) { act_on_fix_ = std::move(act); }

    /// Tells its values, too.
    multipath_t& multipath_values() { return multipath_; }

    void add(const rinex::ephemeris_record_t& ephemeris) { broadcast_.add(ephemeris); }
    void count(const rinex::ephemeris_record_t& ephemeris)   ///< that it was told
    {
        ++satellites_[static_cast<std::size_t>(rinex::place_of(ephemeris.satellite))].ephemerides;
    }
    void take_ionosphere(const std::array<double, 8>& model) { computed_.take_ionosphere(model); }

    /// A position that the receiver tells.
    /// @param kind  of it, as its message says
    /// @param time  of it (ms)
    void add_fix(const position::vec3_t& ecef, int kind, std::int64_t time = 0);

    /// A position that is known beforehand, for directions until one is computed.
    void take_place(const position::vec3_t& ecef);

    /// Takes an epoch, later than those before.
    void add(const measured_epoch_t& epoch);

    /// To be called when all is told.
    void finish() { multipath_.finish(); }

    const carriers_t& carriers() const { return carriers_; }
    per_signal_t<signal_count_t>& signals() { return signals_; }
    const std::vector<satellite_count_t>& satellites() const { return satellites_; }   ///< by rinex::place_of()
    const strengths_t& strengths(int constellation, int signal) const;
    per_signal_t<multipath_count_t>& multipath() { return multipath_.counts(); }
    const std::vector<slip_t>& slips() const { return slips_; }
    std::uint64_t slip_count() const { return slip_count_; }
    const std::vector<clock_jump_t>& clock_jumps() const { return jumps_; }
    std::uint64_t clock_jump_count() const { return jump_count_; }
    const positions_t& fixes() const { return fixes_; }
    const std::map<int, std::uint64_t>& fix_kinds() const { return fix_kinds_; }
    const positions_t& computed() const { return computed_positions_; }
    const distances_t& distances() const { return distances_; }   ///< of computed ones from fixes of their time
    const range_t& satellites_used() const { return used_; }
    const range_t& pdop() const { return pdop_; }
    const range_t& hdop() const { return hdop_; }
    const range_t& vdop() const { return vdop_; }
    std::uint64_t epochs() const { return epochs_; }
    std::uint64_t directed_epochs() const { return directed_epochs_; }   ///< with directions to satellites

private:
    void look_around(std::int64_t time);
    void judge_clock(std::int64_t time);
    void count_solution(std::int64_t time);
    void add_satellite(std::int64_t time, std::span<const measurement_t> of_satellite, bool clock_jumped);
    strengths_t& strengths_at(int constellation, int signal);

    const carriers_t& carriers_;
    position::broadcast_t broadcast_;
    std::vector<position::orbit_t> orbits_, positioning_orbits_;
    std::vector<direction_t> directions_;
    std::int64_t looked_ = 0;   // ms
    std::optional<position::vec3_t> receiver_;

    computed_position_t computed_;
    const std::optional<position::solution_t>* solution_ = nullptr;   // of the epoch in hand
    slip_finder_t finder_;
    multipath_t multipath_;

    per_signal_t<signal_count_t> signals_;
    std::vector<satellite_count_t> satellites_;
    std::array<std::vector<std::unique_ptr<strengths_t>>, rinex::kConstellationCount> strengths_;
    std::vector<slip_t> slips_, slips_now_;
    std::uint64_t slip_count_ = 0, jump_count_ = 0;
    std::vector<clock_jump_t> jumps_;
    struct {
        std::int64_t time = 0;   // ms; 0: none
        double offset = 0.0;     // s
        double drift = 0.0;      // s/s
        std::size_t system = 0;
    } clock_;
    bool clock_jumped_ = false;
    positions_t fixes_, computed_positions_;
    distances_t distances_;
    // The last ones: an epoch is judged when messages of the next ones have come.
    struct timed_fix_t {
        std::int64_t time = 0;   // ms
        position::vec3_t ecef{};
    };
    std::array<timed_fix_t, 8> last_fixes_;
    std::map<int, std::uint64_t> fix_kinds_;
    range_t used_, pdop_, hdop_, vdop_;
    std::uint64_t epochs_ = 0, directed_epochs_ = 0;
    std::function<void(const judged_epoch_t&)> act_;
    std::function<void(std::int64_t, const position::vec3_t&)> act_on_fix_;
};

}   // namespace quality

#endif
