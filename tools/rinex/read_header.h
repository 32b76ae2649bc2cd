/// @file read_header.h  Headers of RINEX files, observation and navigation, versions 2 to 4.
#ifndef RINEX_READ_HEADER_H
#define RINEX_READ_HEADER_H

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "rinex/calendar.h"
#include "rinex/numbered_lines.h"
#include "rinex/observation_codes.h"
#include "rinex/rules.h"

namespace rinex {

struct header_record_t {
    std::uint64_t line = 0;
    std::string text;    ///< columns 1 to 60, filled up with blanks
    std::string label;   ///< without blanks around
};

/// An observation type where it is listed.
struct listed_type_t {
    observation_code_t code;
    std::uint64_t line = 0;
    std::size_t column = 0;
};

/// The types of one system, or of all in RINEX 2.
struct type_list_t {
    std::uint64_t line = 0;   ///< of the record that begins it, 0: there is none
    int announced = 0;
    std::vector<listed_type_t> types;
};

class file_header_t {
public:
    int version = 0;            ///< times 100, a known one: the nearest to the stated one
    std::string version_text;   ///< as stated
    int stated_version = -1;    ///< times 100, -1: no number
    char type = ' ';            ///< 'O' observation; 'N', and in RINEX 2 'G' and 'H', navigation
    char system = ' ';          ///< letter of the system or M; blank in RINEX 2: GPS, or that of the type
    std::vector<header_record_t> records;
    std::uint64_t end_line = 0;   ///< of END OF HEADER, or the last line read

    bool is_observation() const { return type == 'O'; }
    bool is_navigation() const { return type == 'N' || (version < 300 && (type == 'G' || type == 'H')); }

    /// The system of satellites without a letter, in RINEX 2.
    char default_system() const;

    /// Whether the file may hold satellites of a system; a letter that says nothing forbids nothing.
    bool carries(char letter) const;

    /// The types in the order of a satellite's fields; none for a system without a list.
    const type_list_t& types_of(char system) const;
    bool has_types() const;                           ///< of any system
    bool lost_types() const { return lost_types_; }   ///< some belong to no list, which has been reported

    /// A record of the header, or of an event, whose types take effect.
    void add(header_record_t record, findings_t& findings);

    const header_record_t* find(std::string_view label) const;   ///< the first one; nullptr: none

    /// What usual records say; nothing when the record lacks or does not have the form.
    std::optional<ticks_t> time(std::string_view label) const;   ///< TIME OF FIRST OBS, TIME OF LAST OBS
    std::optional<ticks_t> interval() const;                     ///< INTERVAL
    std::optional<std::array<double, 3>> vector(std::string_view label) const;   ///< APPROX POSITION XYZ, ... (m)
    std::optional<int> leap_seconds() const;                                     ///< GPS - UTC (s)
    std::string_view time_system() const;                                        ///< of TIME OF FIRST OBS; may be empty
    std::map<int, int> glonass_channels() const;                                 ///< by slot

private:
    void begin_types(const header_record_t& record, std::size_t list, std::string_view count, findings_t& findings);
    void add_types(const header_record_t& record, std::size_t step, findings_t& findings);

    static constexpr std::size_t kNoList = ~std::size_t{0};
    std::array<type_list_t, kSystemCount> types_;   // RINEX 2 has the first alone
    bool lost_types_ = false;
    std::size_t current_ = kNoList;   // list that continuation lines belong to
};

/// One line of a header or an event as a record; a label that is not in column 61 is reported and put right.
header_record_t read_record(std::string_view line, std::uint64_t number, char type, int version, findings_t& findings);

/// Whether a first line, or what stands for one, is of a RINEX file.
bool is_version_line(std::string_view line);

/// Reads a header to its end; where its last line lacks, to the first line of the data, which is put back.
/// @return false when it has no version: the file is no RINEX file
bool read_header(numbered_lines_t& lines, findings_t& findings, file_header_t& header);

}   // namespace rinex

#endif
