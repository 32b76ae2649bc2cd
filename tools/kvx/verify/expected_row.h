/// @file expected_row.h  Which value must stand in which field of a satellite's observations.
#ifndef KVX_VERIFY_EXPECTED_ROW_H
#define KVX_VERIFY_EXPECTED_ROW_H

#include <span>

#include "rinex/read_header.h"
#include "verify/log_epochs.h"

namespace kvx {

struct expected_value_t {
    std::int64_t thousandths = 0;
    std::int16_t record = -1;   ///< that it is of, among those of the epoch; -1: the field must be blank
    std::int8_t kind = 0;
};

/// The fields of a file. RINEX 3 and 4 have columns for each signal. RINEX 2 has a band's in common: its pseudorange
/// of a code and the one of a precise code, and a phase, Doppler and strength of the signal that comes first.
class expected_row_t {
public:
    explicit expected_row_t(const rinex::signals_t& names) : names_(names) {}

    /// The types that a file lists from now on.
    void use(const rinex::file_header_t& header);

    /// Whether the file's version has a name for a signal.
    bool has_name(int constellation, int signal) const { return of(constellation, signal).named; }

    /// The field of a signal's kind; -1: not listed.
    int field(const log_record_t& record, int kind) const
    {
        return of(record.constellation, record.signal).fields[static_cast<std::size_t>(kind)];
    }

    /// Lays a satellite's records out. Those that come to stand nowhere get their fate; so do, as missing, those with
    /// a value that the file lists no type for.
    ///
    /// @param fates  of the epoch's records; those at found are laid out
    /// @param first, n  the satellite's, among them
    /// @return the fields; valid until the next call
    const std::vector<expected_value_t>& lay_out(const std::vector<log_record_t>& records, std::vector<fate_t>& fates,
                                                 std::size_t first, std::size_t n);

    /// Whether the record laid out has its range alone, since the other columns are another signal's.
    bool lost_band(std::size_t record) const { return (lost_band_ >> (record - first_) & 1) != 0; }

private:
    struct signal_t {
        std::array<std::int16_t, rinex::kKindCount> fields{-1, -1, -1, -1};
        int rank = 0;   // within its band, RINEX 2
        bool named = false;
    };
    const signal_t& of(int constellation, int signal) const
    {
        return signals_[static_cast<std::size_t>(constellation)][static_cast<std::size_t>(signal)];
    }
    void use(const rinex::file_header_t& header, int constellation, int signal);
    bool is_free(const log_record_t& record, int kind) const;
    void put(const log_record_t& record, std::size_t index, int kind, fate_t& fate);
    void lay_out_one(const log_record_t& record, std::size_t index, fate_t& fate);

    const rinex::signals_t& names_;
    std::array<std::array<signal_t, rinex::kMostSignals>, rinex::kConstellationCount> signals_;
    std::array<std::size_t, rinex::kConstellationCount> sizes_{};
    bool shared_ = false;   // a band's columns are in common
    std::vector<expected_value_t> row_;
    std::size_t first_ = 0;
    unsigned lost_band_ = 0;   // bits of the satellite's records
};

}   // namespace kvx

#endif
