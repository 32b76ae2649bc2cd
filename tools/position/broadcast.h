/// @file broadcast.h  Where the ephemerides of a log put its satellites.
#ifndef POSITION_BROADCAST_H
#define POSITION_BROADCAST_H

#include <array>
#include <memory>
#include <vector>

#include "rinex/nav_record.h"
#include "sky/orbit_glonass.h"
#include "sky/orbit_kepler.h"

namespace position {

/// Times are GPS seconds since 1980-01-06: a double holds them to a quarter of a microsecond, in which a satellite
/// moves a millimetre.
using seconds_t = double;

/// One ephemeris, ready to be evaluated.
class ephemeris_t {
public:
    /// @param r  with a valid satellite
    explicit ephemeris_t(const rinex::ephemeris_record_t& r);

    /// Whether its numbers are such that a satellite can have them.
    bool possible() const;

    seconds_t reference() const { return reference_; }
    double validity() const { return validity_; }   ///< s, to both sides of the reference time
    bool healthy() const { return healthy_; }
    rinex::nav_message_t message() const { return message_; }

    bool is_state() const { return state_; }   ///< GLONASS, SBAS: a state to be moved on, not an ellipse
    const sky::glonass_state_t& state() const { return motion_; }
    const sky::vec3_t& acceleration() const { return acceleration_; }

    /// Satellite in the Earth-fixed axes of that time; its clock against GPS time but for the offset of its system.
    /// Not for GLONASS, whose orbit is an integral.
    sky::orbit_point_t at(seconds_t t) const;
    double clock(seconds_t t) const;   ///< s, without the relativistic part of an ellipse

    /// What the code of a band comes later than the clock says (s).
    /// @note IS-GPS-200, 20.3.3.3.3.2; Galileo OS SIS ICD, 5.1.5; BeiDou OS SIS ICD (B1I), 5.2.4.10; GLONASS ICD, 4.4.
    double group_delay(char band) const;

private:
    void set_kepler(const rinex::ephemeris_record_t& r);
    void set_state(const rinex::ephemeris_record_t& r);

    rinex::satellite_t satellite_;
    rinex::nav_message_t message_;
    seconds_t reference_ = 0.0, clock_reference_ = 0.0;
    double validity_ = 0.0;
    bool healthy_ = true;
    std::array<double, 3> clock_{};        // polynomial (s, s/s, s/s^2)
    double delay1_ = 0.0, delay2_ = 0.0;   // the message's group delays (s)
    sky::kepler_set_t kepler_{};
    bool state_ = false;
    sky::glonass_state_t motion_{};
    sky::vec3_t acceleration_{};
};

/// The ephemerides of all satellites.
class broadcast_t {
public:
    /// Takes one; repetitions are told from new ones, and what cannot be is not taken.
    /// @return whether it is new
    bool add(const rinex::ephemeris_record_t& r);

    /// Forgets those that are valid no longer.
    void leave(seconds_t t);

    /// The one whose reference time lies nearest, within its validity; nullptr: there is none.
    /// @param place  rinex::place_of()
    const ephemeris_t* find(int place, seconds_t t) const;

    /// Changes with every change of a satellite's: pointers of find() from before are void.
    std::size_t version(int place) const { return known_[static_cast<std::size_t>(place)].version; }

private:
    struct known_t {
        std::vector<ephemeris_t> ephemerides;   // by reference time
        std::size_t version = 0;
    };
    std::array<known_t, rinex::kSatellites> known_;
};

/// Follows one satellite through time for the price of a cubic: between nodes half a minute apart it lies within a
/// tenth of a millimetre of the orbit.
class orbit_t {
public:
    /// @return where it is, the ephemeris beside it; nothing while none is valid
    const ephemeris_t* at(const broadcast_t& broadcast, int place, seconds_t t, sky::orbit_point_t& point);

private:
    struct node_t {
        sky::orbit_point_t point;
        sky::vec3_t velocity;
    };
    static constexpr double kStep = 30.0;   // s
    node_t node(seconds_t t) const;
    void move(const broadcast_t& broadcast, int place, double step);

    const ephemeris_t* ephemeris_ = nullptr;
    std::unique_ptr<sky::glonass_arc_t> arc_;   // of a GLONASS satellite
    std::size_t version_ = ~std::size_t{0};
    double step_ = -1.0;   // number of the first node, from the beginning of GPS time
    node_t nodes_[2]{};
};

}   // namespace position

#endif
