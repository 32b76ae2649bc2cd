/// @file header.h  Lines of file headers.
#ifndef RINEX_HEADER_H
#define RINEX_HEADER_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace rinex {

/// A header line with its LF: content from column 1, label from column 61; nothing behind the label.
std::string header_line(std::string_view content, std::string_view label);

/// The line that says what kind of file it is: "OBSERVATION DATA" and the letter of its system, or M.
std::string version_line(int version, std::string_view kind, std::string_view system);

/// Program, who ran it and when ("20240301 120000 UTC").
std::string program_line(std::string_view program, std::string_view run_by, std::string_view date);

/// Texts in columns of these widths.
std::string in_columns(std::initializer_list<std::pair<std::string_view, std::size_t>> texts);

/// "TIME OF FIRST OBS" and lines like it.
/// @param ticks  see dates.h
/// @param scale  the time system
std::string time_line(std::int64_t ticks, std::string_view label, std::string_view scale = "GPS");

/// Entries in lines of so many; the first line begins with `first`, the others with blanks.
std::string list_lines(const std::vector<std::string>& entries, std::string first, std::size_t per_line,
                       std::string_view label);

/// A count at the right of so many columns.
std::string count_of(std::size_t n, int width);

/// Bytes of a comment that says nothing.
inline constexpr std::size_t kEmptyComment = 68;

/// Brings a header to a size by empty comments in front of its last line, and blanks behind labels for less than one.
/// @return nothing when the header is longer
std::optional<std::string> header_of_size(const std::string& header, std::size_t size);

}   // namespace rinex

#endif
