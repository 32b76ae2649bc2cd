/// @file vehicles.h  Satellites: where each truly is, and what it broadcasts about that.
///
/// The true orbit and clock of a satellite never jump. Its broadcast data describe them from one reference
/// time to the next, Keplerian sets rounded to the bits of the message (a few centimetres), GLONASS and
/// SBAS states as they are.
#ifndef SKY_VEHICLES_H
#define SKY_VEHICLES_H

#include <memory>

#include "sky/messages.h"
#include "sky/signals.h"

namespace sky {

/// The simulator's time scale: t counts GPS seconds from the beginning of this week.
struct time_base_t {
    int week;
    int leap_seconds;   ///< GPS - UTC
};

struct week_time_t {
    int week;
    double seconds;   ///< of week, 0..604800
};

/// Week and second of a time on the simulator's scale, or on a system's own scale beside it.
week_time_t split(const time_base_t& base, double t);

class vehicle_t {
public:
    vehicle_t(int system, int prn, int channel) : system_(system), prn_(prn), channel_(channel) {}
    virtual ~vehicle_t() = default;

    int system() const { return system_; }     ///< gnss_system_t
    int prn() const { return prn_; }           ///< as the board numbers it: GLONASS slot + 37, QZSS from 193
    int channel() const { return channel_; }   ///< GLONASS frequency channel, else 0
    double delay(const signal_t& s) const { return s.delay1 * delay_[0] + s.delay2 * delay_[1]; }   ///< s

    /// Makes the data set current that the satellite broadcasts at a time; times never go back.
    virtual void renew(double t) = 0;

    /// Reference time of the current data set, which changes with the set.
    virtual double reference() const = 0;

    /// Truth, within the current set's time and a second.
    virtual orbit_point_t at(double t) const = 0;

    /// The board's message with the current data set, received at a time.
    virtual frame_t ephemeris(double t) const = 0;

protected:
    double delay_[2] = {0.0, 0.0};   // group delays as broadcast, s

private:
    int system_, prn_, channel_;
};

/// Elements at t = 0, apart from the rates constant. Perigee and anomaly turn as the mean motion says.
struct kepler_plan_t {
    int system, prn;
    double sqrtA, e, inclination;
    double node;    ///< longitude of the ascending node from Greenwich (rad)
    double omega;   ///< argument of perigee; BeiDou geostationary: longitude of the perigee (rad)
    double M;       ///< mean anomaly; BeiDou geostationary: mean longitude (rad)
    double delta_n, omega_dot, idot;
    double crc, crs, cuc, cus, cic, cis;
    double af0, af1;
    double tgd, tgd2;
};

/// GPS, Galileo, BeiDou and QZSS satellites.
class kepler_vehicle_t : public vehicle_t {
public:
    kepler_vehicle_t(const time_base_t& base, const kepler_plan_t& plan);

    void renew(double t) override;
    double reference() const override { return exact_.t_toe; }
    orbit_point_t at(double t) const override { return evaluate(exact_, t); }
    frame_t ephemeris(double t) const override;
    const kepler_set_t& broadcast() const { return broadcast_; }

private:
    kepler_set_t exact(double t_toe, const week_time_t& toe) const;

    time_base_t base_;
    kepler_plan_t plan_;
    kepler_set_t exact_{};   // not rounded
    kepler_set_t broadcast_{};
};

/// A GLONASS satellite. Its data sets are links of one integration.
class glonass_vehicle_t : public vehicle_t {
public:
    /// @param slot   1..24, 25: a spare satellite
    /// @param t      any time in the interval to begin with
    /// @param state  where it is at that interval's reference time
    glonass_vehicle_t(const time_base_t& base, int slot, double t, const glonass_state_t& state);

    void renew(double t) override;
    double reference() const override { return arc_.reference(); }
    orbit_point_t at(double t) const override;
    frame_t ephemeris(double t) const override { return glonass_ephemeris(broadcast(t)); }
    glonass_set_t broadcast(double t) const;

private:
    double clock(double t) const { return af0_ + af1_ * t; }

    time_base_t base_;
    double af0_, af1_;
    glonass_arc_t arc_;
};

/// An SBAS satellite: it drifts slowly along a straight line.
class sbas_vehicle_t : public vehicle_t {
public:
    /// @param prn        from 120
    /// @param longitude  east (rad)
    sbas_vehicle_t(int prn, double longitude);

    void renew(double t) override;
    double reference() const override { return reference_; }
    orbit_point_t at(double t) const override;
    frame_t ephemeris(double) const override { return sbas_ephemeris(broadcast()); }
    seph_t broadcast() const;

private:
    vec3_t position_, velocity_;   // at t = 0
    double af0_, af1_;
    double reference_ = 0.0;
};

}   // namespace sky

#endif
