#include "common/arguments.h"

#include "common/systems.h"
#include "common/text_format.h"

namespace kvx {

CLI::Validator within(double low, double high)
{
    const auto check = [low, high](const std::string& text) {
        double value = 0.0;
        const bool number = CLI::detail::lexical_cast(text, value);
        return number && value >= low && value <= high
                   ? std::string()
                   : "'" + text + "' is not a number from " + kvx::text("%g", low) + " to " + kvx::text("%g", high);
    };
    return {check, kvx::text("in [%g - %g]", low, high)};
}

CLI::Validator system_letters()
{
    const auto check = [](const std::string& text) {
        return systems_of(text) != 0 ? std::string() : "'" + text + "' is not made of letters of GRECJS";
    };
    return {check, "LETTERS"};
}

}   // namespace kvx
