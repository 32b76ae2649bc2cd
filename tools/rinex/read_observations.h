/// @file read_observations.h  Epochs and events of observation files, RINEX 2 to 4.
#ifndef RINEX_READ_OBSERVATIONS_H
#define RINEX_READ_OBSERVATIONS_H

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "rinex/read_header.h"

namespace rinex {

/// One field of a satellite: F14.3, loss-of-lock indicator, signal strength.
struct read_value_t {
    std::int64_t thousandths = 0;   ///< exact, in units of the third decimal
    bool present = false;           ///< false: the value is blank, or no number
    char lock = ' ';                ///< digit or blank
    char strength = ' ';
};

struct read_satellite_t {
    char system = ' ';       ///< letter; where RINEX 2 leaves it blank, that of the file
    int number = -1;         ///< -1: no number
    std::string_view name;   ///< the three columns as they stand
    std::uint64_t line = 0;
    std::size_t first = 0, count = 0;   ///< its fields among read_epoch_t::values, one a type of its system
};

/// An epoch with observations (flags 0, 1, 6) or an event with header records (2 to 5).
struct read_epoch_t {
    std::uint64_t line = 0;
    int flag = 0, announced = 0;   ///< announced: satellites or records
    bool has_time = false;
    ticks_t time = 0;
    int picoseconds = 0;        ///< since 4.02: five further digits of the second, units of 1 ps
    std::string clock_offset;   ///< receiver clock offset (s) as text, empty: none
    std::vector<read_satellite_t> satellites;
    std::vector<read_value_t> values;
    std::vector<header_record_t> records;

    bool is_event() const { return flag >= 2 && flag <= 5; }
};

/// Reads what follows the header. Faults of the structure are reported, and reading goes on at the next epoch line.
/// Nothing is allocated per field once the buffers have their size.
class observation_reader_t {
public:
    /// The header takes the types that events change. All must outlive this.
    observation_reader_t(numbered_lines_t& lines, file_header_t& header, findings_t& findings)
        : lines_(lines), header_(header), findings_(findings)
    {}

    /// The next epoch or event; the one before is overwritten.
    /// @return false behind the last one
    bool next(read_epoch_t& epoch);

    /// Whether all epochs, and all their values, could be read so far.
    bool all_epochs() const { return all_epochs_; }
    bool all_values() const { return all_values_; }

    /// Place of a satellite's field, for findings.
    std::uint64_t line_of(const read_satellite_t& satellite, std::size_t field) const;
    std::size_t column_of(std::size_t field) const;   ///< from 1

private:
    bool find_epoch(std::string_view& line);
    void read_epoch_line(std::string_view line, read_epoch_t& epoch);
    bool read_clock(std::string_view line, int year, read_epoch_t& epoch);
    void read_tail(std::string_view line, read_epoch_t& epoch);
    bool is_epoch_line(std::string_view line) const;
    bool take(std::string_view& line, const read_epoch_t& epoch, rule_t rule, std::size_t n);
    void read_records(read_epoch_t& epoch);
    void read_satellites3(read_epoch_t& epoch);
    bool read_names2(std::string_view line, read_epoch_t& epoch);
    void read_satellites2(read_epoch_t& epoch);
    bool read_rows2(read_satellite_t& satellite, const std::vector<listed_type_t>& types, read_epoch_t& epoch,
                    std::size_t n);
    void read_fields(std::string_view data, read_satellite_t& satellite, std::size_t first, std::size_t n,
                     read_epoch_t& epoch);

    numbered_lines_t& lines_;
    file_header_t& header_;
    findings_t& findings_;
    bool all_epochs_ = true, all_values_ = true;
    std::string names_;   // of the satellites of an epoch, RINEX 2
};

/// "G05 L1C" for a satellite's field; "G05" behind its types.
std::string subject_of(const file_header_t& header, const read_satellite_t& satellite, std::size_t field);

}   // namespace rinex

#endif
