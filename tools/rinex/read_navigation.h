/// @file read_navigation.h  Records of navigation files, RINEX 2 to 4.
#ifndef RINEX_READ_NAVIGATION_H
#define RINEX_READ_NAVIGATION_H

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "rinex/navigation_layouts.h"
#include "rinex/read_header.h"

namespace rinex {

/// One field of 19 columns.
struct nav_value_t {
    std::string_view text;   ///< its columns; shorter where the line is
    double number = 0;
    bool present = false;   ///< a number stands there; text fields never have one
};

/// Ephemeris, or in RINEX 4 a time offset, Earth orientation parameters or an ionosphere model.
struct read_nav_record_t {
    static constexpr std::size_t kMostLines = 16;

    std::uint64_t line = 0;         ///< of the line with the time
    std::uint64_t frame_line = 0;   ///< of the frame line, RINEX 4; else that of the time
    char system = ' ';
    int number = -1;                ///< -1: none, where RINEX 4 allows it
    std::string record;             ///< EPH, STO, EOP, ION
    std::string message, subtype;   ///< RINEX 4; empty before
    const nav_layout_t* layout = nullptr;
    bool has_time = false;
    ticks_t time = 0;   ///< of the clock, or of the reference
    std::size_t lines = 0;
    std::vector<nav_value_t> values;   ///< four a line; the first stands for the time and is empty

    std::string name() const;                    ///< "G05", "R"
    std::array<std::string, kMostLines> texts;   ///< what the fields point into
};

/// Reads what follows the header. Faults of the structure are reported, and reading goes on at the next record.
class navigation_reader_t {
public:
    /// All must outlive this.
    navigation_reader_t(numbered_lines_t& lines, const file_header_t& header, findings_t& findings)
        : lines_(lines), header_(header), findings_(findings)
    {}

    /// The next record; the one before is overwritten.
    /// @return false behind the last one
    bool next(read_nav_record_t& record);

    std::size_t column_of(std::size_t field) const;   ///< from 1

private:
    bool begins_record(std::string_view line) const;
    bool find_record(std::string_view& line);
    bool read_frame(std::string_view line, read_nav_record_t& record);
    bool read_satellite(std::string_view line, read_nav_record_t& record);
    bool read_lines(read_nav_record_t& record);
    void check_margins(const read_nav_record_t& record);
    void read_time(read_nav_record_t& record);
    void read_values(read_nav_record_t& record);

    numbered_lines_t& lines_;
    const file_header_t& header_;
    findings_t& findings_;
    bool reported_ = false;   // what stands where a record belongs is part of what has been reported
};

}   // namespace rinex

#endif
