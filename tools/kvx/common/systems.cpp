#include "common/systems.h"

#include <array>

#include "gnss/foundation/satellites.h"

namespace kvx {

int systems_of(const std::string& letters)
{
    int systems = 0;
    for (const char letter : letters) {
        const int constellation = rinex::constellation_of(letter);
        if (constellation < 0) return 0;
        systems |= rinex::kConstellations[constellation].sys;
    }
    return systems;
}

std::string fault_in_letters(const std::string& letters)
{
    return systems_of(letters) != 0 ? "" : "'" + letters + "' is not made of letters of GRECJS";
}

rinex::satellite_t satellite_of_record(int sat)
{
    static const auto satellites = [] {
        std::array<rinex::satellite_t, kMaxSat + 1> all{};
        for (int number = 1; number <= kMaxSat; ++number) {
            int prn = 0;
            const system_t& system = system_of(satsys(number, &prn));
            const int constellation = rinex::constellation_of_sys(system.sys);
            all[static_cast<std::size_t>(number)] = rinex::satellite_of(constellation, prn + system.rinex_before);
        }
        return all;
    }();
    return sat < 0 || sat > kMaxSat ? rinex::satellite_t{} : satellites[static_cast<std::size_t>(sat)];
}

}   // namespace kvx
