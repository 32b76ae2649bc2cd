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

class vehicle {
public:
    vehicle(int system, int prn, int channel) : m_system(system), m_prn(prn), m_channel(channel) {}
    virtual ~vehicle() = default;

    int system() const { return m_system; }     ///< gnss_system_t
    int prn() const { return m_prn; }           ///< as the board numbers it: GLONASS slot + 37, QZSS from 193
    int channel() const { return m_channel; }   ///< GLONASS frequency channel, else 0
    double delay(const signal_t& s) const { return s.delay1 * m_delay[0] + s.delay2 * m_delay[1]; }   ///< s

    /// Makes the data set current that the satellite broadcasts at a time; times never go back.
    virtual void renew(double t) = 0;

    /// Reference time of the current data set, which changes with the set.
    virtual double reference() const = 0;

    /// Truth, within the current set's time and a second.
    virtual orbit_point_t at(double t) const = 0;

    /// The board's message with the current data set, received at a time.
    virtual frame_t ephemeris(double t) const = 0;

protected:
    double m_delay[2] = {0.0, 0.0};   // group delays as broadcast, s

private:
    int m_system, m_prn, m_channel;
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
class kepler_vehicle : public vehicle {
public:
    kepler_vehicle(const time_base_t& base, const kepler_plan_t& plan);

    void renew(double t) override;
    double reference() const override { return m_exact.t_toe; }
    orbit_point_t at(double t) const override { return evaluate(m_exact, t); }
    frame_t ephemeris(double t) const override;
    const kepler_set_t& broadcast() const { return m_broadcast; }

private:
    kepler_set_t exact(double t_toe, const week_time_t& toe) const;

    time_base_t m_base;
    kepler_plan_t m_plan;
    kepler_set_t m_exact{};   // not rounded
    kepler_set_t m_broadcast{};
};

/// A GLONASS satellite. Its data sets are links of one integration.
class glonass_vehicle : public vehicle {
public:
    /// @param slot   1..24
    /// @param t      any time in the interval to begin with
    /// @param state  where it is at that interval's reference time
    glonass_vehicle(const time_base_t& base, int slot, double t, const glonass_state_t& state);

    void renew(double t) override;
    double reference() const override { return m_arc.reference(); }
    orbit_point_t at(double t) const override;
    frame_t ephemeris(double t) const override { return glonass_ephemeris(broadcast(t)); }
    glonass_set_t broadcast(double t) const;

private:
    double clock(double t) const { return m_af0 + m_af1 * t; }

    time_base_t m_base;
    double m_af0, m_af1;
    glonass_arc m_arc;
};

/// An SBAS satellite: it drifts slowly along a straight line.
class sbas_vehicle : public vehicle {
public:
    /// @param prn        from 120
    /// @param longitude  east (rad)
    sbas_vehicle(int prn, double longitude);

    void renew(double t) override;
    double reference() const override { return m_reference; }
    orbit_point_t at(double t) const override;
    frame_t ephemeris(double) const override { return sbas_ephemeris(broadcast()); }
    seph_t broadcast() const;

private:
    vec3 m_position, m_velocity;   // at t = 0
    double m_af0, m_af1;
    double m_reference = 0.0;
};

}   // namespace sky

#endif
