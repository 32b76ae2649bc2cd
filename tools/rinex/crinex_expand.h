/// @file crinex_expand.h  The RINEX observation file that a compact one holds.
#ifndef RINEX_CRINEX_EXPAND_H
#define RINEX_CRINEX_EXPAND_H

#include "rinex/crinex_coder.h"
#include "rinex/lines.h"

namespace rinex {

/// Gives RINEX lines, without trailing blanks. The compact text may be anything: it costs little memory, and where it
/// cannot be right next() says so.
class crinex_expander_t : public line_source_t, private crinex_coder_t {
public:
    /// @param compact lines of CRINEX 1.0 or 3.0; it must live as long as the expander
    explicit crinex_expander_t(line_source_t& compact) : compact_(compact) {}

    /// Epochs are given when they are whole.
    /// @throws line_error_t with the line of the compact text, when all epochs before it have been given
    bool next(std::string_view& line) override;

    /// Whether a text that begins with this line is compact RINEX.
    static bool is_compact(std::string_view first_line);

private:
    enum class at_t { version, header, epoch, end };

    bool take();
    void need();
    at_t expand(at_t at);
    void expand_head();
    void expand_epoch();
    void expand_event();
    void read_epoch_text();
    void add_epoch_lines(std::size_t count);
    void add_satellite(std::string_view id);
    void read_values();
    bool read_number(std::string_view text, crinex_series_t& series);
    void add_line(std::string_view line);

    line_source_t& compact_;
    std::string_view in_;   // line of the compact text
    at_t at_ = at_t::version;
    std::string out_;   // lines to be given
    std::size_t given_ = 0;
    satellite_t* satellite_ = nullptr;
    std::string record_;   // its values, field by field
};

}   // namespace rinex

#endif
