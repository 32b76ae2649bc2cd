/// @file header_labels.h  The header records of the published formats, by version and kind of file.
#ifndef RINEX_HEADER_LABELS_H
#define RINEX_HEADER_LABELS_H

#include <cstddef>
#include <span>
#include <string_view>

namespace rinex {

/// Versions, times 100, whose rules are known.
inline constexpr int kKnownVersions[] = {210, 211, 302, 303, 304, 305, 400, 401, 402};

/// The known version that is nearest to a number.
int nearest_version(int version);

struct header_label_t {
    std::string_view label;
    const char* observation;   ///< a letter a version, as the table says
    const char* navigation;
    bool repeated;
    const char* format;   ///< of columns 1 to 60, see compare_with_format

    /// m mandatory, g mandatory with GLONASS in the data, o optional, d deprecated, - not of that version and kind.
    char use(char file_type, int version) const;
};

/// A label whose format changed with a version has several rows.
std::span<const header_label_t> label_table();

/// The row of a label for a version and kind of file; the first of the label when none is; nullptr: no label at all.
const header_label_t* find_label(std::string_view label, char file_type, int version);

}   // namespace rinex

#endif
