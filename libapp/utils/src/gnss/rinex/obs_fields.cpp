#include "gnss/rinex/obs_fields.h"

#include "gnss/foundation/numbers.h"
#include "gnss/foundation/satellites.h"
#include "gnss/rinex/observation_number.h"
#include "gnss/rinex/options.h"
#include "gnss/rinex/version.h"

namespace rinex {

namespace {

enum field_t : int { kPseudorangeField, kPhaseField, kDopplerField };   // the strength follows

constexpr double kSmallestFlaggedPhase = 0.01;   // cycles

struct system_switch_t {
    int sys;
    std::int32_t rnx_t::*on;
    bool in_rinex2;
};

constexpr system_switch_t kSwitches[] = {
    {SYS_GPS, &rnx_t::sys_gps, true},  {SYS_QZS, &rnx_t::sys_gps, false},   // QZSS follows GPS
    {SYS_GLO, &rnx_t::sys_glo, true},  {SYS_BDS, &rnx_t::sys_bds, true},
    {SYS_GAL, &rnx_t::sys_gal, false}, {SYS_SBS, &rnx_t::sys_sbs, false},
};

system_in_file_t in_file(const rnx_t& opt, int sys, bool rinex3)
{
    for (const system_switch_t& s : kSwitches) {
        if (s.sys == sys && (rinex3 || s.in_rinex2)) return {system_of(sys).letter, opt.*s.on != 0};
    }
    return {'\0', true};
}

// Digit behind a phase; blank: nothing to tell.
char lock_digit(double phase, int lli)
{
    return phase >= kSmallestFlaggedPhase && lli != 0 ? static_cast<char>('0' + (lli < 9 ? lli : 9)) : ' ';
}

// A number that has a field; the others leave theirs blank, and so does what is no number.
bool is_valid(double value)
{
    return value != 0.0 && value > -1e9 && value < 1e9;
}

double value_of(const obsd_t& obs, int slot, int i)
{
    if (i == kPseudorangeField) return obs.P[slot];
    if (i == kPhaseField) return obs.L[slot];
    if (i == kDopplerField) return static_cast<double>(obs.D[slot]);
    return static_cast<double>(int_part(obs.SNR[slot] * 0.25));
}

// @return false: it is wider than its columns, which are blank
inline bool put_field(char* columns, double value)
{
    return !is_valid(value) || put_observation(columns, value);
}

// A signal none of whose values is wider than its columns, which are blank. All fields, one after the other and without
// a loop: the processor learns for each how many digits it has.
bool put_in_columns(char* columns, const obsd_t& obs, int slot)
{
    const double phase = obs.L[slot];
    bool fits = put_field(columns, obs.P[slot]);
    fits &= put_field(columns + kFieldWidth, phase);
    fits &= put_field(columns + 2 * kFieldWidth, value_of(obs, slot, kDopplerField));
    fits &= put_field(columns + 3 * kFieldWidth, value_of(obs, slot, kDopplerField + 1));
    if (is_valid(phase)) columns[kFieldWidth + kValueWidth] = lock_digit(phase, obs.LLI[slot]);
    return fits;
}

}   // namespace

system_in_file_t in_rinex3(const rnx_t& opt, int sys)
{
    return in_file(opt, sys, true);
}

system_in_file_t in_rinex2(const rnx_t& opt, int sys)
{
    return in_file(opt, sys, false);
}

int satellite_count(const raw_t& raw, const rnx_t& opt, system_in_file_t (*in_file)(const rnx_t& opt, int sys))
{
    int count = 0;
    for (int i = 0; i < observation_count(raw); ++i) count += in_file(opt, satsys(raw.obs[i].sat, nullptr)).enabled;
    return count;
}

void put_signal_field(text_t& out, const obsd_t& obs, int slot, int i)
{
    const double value = value_of(obs, slot, i);
    const bool valid = is_valid(value);
    valid ? out.observation(value) : out.blanks(kValueWidth);
    out.put(valid && i == kPhaseField ? lock_digit(value, obs.LLI[slot]) : ' ').put(' ');
}

void put_signal(text_t& out, const obsd_t& obs, int slot)
{
    if (char* const columns = out.columns(kSignalFields * kFieldWidth)) {
        if (put_in_columns(columns, obs, slot)) return;
        out.cut(columns);
    }
    for (int i = 0; i < kSignalFields; ++i) put_signal_field(out, obs, slot, i);
}

void put_date_rinex3(text_t& out, const date_t& d)
{
    out.put("> ").integer(d.year, 4, '0');
    for (const int part : {d.month, d.day, d.hour, d.minute}) out.put(' ').integer(part, 2, '0');
    out.fixed(d.second, 11, 7);
}

void put_date_rinex2(text_t& out, const date_t& d)
{
    for (const int part : {d.year % 100, d.month, d.day, d.hour, d.minute}) out.put(' ').integer(part, 2, '0');
    out.fixed(d.second, 11, 7);
}

void put_epoch_line_rinex3(text_t& out, const date_t& date, int flag, int count)
{
    put_date_rinex3(out, date);
    out.blanks(2).integer(flag, 1).integer(count, 3).blanks(21).put('\n');
}

void write_event_mark(std::FILE* fp, const date_t& date, int version)
{
    constexpr int kExternalEvent = 5;   // epoch flag
    text_buffer_t<512> out;             // a time that no clock shows prints hundreds of digits
    if (records_are_rinex3(version)) {
        put_epoch_line_rinex3(out, date, kExternalEvent, 1);
    } else {
        put_date_rinex2(out, date);
        out.blanks(2).integer(kExternalEvent, 1).integer(1, 3).put('\n');
    }
    text_buffer_t<16> number;
    number.integer(g_marktimecount, 1);
    out.label("Manual Event", 12).put(" # ").label(number.view(), 45).label("COMMENT", 20).put('\n');
    out.write(fp);
    ++g_marktimecount;
}

}   // namespace rinex
