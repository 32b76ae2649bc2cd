/// @file file_names.h  Names of RINEX files.
#ifndef KVX_FILE_NAMES_H
#define KVX_FILE_NAMES_H

#include <cstdint>
#include <string>

namespace kvx {

/// What the name of a RINEX file tells.
struct coverage_t {
    double first, last;   ///< epochs, GPS seconds
    double interval;      ///< s, 0: unknown
};

/// Names of the files of one log.
class file_names_t {
public:
    /// @param version  RINEX version times 100
    /// @param marker   its letters and digits make the site (nine-character names stand whole); empty: XXXX
    /// @param country  ISO 3166, empty: XXX
    /// @param stem     instead of the convention; empty: by convention
    file_names_t(int version, const std::string& marker, const std::string& country, const std::string& stem,
                 const coverage_t& coverage);

    std::string observations() const;            ///< "SITE00XXX_R_20240701200_15M_01S_MO.rnx" or "site070m.24o"
    std::string navigation(char letter) const;   ///< of a system, M for all
    std::string positions() const { return observation_stem_ + ".xyz"; }

private:
    bool short_;
    std::string observation_stem_, navigation_stem_, year_;
};

/// Name of the log without folder and endings.
std::string log_stem(const std::string& path);

}   // namespace kvx

#endif
