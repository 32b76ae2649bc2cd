/// @file observation_codes.h  Satellite systems, their numbers and their observation codes, by version.
#ifndef RINEX_OBSERVATION_CODES_H
#define RINEX_OBSERVATION_CODES_H

#include <array>
#include <cstddef>
#include <string>
#include <string_view>

namespace rinex {

inline constexpr std::string_view kSystems = "GREJCIS";
inline constexpr std::size_t kSystemCount = kSystems.size();

/// Place in kSystems; kSystemCount for another letter.
constexpr std::size_t system_index(char letter)
{
    const std::size_t at = kSystems.find(letter);
    return at == std::string_view::npos ? kSystemCount : at;
}

/// Whether observation or navigation files (type 'O' or another) of a version carry the system.
bool is_system_of(char letter, char file_type, int version);

/// Whether a satellite can have the number.
bool is_satellite(char system, int number);

/// An observation type: kind, band, attribute; RINEX 2 has no attribute. Blanks where there is none.
struct observation_code_t {
    std::array<char, 3> letters = {' ', ' ', ' '};

    char kind() const { return letters[0]; }
    bool is_phase() const { return letters[0] == 'L'; }
    std::string text() const;
    bool operator==(const observation_code_t&) const = default;
};

/// Whether a version has the code for a system; RINEX 2 has one set of codes for all.
bool is_observation_code(char system, const observation_code_t& code, int version);

}   // namespace rinex

#endif
