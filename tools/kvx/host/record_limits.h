/// @file record_limits.h  Observations that find no place in the library's record.
#ifndef KVX_RECORD_LIMITS_H
#define KVX_RECORD_LIMITS_H

#include <array>
#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "gnss/log/signals.h"
#include "rinex/signals.h"

namespace kvx {

/// Follows the range messages beside the decoder and counts, by signal and satellite, what the record lost: signals
/// that share a slot, satellites without a number of their own, observations beyond the last entry.
class record_limits_t {
public:
    record_limits_t(bool signal_map, bool raw_prn) : signal_map_(signal_map), raw_prn_(raw_prn) {}

    /// @param new_epoch  the message begins one
    void add(const std::uint8_t* body, int size, bool compressed, bool new_epoch);
    void flush();

    /// Signal and satellite ("2W", "G01"; a signal without a name by its type: "type 20").
    using row_t = std::pair<std::string, std::string>;
    const std::map<row_t, std::uint64_t>& lost() const { return lost_; }

    /// Of them, those that stand in the file under the number of another satellite: "J08 as S20".
    const std::map<std::string, std::uint64_t>& under_other_number() const { return under_other_number_; }

private:
    struct sent_t {
        std::uint8_t tracking_key;
        std::uint16_t prn;
        bool there;
    };
    int number_of(std::uint32_t status, int prn, bool compressed);
    int find_number(int sys, int prn, bool compressed);
    void lose(const sent_t& observation);

    bool signal_map_, raw_prn_;
    std::array<std::int16_t, 2 << 11> numbers_{};             // what find_number() said: not 0
    std::array<sent_t, (kMaxSat + 1) * kNumSlots> epoch_{};   // by satellite number and slot
    std::vector<int> satellites_;                             // of the epoch, as they came
    std::array<bool, kMaxSat + 1> came_{};                    // to the epoch
    std::map<row_t, std::uint64_t> lost_;
    std::map<std::string, std::uint64_t> under_other_number_;
    rinex::signals_t signals_;
};

}   // namespace kvx

#endif
