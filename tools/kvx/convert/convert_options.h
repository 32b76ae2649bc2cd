/// @file convert_options.h  What the command line of `kvx convert` asks for.
#ifndef KVX_CONVERT_OPTIONS_H
#define KVX_CONVERT_OPTIONS_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "common/selection_options.h"

namespace kvx {

class recorder_t;

/// Paths of what makes one result: a log, or all that are joined.
using sources_t = std::vector<std::string>;

/// A header line that the command line gives: its label, and its columns 1 to 60.
struct header_setting_t {
    std::string label, text;
    bool operator==(const header_setting_t&) const = default;
};

struct convert_options_t : selection_options_t {
    sources_t logs;
    bool follow = false;      ///< the log grows
    std::int64_t split = 0;   ///< ms of GPS time that a file holds; 0: all is one
    std::string folder = ".";
    std::string scratch;   ///< folder of files that do not stay; empty: `folder`
    std::string rinex;     ///< version; empty: 3.05, for hosts 3.04
    bool version_given = false;
    std::string nav;   ///< split, mixed or none; empty: by the version
    bool nav_repeats = false;
    bool position_listing = false;
    bool as_host = false;
    bool no_signal_map = false;
    bool raw_prn = false;
    bool crx = false, gz = false, zst = false;
    bool force = false;
    bool verify = false;
    bool json = false;
    bool quiet = false;
    bool events = true;
    int jobs = 1;
    std::string batch, match = "*";   ///< list or folder of logs, and the names of a folder's
    std::string ledger;               ///< of the batch
    std::vector<std::string> known;   ///< ledgers of other runs
    bool checksum = false;            ///< of logs and files are compared
    bool adopt = false;               ///< files of logs that are gone go over to those that make them again
    std::string spelled;              ///< options that change files
    std::string tree;                 ///< folders below `folder`, see file_names.h
    recorder_t* recorder = nullptr;   ///< of a batch
    std::string name;                 ///< stem of the file names, empty: by convention

    std::string marker, marker_number, marker_type, country;   // type empty: GEODETIC
    std::string observer, agency, run_by;
    std::string antenna_type, antenna_number;
    std::optional<std::vector<double>> antenna_delta;   ///< height, east, north (m)
    std::string receiver_number, receiver_type, receiver_version;
    int receiver_kind = 9;
    std::vector<header_setting_t> settings;

    bool packs() const { return gz || zst; }
    bool packs_observations() const { return crx || packs(); }

    /// Where a file is written that stays, or is packed into another one.
    const std::string& folder_of(bool stays) const { return stays || scratch.empty() ? folder : scratch; }

    /// Bytes that are read, copied and read again to one of a log; 0: nobody knows, it grows.
    double passes() const;

    int version() const;                                                ///< RINEX version times 100
    std::string navigation() const;                                     ///< split, mixed or none
    bool wants(int sys) const { return (wanted_systems & sys) != 0; }   ///< system (gnss_system_t) asked for

    int wanted_systems = ~0;   ///< bits of gnss_system_t: what `systems` says
};

/// Tells what the options lead to that perhaps nobody wants.
void warn(const convert_options_t& options);

/// Declares the options; values are checked while the command line is read.
void add_convert_options(command_line_t& app, convert_options_t& options);

}   // namespace kvx

#endif
