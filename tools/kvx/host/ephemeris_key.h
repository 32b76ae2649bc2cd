/// @file ephemeris_key.h  What tells one ephemeris of a satellite from its others.
#ifndef KVX_EPHEMERIS_KEY_H
#define KVX_EPHEMERIS_KEY_H

#include <rtk_gnss.h>

#include <optional>

namespace kvx {

struct ephemeris_key_t {
    double reference;   ///< reference time, seconds since GPS week 0 in the system's own time scale
    int issue;          ///< issue of data
    int variant;        ///< health, and of Galileo the clock that is known: what may change within an issue

    bool operator==(const ephemeris_key_t&) const = default;
};

/// Key of the ephemeris of raw.eph_sat; nothing when that satellite has none that was not forgotten.
std::optional<ephemeris_key_t> stored_ephemeris(const raw_t& raw);

/// Makes the decoder take the next ephemeris of raw.eph_sat for a new one, whatever its reference time.
void forget_ephemeris(raw_t& raw);

/// Days between the message's day and the one that an SBAS reference time (a time of day) belongs to.
double sbas_day_shift(const raw_t& raw, const seph_t& eph);

}   // namespace kvx

#endif
