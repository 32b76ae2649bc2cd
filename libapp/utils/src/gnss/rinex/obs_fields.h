/// @file obs_fields.h  Parts of an epoch that the layouts of both RINEX generations share.
#ifndef RTK_RINEX_OBS_FIELDS_H
#define RTK_RINEX_OBS_FIELDS_H

#include "gnss/rinex/lines.h"
#include "gnss/rinex/text.h"
#include "rtk_gnss.h"

namespace rinex {

/// Letter of a satellite's system and whether the options ask for it.
struct system_in_file_t {
    char letter;   // '\0': no identifier
    bool enabled;
};

/// In RINEX 3. Unknown systems have no letter and are always written.
system_in_file_t in_rinex3(const rnx_t& opt, int sys);

/// In RINEX 2.11 GPS, GLONASS and BeiDou. Deliberate: the others have no letter and no switch.
system_in_file_t in_rinex2(const rnx_t& opt, int sys);

/// Satellites of an epoch that are enabled.
int satellite_count(const raw_t& raw, const rnx_t& opt, system_in_file_t (*in_file)(const rnx_t& opt, int sys));

inline constexpr int kSignalFields = 4;   // pseudorange, phase, Doppler, strength
inline constexpr int kFieldWidth = 16;

/// Longest epoch: every satellite with its identifier and five signals plus the blank group of BeiDou,
/// fields of a negative nine-digit value being one wider than the rest.
inline constexpr int kEpochSize = 128 + kMaxObs * (4 + (kNumSlots + 1) * kSignalFields * (kFieldWidth + 2));

using epoch_text_t = text_buffer_t<kEpochSize>;

/// Field i of a signal slot: 0 pseudorange, 1 phase with its LLI, 2 Doppler, 3 strength.
void put_signal_field(text_t& out, const obsd_t& obs, int slot, int i);
void put_signal(text_t& out, const obsd_t& obs, int slot);
inline void put_blank_signal(text_t& out)
{
    out.blanks(kSignalFields * kFieldWidth);
}

/// System letter and two digits: "G07".
inline void put_satellite(text_t& out, char letter, int prn)
{
    out.put(letter).integer(prn, 2, prn > 9 ? ' ' : '0');
}

/// Start of an epoch line in the one and the other generation: date and seconds, without what follows.
void put_date_rinex3(text_t& out, const date_t& date);
void put_date_rinex2(text_t& out, const date_t& date);

/// The whole epoch line of RINEX 3.
void put_epoch_line_rinex3(text_t& out, const date_t& date, int flag, int count);

/// Writes the two lines of a manual event mark and counts it.
void write_event_mark(std::FILE* fp, const date_t& date, int version);

/// Number of entries of the epoch that may be read, whatever the host left in the count.
inline int observation_count(const raw_t& raw)
{
    return raw.nobs < kMaxObs ? raw.nobs : kMaxObs;
}

}   // namespace rinex

#endif
