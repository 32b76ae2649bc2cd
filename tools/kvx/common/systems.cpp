#include "common/systems.h"

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

rinex::satellite_t satellite_of_record(int sat)
{
    int number = 0;
    const system_t& system = system_of(satsys(sat, &number));
    return rinex::satellite_of(rinex::constellation_of_sys(system.sys), number + system.rinex_before);
}

}   // namespace kvx
