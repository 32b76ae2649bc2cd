/// @file measurements.h  What a receiver measured, from a log or from a file, signal by signal.
#ifndef QUALITY_MEASUREMENTS_H
#define QUALITY_MEASUREMENTS_H

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "gnss/foundation/satellites.h"
#include "rinex/epoch.h"
#include "rinex/ranges.h"

namespace quality {

/// One signal of one satellite at one epoch.
struct measurement_t {
    std::uint8_t place;                ///< of the satellite: rinex::place_of()
    std::uint8_t signal;               ///< among the codes of its system
    std::uint8_t told;                 ///< of the phase, by the receiver: bits of rinex::lli_t
    double value[rinex::kKindCount];   ///< pseudorange (m), phase (cycles), Doppler (Hz), C/N0 (dB-Hz); 0: none

    double pseudorange() const { return value[rinex::kPseudorange]; }
    double phase() const { return value[rinex::kPhase]; }
    double doppler() const { return value[rinex::kDoppler]; }
    double strength() const { return value[rinex::kStrength]; }
};

/// All of an epoch, by satellite and signal.
struct measured_epoch_t {
    std::int64_t time = 0;      ///< ms since the beginning of GPS time, by the receiver's clock
    std::uint64_t offset = 0;   ///< of its first message in a log (bytes)
    std::vector<measurement_t> measurements;
};

/// Signals by their codes, and their carriers.
class carriers_t {
public:
    /// @param codes  of each system, in the order of rinex::kConstellations: "1C", "2W", ... at most 255
    explicit carriers_t(std::array<std::vector<std::string>, rinex::kConstellationCount> codes);

    const std::vector<std::string>& codes(int constellation) const
    {
        return codes_[static_cast<std::size_t>(constellation)];
    }
    const std::string& code(int place, int signal) const
    {
        return codes(rinex::satellite_at(place).constellation)[static_cast<std::size_t>(signal)];
    }

    /// GLONASS satellites have carriers of their own, which may become known late.
    void take_channels(const rinex::channels_t& channels);

    /// Hz; 0: unknown.
    double frequency(int place, int signal) const
    {
        return frequencies_[static_cast<std::size_t>(place)][static_cast<std::size_t>(signal)];
    }
    double wavelength(int place, int signal) const   ///< m
    {
        const double f = frequency(place, signal);
        return f > 0.0 ? kLightSpeed / f : 0.0;
    }

private:
    std::array<std::vector<std::string>, rinex::kConstellationCount> codes_;
    std::vector<std::vector<double>> frequencies_;
    rinex::channels_t channels_{};
};

/// Something for every signal of the satellites that are seen.
template <typename T>
class per_signal_t {
public:
    explicit per_signal_t(const carriers_t& carriers) : carriers_(carriers), rows_(rinex::kSatellites) {}

    T& at(int place, int signal)
    {
        auto& row = rows_[static_cast<std::size_t>(place)];
        if (row.empty()) row.resize(carriers_.codes(rinex::satellite_at(place).constellation).size());
        return row[static_cast<std::size_t>(signal)];
    }

    /// Calls visit(place, signal, value) for those of satellites that were seen.
    template <typename Visit>
    void each(Visit visit)
    {
        for (int place = 0; place < rinex::kSatellites; ++place) {
            auto& row = rows_[static_cast<std::size_t>(place)];
            for (std::size_t signal = 0; signal < row.size(); ++signal)
                visit(place, static_cast<int>(signal), row[signal]);
        }
    }

private:
    const carriers_t& carriers_;
    std::vector<std::vector<T>> rows_;
};

}   // namespace quality

#endif
