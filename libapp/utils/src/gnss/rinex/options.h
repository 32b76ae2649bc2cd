/// @file options.h  What the options of a file say of the receiver board, and the observation writer's running state.
#ifndef RTK_RINEX_OPTIONS_H
#define RTK_RINEX_OPTIONS_H

#include <cstdint>
#include <cstring>
#include <string_view>

#include "rtk_gnss.h"

namespace rinex {

/// The kinds of boards that the rules know.
inline constexpr int kBoardKinds[] = {0, 1, 2, 5, 6, 9};

/// The board's rules. A model counts when the receiver type contains its name.
struct board_t {
    int kind;
    bool kv210, kv220, kv3a0, kv4a0, trimble, polarx5;

    explicit board_t(const rnx_t& opt) : kind(opt.rcvkind)
    {
        const std::string_view type(opt.rectype, strnlen(opt.rectype, sizeof opt.rectype));
        const auto has = [type](std::string_view name) { return type.find(name) != type.npos; };
        kv210 = has("KV210");
        kv220 = has("KV220");
        kv3a0 = has("KV3A0");
        kv4a0 = has("KV4A0");
        trimble = has("Trimble");
        polarx5 = has("SEPT POLARX5");
    }

    // Sets of observation types.
    bool all_signals() const { return kind == 9 || kv4a0; }
    bool three_bands() const { return kind == 6 || kv3a0; }
    bool reduced() const { return kind != 1 && kind < 3 && !kv210 && !kv3a0 && !kv4a0; }
    bool reduced_to_two_bands() const { return kind == 2 && (trimble || kv220); }
    bool reduced_to_one_band() const { return kind == 0; }
    bool three_gps_bands() const { return three_bands() || polarx5; }
    bool sbas_types() const { return kv3a0 || kv4a0; }
    bool three_galileo_bands() const { return kind == 5 || three_bands(); }
    bool one_glonass_band() const { return kind == 1; }
    bool glonass_l2_is_p() const { return kind == 6; }
    bool bds_b3_instead_of_b2() const { return kind == 1; }
    bool no_bds_in_rinex2() const { return kind == 6; }

    /// The types in the header are those of the slots in the records, which follow other conditions.
    bool header_fits_records() const { return sbas_types() && kind != 1; }

    bool three_slots() const { return kv3a0; }   // in the records

    // GLONASS code-phase biases.
    bool states_biases() const { return kind == 6; }    // as 1 m
    bool reports_biases() const { return kind == 2; }   // in the record
};

}   // namespace rinex

// Process-wide, reset by Initial_Rnx().
extern double dinterval[11];             // samples of epoch-to-epoch differences (s)
extern double firse_sec;                 // second of the minute of the first epoch written
extern std::int32_t g_marktimecount;     // number of the next manual event mark
extern std::int32_t nfirstCount;         // records seen while the interval is unknown
extern std::int32_t beRewrite;           // 0: the header must be written again
extern const char* const glo_codes[4];   // signals of the GLONASS code-phase biases

#endif
