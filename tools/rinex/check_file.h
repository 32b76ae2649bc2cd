/// @file check_file.h  A whole file against the rules of the published formats.
#ifndef RINEX_CHECK_FILE_H
#define RINEX_CHECK_FILE_H

#include <cstdint>
#include <string>

#include "rinex/lines.h"
#include "rinex/rules.h"

namespace rinex {

/// What a file turned out to be.
struct file_summary_t {
    bool compressed = false;      ///< CRINEX
    std::string version;          ///< as it states it
    std::string kind;             ///< "observation", "navigation" or "other"
    std::uint64_t records = 0;    ///< epochs with observations, or navigation records
    std::size_t satellites = 0;   ///< different ones
};

/// Reads a file to its end.
/// @return false when it is no RINEX file; then nothing has been reported
bool check_file(line_source_t& source, findings_t& findings, file_summary_t& summary);

/// What only the bytes show: line ends. They are looked at on their way to the lines.
class line_ends_t {
public:
    /// The next bytes of the file.
    void add(const char* bytes, std::size_t n);

    void report(findings_t& findings) const;   ///< behind the last byte

private:
    std::uint64_t lines_ = 0, first_cr_ = 0;   // line of the first CR LF, 0: none
    char last_ = '\n';
};

}   // namespace rinex

#endif
