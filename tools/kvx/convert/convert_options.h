/// @file convert_options.h  What the command line of `kvx convert` asks for.
#ifndef KVX_CONVERT_OPTIONS_H
#define KVX_CONVERT_OPTIONS_H

#include <rtk_gnss.h>

#include <CLI/CLI.hpp>
#include <optional>
#include <string>
#include <vector>

namespace kvx {

struct convert_options_t {
    std::vector<std::string> logs;
    std::string folder = ".";
    std::string rinex = "3.04";
    std::string nav;   ///< split, mixed or none; empty: by the version
    bool nav_repeats = false;
    bool position_listing = false;
    bool plain_header = false;
    bool no_signal_map = false;
    bool raw_prn = false;
    bool json = false;
    int jobs = 1;
    std::string systems = "GRECJS";
    double interval = 0.0;              ///< s, 0: every epoch
    std::optional<double> start, end;   ///< GPS seconds
    std::string name;                   ///< stem of the file names, empty: by convention

    std::string marker, marker_number, marker_type = "GEODETIC";
    std::string observer, agency, run_by = "";
    std::string antenna_type, antenna_number;
    std::optional<std::vector<double>> antenna_delta;   ///< height, east, north (m)
    std::string receiver_number, receiver_type = "KV4A0", receiver_version;
    int receiver_kind = 9;

    int version() const;              ///< RINEX version times 100
    std::string navigation() const;   ///< split, mixed or none
    bool wants(int sys) const;        ///< system (gnss_system_t) asked for
};

/// Declares the options; values are checked while the command line is read.
void add_convert_options(CLI::App& app, convert_options_t& options);

/// The library's options for a file.
rnx_t rinex_options(const convert_options_t& options, const std::string& default_marker);

/// True when the observation types of the header and the slots of the records go by different rules.
bool header_and_records_disagree(const convert_options_t& options);

}   // namespace kvx

#endif
