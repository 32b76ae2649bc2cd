/// @file epoch.h  Observations of one epoch, of every signal, as the receiver sent them.
#ifndef RINEX_EPOCH_H
#define RINEX_EPOCH_H

#include <array>
#include <bit>
#include <cstdint>

#include "rinex/signals.h"

namespace rinex {

/// One signal of one satellite.
struct observation_t {
    double value[kKindCount];      // pseudorange (m), phase (cycles), Doppler (Hz), C/N0 (dB-Hz); 0: none
    double lock_time;              // s
    std::uint8_t tracking_key;     // system and type as sent
    std::uint8_t digits;           // of the loss-of-lock indicator of the phase
    std::uint8_t beyond_columns;   // values that are no numbers or so large that no file has room for them
    bool parity_known : 1;
    bool lock_time_full : 1;   // the message's field holds no more: it tells nothing
    bool compressed : 1;       // came in the compressed message
};

enum lli_t : std::uint8_t { kSlip = 1, kHalfCycle = 2 };

/// Places of satellites that are there, to be gone through in order.
class places_t {
public:
    void set(int place) { words_[static_cast<std::size_t>(place >> 6)] |= std::uint64_t{1} << (place & 63); }
    void reset(int place) { words_[static_cast<std::size_t>(place >> 6)] &= ~(std::uint64_t{1} << (place & 63)); }
    void clear() { words_ = {}; }
    bool has(int place) const { return (words_[static_cast<std::size_t>(place >> 6)] >> (place & 63) & 1) != 0; }
    bool none() const { return count() == 0; }
    int count() const
    {
        int n = 0;
        for (const std::uint64_t word : words_) n += std::popcount(word);
        return n;
    }

    template <typename Visit>
    void each(Visit visit) const
    {
        for (std::size_t w = 0; w < words_.size(); ++w) {
            for (std::uint64_t left = words_[w]; left != 0; left &= left - 1)
                visit(static_cast<int>(64 * w) + std::countr_zero(left));
        }
    }

private:
    std::array<std::uint64_t, (kSatellites + 63) / 64> words_{};
};

/// Times are milliseconds since the beginning of GPS time, as the messages tell them.
class epoch_t {
public:
    epoch_t() {}   // leaves the room for observations as it is

    std::int64_t time = 0;
    std::uint64_t offset = 0;   // of its first message in the log (bytes)
    places_t satellites;
    std::array<std::uint16_t, kSatellites> signals{};   // bits of those that were observed

    /// Room for an observation that is not there yet. They lie behind each other as they come: what an epoch of some
    /// dozen satellites touches stays in the processor's cache.
    observation_t& add(int place, int signal)
    {
        auto& bits = signals[static_cast<std::size_t>(place)];
        bits = static_cast<std::uint16_t>(bits | 1u << signal);
        satellites.set(place);
        where_[static_cast<std::size_t>(place)][static_cast<std::size_t>(signal)] = count_;
        return observations_[count_++];
    }

    bool has(int place, int signal) const { return (signals[static_cast<std::size_t>(place)] >> signal & 1) != 0; }

    observation_t& at(int place, int signal) { return observations_[where(place, signal)]; }
    const observation_t& at(int place, int signal) const { return observations_[where(place, signal)]; }

    /// Calls visit(place, signal) for every observation, in the order of a file.
    template <typename Visit>
    void each(Visit visit) const
    {
        satellites.each([&](int place) {
            for (unsigned left = signals[static_cast<std::size_t>(place)]; left != 0; left &= left - 1)
                visit(place, std::countr_zero(left));
        });
    }

    void drop(int place, int signal)
    {
        auto& bits = signals[static_cast<std::size_t>(place)];
        bits = static_cast<std::uint16_t>(bits & ~(1u << signal));
        if (bits == 0) satellites.reset(place);
    }

    void clear()
    {
        satellites.each([this](int place) { signals[static_cast<std::size_t>(place)] = 0; });
        satellites.clear();
        count_ = 0;
    }

private:
    std::size_t where(int place, int signal) const
    {
        return where_[static_cast<std::size_t>(place)][static_cast<std::size_t>(signal)];
    }

    std::uint16_t count_ = 0;
    std::array<std::array<std::uint16_t, kMostSignals>, kSatellites> where_;
    std::array<observation_t, kSatellites * kMostSignals> observations_;
};

}   // namespace rinex

#endif
