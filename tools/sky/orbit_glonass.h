/// @file orbit_glonass.h  GLONASS orbits: equations of motion in PZ-90, integrated from a state vector.
#ifndef SKY_ORBIT_GLONASS_H
#define SKY_ORBIT_GLONASS_H

#include <array>

#include "sky/vec3.h"

namespace sky {

struct glonass_state_t {
    vec3 position;   ///< m
    vec3 velocity;   ///< m/s
};

/// State a time step later.
///
/// @param state  state in the Earth-fixed frame PZ-90
/// @param accel  luni-solar acceleration (m/s^2), constant over the step
/// @param step   time step (s), of either sign; one minute keeps the error below a millimetre
/// @note GLONASS interface control document 5.1, appendix A.3.1.2: fourth-order Runge-Kutta over central
///       gravity, second zonal harmonic and the rotation of the frame.
glonass_state_t advance(const glonass_state_t& state, const vec3& accel, double step);

/// States every minute through the half hour around a reference time.
class glonass_arc {
public:
    glonass_arc(double reference, const glonass_state_t& state, const vec3& accel);

    /// State at a time within 15 minutes (and a little) of the reference time.
    glonass_state_t at(double t) const;

    /// State at the next reference time, half an hour later.
    glonass_state_t next() const;

    double reference() const { return m_reference; }
    const glonass_state_t& state() const { return m_states[kHalf]; }
    const vec3& accel() const { return m_accel; }

private:
    static constexpr int kHalf = 15;
    double m_reference;
    vec3 m_accel;
    std::array<glonass_state_t, 2 * kHalf + 1> m_states;
};

}   // namespace sky

#endif
