#include "convert/navigation_messages.h"

#include <algorithm>

#include "gnss/foundation/time_scales.h"
#include "gnss/log/frame.h"
#include "gnss/log/glonass.h"

namespace kvx {

namespace {

constexpr std::size_t kMostKnown = 512;   // data sets remembered of each satellite

}   // namespace

bool navigation_messages_t::is_repetition(const rinex::ephemeris_record_t& r)
{
    auto& known = known_[static_cast<std::size_t>(rinex::place_of(r.satellite))];
    const key_t key{r.message, r.reference, r.issue, r.health};
    if (std::find(known.rbegin(), known.rend(), key) != known.rend()) return true;
    known.push_back(key);
    if (known.size() > kMostKnown) known.erase(known.begin());
    return false;
}

decode_result_t navigation_messages_t::take_ion_utc(std::int64_t sent, const std::uint8_t* body, int size)
{
    const auto record = rinex::read_ion_utc_record(sent, body, size);
    if (!record) return DECODE_REFUSED;
    if (record->leap_seconds > 0) leap_seconds_ = record->leap_seconds;
    ion_utc_is_new_ = !ion_utc_ || !(*ion_utc_ == *record);
    if (ion_utc_is_new_) ion_utc_ = record;
    return DECODE_ION_UTC;
}

decode_result_t navigation_messages_t::take(int id, std::int64_t sent, const std::uint8_t* body, int size,
                                            const take_t& on_each)
{
    ion_utc_is_new_ = false;
    if (id == MSG_ION_UTC) return take_ion_utc(sent, body, size);
    bool any_new = false;
    const auto result = rinex::read_ephemerides(id, sent, body, size, [&](const rinex::ephemeris_record_t& r) {
        const bool repetition = is_repetition(r);
        any_new |= !repetition;
        on_each(r, repetition);
    });
    if (result == rinex::nav_result_t::no_ephemeris) return DECODE_NOTHING;
    if (result == rinex::nav_result_t::refused) return DECODE_REFUSED;
    if (id == MSG_GLONASS_EPHEMERIS && !leap_seconds_) {
        const int leaps =
            static_cast<int>(kMoscowTime) - static_cast<int>(korvex::read_glonass_ephemeris(body).time_offset);
        if (leaps > 0 && leaps <= rinex::kMostLeapSeconds) leap_seconds_ = leaps;
    }
    return any_new ? DECODE_EPH : DECODE_NOTHING;
}

}   // namespace kvx
