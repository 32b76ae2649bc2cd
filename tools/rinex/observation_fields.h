/// @file observation_fields.h  The 16 columns of an observation, read without a copy.
#ifndef RINEX_OBSERVATION_FIELDS_H
#define RINEX_OBSERVATION_FIELDS_H

#include <cstring>

#include "rinex/read_observations.h"

namespace rinex {

inline constexpr std::size_t kFieldColumns = 16;

enum class field_fault_t : unsigned char { none, value, digits };

/// Reads F14.3,I1,I1; blanks where something lacks.
/// @param p  16 characters
inline field_fault_t read_field(const char* p, read_value_t& to)
{
    constexpr std::size_t kPoint = 10, kEnd = 14;
    to = {0, false, p[kEnd], p[kEnd + 1]};
    if (std::memcmp(p, "                ", kFieldColumns) == 0) return field_fault_t::none;
    const bool digits = (to.lock == ' ' || (to.lock >= '0' && to.lock <= '7')) &&
                        (to.strength == ' ' || (to.strength >= '0' && to.strength <= '9'));
    std::size_t at = 0;
    while (at < kEnd && p[at] == ' ') ++at;
    if (at < kEnd) {
        if (at > kPoint) return field_fault_t::value;
        const bool negative = p[at] == '-';
        at += negative;
        std::int64_t value = 0;
        for (; at < kEnd; ++at) {
            if (at == kPoint) continue;
            const auto digit = static_cast<unsigned char>(p[at] - '0');
            if (digit > 9) return field_fault_t::value;
            value = value * 10 + digit;
        }
        if (p[kPoint] != '.') return field_fault_t::value;
        to.thousandths = negative ? -value : value;
        to.present = true;
    }
    return digits ? field_fault_t::none : field_fault_t::digits;
}

}   // namespace rinex

#endif
