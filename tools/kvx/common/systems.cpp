#include "common/systems.h"

#include <algorithm>

#include "common/text_format.h"

namespace kvx {

int systems_of(const std::string& letters)
{
    int systems = 0;
    for (const char letter : letters) {
        const auto* s = std::find_if(kSystems.begin(), kSystems.end(),
                                     [letter](const system_name_t& name) { return name.letter() == letter; });
        if (s == kSystems.end()) return 0;
        systems |= s->sys;
    }
    return systems;
}

std::string satellite_name(int sat)
{
    int prn = 0;
    const system_t& s = system_of(satsys(sat, &prn));
    if (s.sys == SYS_NONE) return "?" + std::to_string(sat);
    return text("%c%02d", s.letter, prn + s.rinex_before);
}

}   // namespace kvx
