/// @file orbit_kepler.h  Keplerian broadcast orbits and clocks: GPS, Galileo, BeiDou, QZSS.
#ifndef SKY_ORBIT_KEPLER_H
#define SKY_ORBIT_KEPLER_H

#include "sky/vec3.h"

namespace sky {

/// One broadcast data set. Angles in radians, lengths in metres. Times are seconds of week in the
/// system's own time; t_toe alone counts GPS seconds from the beginning of the log's first week.
struct kepler_set_t {
    int system, prn;   ///< gnss_system_t; PRN as the board numbers it (QZSS from 193)
    int week;          ///< week of toe, GPS count (BeiDou: BeiDou week + 1356)
    int issue;         ///< issue of data, orbit and clock alike
    double t_toe;      ///< toe on the simulator's time scale (s)
    double toe, toc;   ///< reference times, equal
    double sqrtA, A, e, i0, omega0, omega, M0;
    double delta_n, omega_dot, idot;
    double crc, crs, cuc, cus, cic, cis;
    double af0, af1, af2;   ///< clock; Galileo: of the I/NAV message
    double fnav_af0;        ///< Galileo: clock bias of the F/NAV message (s)
    double tgd, tgd2;       ///< GPS, QZSS: TGD; Galileo: BGD E1/E5a, E1/E5b; BeiDou: TGD1, TGD2 (s)
};

/// Satellite and clock as the broadcast algorithm gives them.
///
/// @param set  data set
/// @param t    GPS time, seconds from the beginning of the log's first week
/// @note IS-GPS-200 table 20-IV; Galileo OS SIS ICD 5.1.1; BeiDou OS SIS ICD (B1I) 5.2.4.12, for its
///       geostationary satellites (PRN 1..5, 59..63) with the rotation by -5 degrees.
orbit_point_t evaluate(const kepler_set_t& set, double t);

/// True for BeiDou's geostationary satellites.
bool is_beidou_geo(int system, int prn);

/// Earth's gravitational constant (m^3/s^2) as the system defines it for its users.
double gravity(int system);

/// Earth's rotation rate (rad/s) as the system defines it for its users.
double earth_rate(int system);

}   // namespace sky

#endif
