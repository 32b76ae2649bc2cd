/// @file header_completion.h  Header lines that the published format asks for beyond the library's own.
#ifndef KVX_HEADER_COMPLETION_H
#define KVX_HEADER_COMPLETION_H

#include <array>
#include <cstdint>
#include <cstdio>
#include <optional>
#include <string>

#include "common/output_file.h"
#include "gnss/foundation/satellites.h"

namespace kvx {

/// What the lines tell.
struct header_facts_t {
    std::string marker_type = "GEODETIC";
    std::string run_by;
    std::array<std::optional<std::int8_t>, kGlonassSlots> glonass_channels;   ///< by slot - 1
    std::array<bool, kGlonassSlots> glonass_seen{};
};

/// A header line: 60 columns of content, 20 of label.
std::string header_line(std::string content, std::string label);

/// The line that tells program, who ran it and the date.
std::string program_line(const std::string& run_by);

/// Copies what is left of a stream.
void copy_rest(std::FILE* in, std::FILE* out);

/// Copies an observation file and adds the lines in front of "END OF HEADER"; everything else stays as it is.
///
/// @param version  RINEX version times 100
/// @throws error_t when reading or writing fails
void complete_header(output_file_t& from, output_file_t& to, int version, const header_facts_t& facts);

}   // namespace kvx

#endif
