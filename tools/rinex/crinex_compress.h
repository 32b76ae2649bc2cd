/// @file crinex_compress.h  RINEX observation files made compact.
#ifndef RINEX_CRINEX_COMPRESS_H
#define RINEX_CRINEX_COMPRESS_H

#include <functional>

#include "rinex/crinex_coder.h"

namespace rinex {

/// Takes the lines of an observation file. RINEX 2 becomes CRINEX 1.0, RINEX 3 to 4.01 CRINEX 3.0. Every number comes
/// back from it as it was; text that would not is an error. After an error the compressor is of no use.
class crinex_compressor_t : private crinex_coder_t {
public:
    using sink_t = std::function<void(std::string_view)>;

    /// @param sink    gets the compact text in big pieces, each of whole epochs; the last one from finish()
    /// @param program name and version for the second line, at most 40 characters
    /// @param date    of the making, as "21-Nov-26 08:05"
    crinex_compressor_t(sink_t sink, std::string program, std::string date);

    /// @param line without its end
    /// @throws line_error_t when it cannot be made compact
    void put(std::string_view line);

    /// @throws line_error_t when the lines do not make a whole file
    void finish();

private:
    enum class awaits_t { version, header, epoch, event, satellites, values };

    void begin(std::string_view line);
    void add_epoch(std::string_view line);
    void add_satellites(std::string_view line);
    void add_clock(std::string_view line);
    void add_values(std::string_view line);
    void end_satellite();
    void end_epoch();
    void add_line(std::string_view line);
    char* put_value(char* to, std::size_t i);
    [[noreturn]] void fail_value(std::size_t i, const std::string& what);
    void flush();

    sink_t sink_;
    std::string program_, date_, out_;
    awaits_t awaits_ = awaits_t::version;
    std::size_t left_ = 0;               // lines of an event
    std::size_t count_ = 0, done_ = 0;   // satellites of the epoch
    std::string before_;                 // text of the epoch before; empty: there is none
    std::string body_;                   // of the epoch: its lines below the first
    satellite_t* satellite_ = nullptr;   // whose values are read
    std::string record_;                 // they, field by field
    std::string flags_;
};

}   // namespace rinex

#endif
