/// @file computed_position.h  Positions from the pseudoranges of a log, epoch by epoch.
#ifndef QUALITY_COMPUTED_POSITION_H
#define QUALITY_COMPUTED_POSITION_H

#include <optional>
#include <vector>

#include "position/single_point.h"
#include "quality/measurements.h"

namespace quality {

/// Chooses what to compute with, and computes.
class computed_position_t {
public:
    computed_position_t(const carriers_t& carriers, const position::broadcast_t& broadcast,
                        std::vector<position::orbit_t>& orbits);

    void take_ionosphere(const std::array<double, 8>& model) { ionosphere_ = model; }

    /// @param near  a position to begin with; the last one computed goes before
    /// @return nothing when the epoch does not allow one
    const std::optional<position::solution_t>& add(const measured_epoch_t& epoch,
                                                   const std::optional<position::vec3_t>& near);

    /// Those of the epoch's satellites that were tried.
    const std::vector<position::ranging_t>& rangings() const { return rangings_; }

private:
    struct chosen_t {
        const measurement_t* first = nullptr;    // of the system's first carrier
        const measurement_t* second = nullptr;   // of another one
    };
    chosen_t choose(const measurement_t* begin, const measurement_t* end) const;
    void add_satellite(double time, const chosen_t& chosen, bool two_carriers);

    const carriers_t& carriers_;
    const position::broadcast_t& broadcast_;
    std::vector<position::orbit_t>& orbits_;
    std::optional<std::array<double, 8>> ionosphere_;
    std::vector<chosen_t> chosen_;
    std::vector<position::ranging_t> rangings_;
    std::optional<position::solution_t> solution_;
    std::optional<position::vec3_t> last_;
};

}   // namespace quality

#endif
