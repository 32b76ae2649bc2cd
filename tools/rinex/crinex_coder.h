/// @file crinex_coder.h  Compact RINEX: its two versions, and what both directions carry from epoch to epoch.
#ifndef RINEX_CRINEX_CODER_H
#define RINEX_CRINEX_CODER_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace rinex {

/// Columns, counted from 0, of a number with a fixed point.
struct crinex_number_t {
    std::size_t at;
    int width, decimals;
};

/// What differs between versions. The epoch text is the head of the RINEX epoch line, then all satellites.
struct crinex_layout_t {
    std::string_view version, holds;
    char mark, initial;   ///< first column of an epoch line in RINEX, and in compact RINEX when it is no difference
    std::size_t flag, count;                        ///< columns of the epoch flag and of the I3 number of satellites
    std::size_t head, list;                         ///< columns of the head; where the satellites begin behind it
    crinex_number_t clock;                          ///< receiver clock offset of the RINEX epoch line
    std::size_t satellites_a_line, values_a_line;   ///< satellites in RINEX epoch lines (none: before their values)
    char no_flag;                                   ///< what flags of a new satellite are compared with
    bool keeps_lone_flags;                          ///< flags beside a blank value
};

/// A number through time: its value, then differences of differences up to an order. They count modulo 2^64.
class crinex_series_t {
public:
    static constexpr int kOrders = 10;   ///< 0 to 9

    bool alive() const { return order_ >= 0; }
    void end() { order_ = -1; }
    void begin(int order, std::uint64_t value)
    {
        order_ = order;
        reached_ = 0;
        terms_[0] = value;
    }

    /// The number that leads to this value.
    std::uint64_t number_for(std::uint64_t value) const
    {
        for (int i = 0, order = next_order(); i < order; ++i) value -= terms_[i];
        return value;
    }

    void join(std::uint64_t number)
    {
        reached_ = next_order();
        terms_[reached_] = number;
        for (int i = reached_; i-- > 0;) terms_[i] += terms_[i + 1];
    }

    std::int64_t value() const { return static_cast<std::int64_t>(terms_[0]); }

private:
    int next_order() const { return reached_ < order_ ? reached_ + 1 : order_; }

    int order_ = -1, reached_ = 0;
    std::array<std::uint64_t, kOrders> terms_{};
};

/// The common half of compressor and expander.
class crinex_coder_t {
protected:
    struct satellite_t {
        std::uint64_t epoch = 0;   // in which it was last seen
        std::vector<crinex_series_t> series;
        std::string flags;   // two a value
    };

    crinex_coder_t();

    [[noreturn]] void fail(const std::string& what) const;
    void demand_blank(std::string_view line, std::size_t from, std::size_t to) const;

    /// The layout for a RINEX file that begins with this line; fails when it cannot be compact.
    const crinex_layout_t& layout_for(std::string_view first_line) const;

    /// Learns how many values satellites have, from lines of a header or an event.
    void note_types(std::string_view line);

    std::size_t number_of_satellites(std::string_view epoch_line) const;
    bool is_event(std::string_view epoch_line) const;

    /// Begins the epoch of text_. Where it has none before it all is forgotten.
    void begin_epoch();

    /// What is known of a satellite of this epoch; when it was not in the one before, nothing, and these flags.
    satellite_t& satellite(std::string_view id, char no_flag);

    static const std::array<crinex_layout_t, 2> kLayouts;
    static constexpr std::string_view kVersionLabel = "CRINEX VERS   / TYPE", kProgramLabel = "CRINEX PROG / DATE";
    static constexpr int kValue = 14, kDecimals = 3;
    static constexpr std::size_t kField = kValue + 2;   // with both flags
    static constexpr std::size_t kId = 3;

    const crinex_layout_t* layout_ = nullptr;
    std::uint64_t line_ = 0;   // of the input, counted from 1
    bool initial_ = true;      // the next epoch has none before it
    std::string text_;         // of the epoch
    crinex_series_t clock_;

private:
    std::array<int, 27> types_{};   // values of a satellite by system letter, the first for the blank
    std::vector<satellite_t> satellites_;
    std::uint64_t epoch_ = 0;
};

namespace crinex {

/// A part of a line; columns behind its end are not there.
inline std::string_view columns(std::string_view line, std::size_t at, std::size_t n = std::string_view::npos)
{
    return at < line.size() ? line.substr(at, n) : std::string_view();
}

inline std::string_view trimmed(std::string_view line)
{
    while (!line.empty() && line.back() == ' ') line.remove_suffix(1);
    return line;
}

/// What a line of a header or an event holds.
inline std::string_view label(std::string_view line)
{
    return trimmed(columns(line, 60, 20));
}

inline bool is_flag(char c)
{
    return c == ' ' || (c >= '0' && c <= '9');
}

/// Text of a file as an error message shows it.
std::string quoted(std::string_view text);

/// Epoch texts and flags go out as differences: a blank is a column that stays, '&' one that becomes blank.
/// @return the end; room is needed for the longer of both
char* put_difference(char* to, std::string_view now, std::string_view before);
void apply_difference(std::string& text, std::string_view difference);

}   // namespace crinex
}   // namespace rinex

#endif
