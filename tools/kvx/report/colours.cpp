#include "report/colours.h"

#include <span>

#include "report/markup.h"

namespace kvx::report {

namespace {

std::string key(const char* kind, const std::string& what, std::span<const double> steps, int decimals)
{
    std::string strip;
    for (int colour = 0; colour < kColours; ++colour) {
        const auto i = static_cast<std::size_t>(colour);
        strip += "<span><i class=\"c" + std::to_string(colour) + "\"></i>" +
                 (i < steps.size() ? "<b>" + number(steps[i], decimals) + "</b>" : "") + "</span>";
    }
    return "<div class=\"ramp " + std::string(kind) + "\"><em>" + what + "</em>" + strip + "</div>\n";
}

}   // namespace

std::string strength_key()
{
    return key("cn0", "C/N0 (dB-Hz)", kStrengthSteps, 0);
}

std::string multipath_key()
{
    return key("mp", "Multipath, RMS (m)", kMultipathSteps, 1);
}

}   // namespace kvx::report
