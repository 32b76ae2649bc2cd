/// @file version_names.h  Observation types under the names that another version has for them.
#ifndef RINEX_VERSION_NAMES_H
#define RINEX_VERSION_NAMES_H

#include <array>
#include <string>
#include <vector>

#include "rinex/observation_codes.h"
#include "rinex/read_header.h"

namespace rinex {

/// Names of types by place in kSystems; RINEX 2 has the first list alone.
using type_names_t = std::array<std::vector<std::string>, kSystemCount>;

/// The types that a header, or the last event of a file, lists.
type_names_t names_of(const file_header_t& header);

/// The name that a type of a system has in another version: what stays as it is, what another version calls
/// otherwise (BeiDou's B1I was 1I in 3.02), and what RINEX 2 names by band alone. Back from RINEX 2, which does not
/// tell the signal, a type becomes that which most receivers mean by it.
/// @param listed  the types of RINEX 2 beside it
/// @return empty when the version has none
std::string name_in_version(char system, const std::string& name, int from, int to,
                            const std::vector<std::string>& listed);

/// Puts names into the order of the published format: by signal, then kind.
void sort_names(std::vector<std::string>& names);

/// Place of a signal's attribute among those that share columns in RINEX 2: the least has the phase.
std::size_t preference_211(char system, std::string_view signal);

}   // namespace rinex

#endif
