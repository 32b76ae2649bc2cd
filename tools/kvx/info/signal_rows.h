/// @file signal_rows.h  The tables of an inspection, signal by signal and satellite by satellite.
#ifndef KVX_SIGNAL_ROWS_H
#define KVX_SIGNAL_ROWS_H

#include <string>
#include <vector>

#include "info/inspection.h"

namespace kvx {

/// A signal of all its satellites.
struct signal_row_t {
    std::string name;   ///< "G1C"
    std::uint64_t satellites = 0;
    std::uint64_t observed = 0, above = 0, possible = 0;   ///< epochs; possible: of satellites that have the signal
    std::uint64_t phases = 0, half_cycles = 0, slips = 0;
    const quality::strengths_t* strengths = nullptr;   ///< none with --quick
    quality::multipath_count_t multipath;
};

struct satellite_row_t {
    rinex::satellite_t satellite;
    std::uint64_t epochs = 0;
    quality::satellite_count_t count;                             ///< none with --quick
    std::vector<std::pair<std::string, std::uint64_t>> signals;   ///< "1C" and epochs
};

/// Those that occur, in the order of a file.
std::vector<signal_row_t> signal_rows(inspection_t& inspection);
std::vector<satellite_row_t> satellite_rows(inspection_t& inspection);

/// "G07 L2W -3 cycles (geometry-free)".
std::string slip_text(const quality::slip_t& slip, const quality::carriers_t& carriers);

/// What tells a slip, by the bits of quality::slip_sign_t.
inline constexpr const char* kSlipSigns[] = {"told by the receiver", "geometry-free", "wide lane", "Doppler"};

}   // namespace kvx

#endif
