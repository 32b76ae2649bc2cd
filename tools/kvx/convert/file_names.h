/// @file file_names.h  Names of RINEX files.
#ifndef KVX_FILE_NAMES_H
#define KVX_FILE_NAMES_H

#include <cstddef>
#include <string>

#include "convert/convert_options.h"

namespace kvx {

/// What the name of a RINEX file tells.
struct coverage_t {
    double first, last;    ///< epochs, GPS seconds
    double interval;       ///< s, 0: unknown
    double period = 0.0;   ///< s that the file was meant to hold from `first` on, though it may not be full; 0: no such
};

/// Names of the files of one log.
class file_names_t {
public:
    /// @param version  RINEX version times 100
    /// @param marker   its letters and digits make the site (nine-character names stand whole); empty: XXXX
    /// @param country  ISO 3166, empty: XXX
    /// @param stem     instead of the convention; empty: by convention
    /// @param number   of the observation file among those of one name, behind its stem from 2 on
    file_names_t(int version, const std::string& marker, const std::string& country, const std::string& stem,
                 const coverage_t& coverage, int number = 1);

    void put_into(const std::string& folder);   ///< that the names are to have before them

    std::string observations() const;            ///< "SITE00XXX_R_20240701200_15M_01S_MO.rnx" or "site070m.24o"
    std::string navigation(char letter) const;   ///< of a system, M for all
    std::string positions() const { return observation_stem_ + ".xyz"; }

private:
    bool short_;
    std::string observation_stem_, navigation_stem_, year_;
};

constexpr std::size_t kMarkerColumns = 60;   ///< of a header line

/// What is wrong with a site's country; empty: nothing.
std::string fault_in_country(const std::string& country);

/// What a file is named by that was cut at units: the unit, whatever of it the file holds.
coverage_t nominal(const convert_options_t& options, coverage_t coverage);

/// What is wrong with folders for files, whose fields are {yyyy} {yy} {doy} {mm} {dd} {hh} of the first epoch, {site}
/// of the marker, and {stem} and {dir} of the log; empty: nothing.
std::string fault_in_tree(const std::string& tree);

/// Names by what the command line asks for.
file_names_t names_of_files(const convert_options_t& options, const coverage_t& coverage, int number = 1);

/// A file's name with a number behind its stem: "SITE00XXX_R_20240701200_15M_01S_2_MO.rnx.gz".
std::string with_number(const std::string& name, int number);

/// Name of the log without folder and endings.
std::string log_stem(const std::string& path);

}   // namespace kvx

#endif
