/// @file names.h  Names of files that come of RINEX files.
#ifndef KVX_REVISED_NAMES_H
#define KVX_REVISED_NAMES_H

#include <string>

#include "convert/file_names.h"

namespace kvx {

/// Names by the published convention, from what the name of the input says already, its header and its data.
class revised_names_t {
public:
    /// @param input   path of the first source
    /// @param marker  of its header; may be empty
    revised_names_t(const convert_options_t& options, int version, const std::string& input, const std::string& marker);

    std::string observations(const coverage_t& coverage, int number) const;

    /// @param letter  of the system, M for all
    std::string navigation(const coverage_t& coverage, char letter, int number) const;

private:
    file_names_t names(const coverage_t& coverage, int number) const;
    std::string completed(std::string name) const;

    const convert_options_t& options_;
    int version_;
    std::string old_;      // the input's name when it is a long one, else empty
    std::string marker_;   // or the whole site
};

}   // namespace kvx

#endif
