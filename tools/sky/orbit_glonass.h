/// @file orbit_glonass.h  GLONASS orbits: equations of motion in PZ-90, integrated from a state vector.
#ifndef SKY_ORBIT_GLONASS_H
#define SKY_ORBIT_GLONASS_H

#include <array>

#include "sky/vec3.h"

namespace sky {

struct glonass_state_t {
    vec3_t position;   ///< m
    vec3_t velocity;   ///< m/s
};

/// State a time step later.
///
/// @param state  state in the Earth-fixed frame PZ-90
/// @param accel  luni-solar acceleration (m/s^2), constant over the step
/// @param step   time step (s), of either sign; one minute keeps the error below a millimetre
/// @note GLONASS interface control document 5.1, appendix A.3.1.2: fourth-order Runge-Kutta over central
///       gravity, second zonal harmonic and the rotation of the frame.
glonass_state_t advance(const glonass_state_t& state, const vec3_t& accel, double step);

/// States every minute through the half hour around a reference time.
class glonass_arc_t {
public:
    glonass_arc_t(double reference, const glonass_state_t& state, const vec3_t& accel);

    /// State at a time within 15 minutes (and a little) of the reference time.
    glonass_state_t at(double t) const;

    /// State at the next reference time, half an hour later.
    glonass_state_t next() const;

    double reference() const { return reference_; }
    const glonass_state_t& state() const { return states_[kHalf]; }
    const vec3_t& accel() const { return accel_; }

private:
    static constexpr int kHalf = 15;
    double reference_;
    vec3_t accel_;
    std::array<glonass_state_t, 2 * kHalf + 1> states_;
};

}   // namespace sky

#endif
