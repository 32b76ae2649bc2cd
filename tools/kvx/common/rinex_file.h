/// @file rinex_file.h  A RINEX file that is read once: plain, compact, compressed.
#ifndef KVX_RINEX_FILE_H
#define KVX_RINEX_FILE_H

#include <functional>
#include <string>

#include "common/input_file.h"
#include "rinex/crinex_expand.h"
#include "rinex/line_tape.h"
#include "rinex/read_header.h"

namespace kvx {

/// What an argument of the command is, by its first bytes.
enum class file_kind_t { log, rinex, crinex };
file_kind_t kind_of_file(const std::string& path);

/// The lines of compact RINEX, to the first that cannot be right.
class expanded_lines_t : public rinex::line_source_t {
public:
    explicit expanded_lines_t(rinex::line_source_t& compact) : expander_(compact) {}

    bool next(std::string_view& line) override;
    const std::string& damage() const { return damage_; }   ///< empty: none

private:
    rinex::crinex_expander_t expander_;
    std::string damage_;
};

/// An open file whose header has been read. What the reader reports as an error is a fault: nobody knows what it read.
class rinex_file_t {
public:
    /// Takes a fault, "file:line: what".
    using on_fault_t = std::function<void(const std::string& text)>;

    /// @param on_fault  none: faults are not told
    /// @param tape      keeps the lines as they stand; it must outlive the file
    /// @throws error_t when it cannot be read or is no RINEX file
    rinex_file_t(const std::string& path, on_fault_t on_fault, rinex::line_tape_t* tape = nullptr);
    ~rinex_file_t() = default;
    rinex_file_t(const rinex_file_t&) = delete;   // its parts refer to each other
    rinex_file_t& operator=(const rinex_file_t&) = delete;

    /// Tells the faults that only the end of the file shows.
    /// @throws error_t at an interrupt
    void finish();

    const std::string& path() const { return path_; }
    const input_file_t& source() const { return source_; }
    std::string place(std::uint64_t line) const { return path_ + ":" + std::to_string(line); }
    rinex::file_header_t& header() { return header_; }
    const rinex::file_header_t& header() const { return header_; }
    rinex::numbered_lines_t& lines() { return lines_; }
    rinex::findings_t& findings() { return findings_; }

private:
    rinex::line_source_t& source_of_lines(rinex::line_tape_t* tape);
    void receive(const rinex::finding_t& finding);

    std::string path_;
    on_fault_t on_fault_;
    input_file_t source_;
    rinex::byte_lines_t bytes_;
    expanded_lines_t expanded_;
    rinex::numbered_lines_t lines_;
    rinex::findings_t findings_;
    rinex::file_header_t header_;
};

}   // namespace kvx

#endif
