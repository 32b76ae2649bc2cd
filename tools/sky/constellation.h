/// @file constellation.h  The satellites of all six systems, in orbits like the real ones.
#ifndef SKY_CONSTELLATION_H
#define SKY_CONSTELLATION_H

#include <memory>
#include <vector>

#include "sky/vehicles.h"

namespace sky {

/// Builds the satellites: 31 GPS, 24 Galileo, 40 BeiDou (5 geostationary, 8 inclined geosynchronous, 27 in
/// medium orbits), 4 QZSS, 24 GLONASS, 6 SBAS. The same elements hold at the beginning of every week.
///
/// @param systems  bits of gnss_system_t
/// @param base     week that t counts from
/// @param t        beginning of the simulation; every satellite has its data set of that time
/// @param extra    also C60, J08, R25 and S48, whose numbers lie beyond those of the others
std::vector<std::unique_ptr<vehicle_t>> make_constellation(int systems, const time_base_t& base, double t,
                                                           bool extra = false);

}   // namespace sky

#endif
