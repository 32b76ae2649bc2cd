/// @file signals.h  The signals of the receiver under the names that RINEX files give them.
#ifndef RINEX_SIGNALS_H
#define RINEX_SIGNALS_H

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "rinex/satellites.h"

namespace rinex {

/// Signals that a system may have in a file: bits of a mask.
inline constexpr int kMostSignals = 10;

/// Kinds of observations, in the order of a file.
inline constexpr std::string_view kKinds = "CLDS";
inline constexpr int kKindCount = 4;
enum kind_t : int { kPseudorange, kPhase, kDoppler, kStrength };

/// Frequency (Hz) of a system's band; 0 for none.
/// @param channel  GLONASS frequency channel
/// @note RINEX 3.05, tables 4 to 10.
double carrier_frequency(char letter, char band, int channel = 0);

/// Names of RINEX 2.11 for a signal: letter of the pseudorange (C or P); '\0' when it has none there.
char range_letter_211(char letter, std::string_view code);

/// System and signal type of a tracking status: three and five bits.
constexpr int tracking_key(std::uint32_t status)
{
    return static_cast<int>((status >> 16 & 7) << 5 | (status >> 21 & 31));
}
inline constexpr int kTrackingKeys = 256;

/// Which column set each signal of the receiver belongs to: the receiver's table, and what the user knows better.
class signals_t {
public:
    signals_t();

    /// Gives a signal another name: "G:17=2L" is type 17 of GPS as 2L.
    /// @return why not; empty when done
    std::string rename(std::string_view rule);

    /// What a tracking status means.
    struct place_t {
        std::int16_t constellation;   // -1: unknown
        std::int16_t signal;          // place in codes(); -1: the table has no name for it
    };
    place_t operator[](int tracking_key) const { return places_[static_cast<std::size_t>(tracking_key)]; }

    /// Band and attribute of a system's signals, in the order of a file: "1C", "2W", ...
    const std::vector<std::string>& codes(int constellation) const
    {
        return codes_[static_cast<std::size_t>(constellation)];
    }

private:
    void number();

    std::array<std::string, kTrackingKeys> names_;
    std::array<place_t, kTrackingKeys> places_;
    std::array<std::vector<std::string>, kConstellationCount> codes_;
};

}   // namespace rinex

#endif
