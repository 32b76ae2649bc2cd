#include "quality/measurements.h"

#include <utility>

namespace quality {

carriers_t::carriers_t(std::array<std::vector<std::string>, rinex::kConstellationCount> codes)
    : codes_(std::move(codes)), frequencies_(rinex::kSatellites)
{
    for (int place = 0; place < rinex::kSatellites; ++place) {
        const rinex::satellite_t satellite = rinex::satellite_at(place);
        const bool own_channel = satellite.constellation == rinex::kGlonass;
        for (const std::string& code : this->codes(satellite.constellation)) {
            const bool waits = own_channel && (code[0] == '1' || code[0] == '2');
            frequencies_[static_cast<std::size_t>(place)].push_back(
                waits ? 0.0 : rinex::carrier_frequency(satellite.letter(), code[0]));
        }
    }
}

void carriers_t::take_channels(const rinex::channels_t& channels)
{
    const auto& codes = this->codes(rinex::kGlonass);
    for (std::size_t number = 1; number < channels.size(); ++number) {
        if (!channels[number] || channels_[number] == channels[number]) continue;
        channels_[number] = channels[number];
        const int place = rinex::place_of(rinex::satellite_of(rinex::kGlonass, static_cast<int>(number)));
        for (std::size_t i = 0; i < codes.size(); ++i)
            frequencies_[static_cast<std::size_t>(place)][i] =
                rinex::carrier_frequency('R', codes[i][0], *channels[number]);
    }
}

}   // namespace quality
