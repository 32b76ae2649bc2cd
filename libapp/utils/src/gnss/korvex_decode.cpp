// Decodes the frames of the receiver log into the record.
#include <cmath>
#include <cstring>

#include "korvex_frame.h"
#include "korvex_framing.h"
#include "korvex_galileo.h"
#include "korvex_glonass.h"
#include "korvex_kepler.h"
#include "korvex_range.h"
#include "korvex_sbas.h"
#include "korvex_signals.h"
#include "korvex_station.h"
#include "korvex_subframes.h"
#include "satellites.h"
#include "wire.h"

using namespace korvex;

namespace {

int body_size(const raw_t* raw)
{
    return raw->len - kHeaderSize;
}

// PRN relative to the first one of its system; 0 when it lies before or far behind.
int relative_prn(std::uint32_t prn, std::uint32_t before_first)
{
    return prn > before_first && prn - before_first < 256 ? static_cast<int>(prn - before_first) : 0;
}

// ---- Range messages ----

int decode_trackstat(std::uint32_t status, trackstat_t& track)
{
    return read_trackstat(status, track);
}

int satnov_OEM7(int sys, int prn)
{
    return satellite_number(sys, prn);
}

// What tells the two range messages apart.
struct range_form_t {
    int record_size;
    range_t (*read)(const std::uint8_t* p);
    double epoch_tolerance;   // s; a message within it joins the epoch
    bool override_needs_rawprn;
    int small_bds_prn;   // largest BeiDou PRN counted from 1 under raw PRNs
    bool compressed;
};

constexpr range_form_t kPlain = {kRangeSize, read_range, 1e-9, true, 159, false};
constexpr range_form_t kCompressed = {kRangeCompressedSize, read_compressed_range, 0.001 + 1e-9, false, 29, true};

void begin_epoch(raw_t* raw, double tolerance)
{
    if (std::fabs(timediff(raw->tow, raw->obs_tow)) <= tolerance) return;
    raw->nobs = 0;
    std::memset(raw->obs, 0, sizeof raw->obs);
}

// The satellite's entry of the epoch, taken from the free ones if need be. A full epoch takes nothing more.
obsd_t* observation_of(raw_t* raw, int sat)
{
    if (raw->nobs >= kMaxObs) return nullptr;
    for (int i = raw->nobs - 1; i >= 0; --i) {   // the records of a satellite mostly come together
        if (raw->obs[i].sat == sat) return &raw->obs[i];
    }
    raw->obs_tow = raw->tow;
    obsd_t* obs = &raw->obs[raw->nobs++];
    obs->sat = static_cast<std::uint8_t>(sat);
    return obs;
}

int mapped_satellite(const raw_t* raw, const range_form_t& form, int sys, int prn)
{
    const int sat = raw->opt_rawprn != 0 ? raw_satellite_number(sys, prn, form.small_bds_prn) : satnov_OEM7(sys, prn);
    return sat <= kMaxSat ? sat : 0;
}

// The channel is known from the range message before the first ephemeris comes.
void note_glonass_channel(raw_t* raw, int sat, const range_t& r)
{
    const int index = r.prn - 38;
    if (index >= 24 || raw->geph[index].sat == sat) return;
    raw->geph[index].frq = r.channel;
}

// Strength in quarters of dB-Hz.
double strength(const range_t& r, bool compressed)
{
    if (!(r.cn0 >= 0.0f && r.cn0 < 255.0f)) return 0.0;
    return compressed ? static_cast<std::uint8_t>(r.cn0 * 4.0 + 0.5) : r.cn0 * 4.0;
}

void store_range(raw_t* raw, const range_t& r, const range_form_t& form)
{
    trackstat_t track;
    int slot = decode_trackstat(r.status, track);
    if (slot < 0 || slot >= kNumSlots || !track.code_lock) return;
    if (track.sys == SYS_GPS && track.code == 2) return;

    const bool may_override = raw->opt_nosigmap == 0 && (!form.override_needs_rawprn || raw->opt_rawprn != 0);
    if (may_override && track.slot_override) slot = 2;

    const int sat = mapped_satellite(raw, form, track.sys, r.prn);
    if (sat == 0) return;

    double phase = -r.adr;
    if (form.compressed) {
        const double wavelength = track.sys == SYS_GLO ? satwavelen(sat, slot, r.channel) : track.wavelength;
        if (!(wavelength > 0.0)) return;
        phase = unrolled_phase(r.pseudorange, wavelength, r.adr);
    } else if (track.sys == SYS_GLO) {
        note_glonass_channel(raw, sat, r);
    }
    if (!track.parity_known || !track.phase_lock) phase = 0.0;

    raw->locktime[sat - 1][slot] = r.locktime;
    raw->halfc[sat - 1][slot] = track.half_cycle;

    obsd_t* obs = observation_of(raw, sat);
    if (obs == nullptr) return;
    obs->P[slot] = r.pseudorange;
    obs->L[slot] = phase;
    obs->D[slot] = r.doppler;
    obs->SNR[slot] = strength(r, form.compressed);
    obs->LLI[slot] = static_cast<std::uint8_t>((r.locktime < 0.0f ? 1 : 0) | (track.parity_known ? 0 : 2));
    if (form.compressed) obs->code[slot] = track.code;   // Deliberate: the plain message leaves the code at 0.
}

int decode_ranges(raw_t* raw, const std::uint8_t* body, const range_form_t& form)
{
    const std::uint64_t n = wire::u32(body);
    if (kCountSize + n * form.record_size > static_cast<std::uint64_t>(body_size(raw))) return DECODE_REFUSED;
    begin_epoch(raw, form.epoch_tolerance);
    const std::uint8_t* p = body + kCountSize;
    for (std::uint64_t i = 0; i < n; ++i, p += form.record_size) store_range(raw, form.read(p), form);
    raw->obs_tow = raw->tow;
    return DECODE_OBS;
}

int decode_range(raw_t* raw, const std::uint8_t* body)
{
    return decode_ranges(raw, body, kPlain);
}

int decode_range_compressed(raw_t* raw, const std::uint8_t* body)
{
    return decode_ranges(raw, body, kCompressed);
}

// ---- Ephemerides ----

// A first ephemeris is new whatever its reference time.
template <typename T>
bool is_known(const T& stored, double toe)
{
    return stored.sat != 0 && timediff(stored.toe, toe) == 0.0;
}

// Stores Keplerian elements; the result says whether they were new.
int store_kepler(raw_t* raw, int sat, const eph_t& eph, std::uint64_t week)
{
    if (sat == 0 || !usable_time(eph.toe) || !usable_time(eph.toc)) return DECODE_REFUSED;
    eph_t& entry = raw->eph[sat >= kFirstQzs ? 78 + sat - kFirstQzs : sat - 1];
    if (is_known(entry, eph.toe) || week > kLastWeek) return DECODE_NOTHING;
    entry = eph;
    entry.sat = static_cast<std::uint8_t>(sat);
    raw->eph_sat = static_cast<std::uint16_t>(sat);
    return DECODE_EPH;
}

void take_week_if_unknown(raw_t* raw, std::uint16_t week)
{
    if (raw->week == 0) raw->week = week;
}

// GPS and QZSS: the record's time becomes the reference time.
int store_and_take_time(raw_t* raw, int sat, const kepler_t& k)
{
    const int result = store_kepler(raw, sat, k.eph, k.week);
    if (result != DECODE_EPH) return result;
    raw->tow = k.eph.toe;
    take_week_if_unknown(raw, k.eph.week);
    return result;
}

int decode_gpsephemb(raw_t* raw, const std::uint8_t* body)
{
    const kepler_t k = read_gps_ephemeris(body);
    const bool qzss = k.prn > 32;   // its PRNs follow those of GPS here
    return store_and_take_time(raw, satno(qzss ? SYS_QZS : SYS_GPS, relative_prn(k.prn, qzss ? 32 : 0)), k);
}

int decode_QZSSephemb(raw_t* raw, const std::uint8_t* body)
{
    const kepler_t k = read_qzss_ephemeris(body);
    return store_and_take_time(raw, satno(SYS_QZS, relative_prn(k.prn, 192)), k);
}

int decode_bdsephemerisb(raw_t* raw, const std::uint8_t* body)
{
    const kepler_t k = read_bds_ephemeris(body);
    const int prn = relative_prn(k.prn, k.prn >= 160 ? 160 : 0);
    const int result = store_kepler(raw, satno(SYS_BDS, prn), k.eph, k.week);
    if (result != DECODE_EPH) return result;
    raw->week = k.eph.week;
    raw->tow = k.eph.toe;
    return result;
}

int decode_bd2ephemb(raw_t* raw, const std::uint8_t* body)
{
    const kepler_t k = read_bds_ephemeris2(body);
    const int result = store_kepler(raw, satno(SYS_BDS, relative_prn(k.prn, 0)), k.eph, k.week);
    if (result == DECODE_EPH) take_week_if_unknown(raw, k.eph.week);
    return result;
}

int decode_rawephem(raw_t* raw, const std::uint8_t* body)
{
    const subframes_t s = read_subframes(body);
    const int result = store_kepler(raw, satno(SYS_GPS, relative_prn(s.prn, 0)), s.eph, s.week);
    if (result == DECODE_EPH) take_week_if_unknown(raw, static_cast<std::uint16_t>(s.ten_bit_week + 1024));
    return result;
}

int decode_glonass_ephemeris(raw_t* raw, const std::uint8_t* body)
{
    geph_t geph = read_glonass_ephemeris(body);
    geph.sat = satno(SYS_GLO, body[0] - 37);
    if (geph.sat == 0 || wire::u16(body + 6) == kWeekUnknown) return DECODE_REFUSED;
    if (glonass_offset(body) > kMaxGlonassOffset) return DECODE_NOTHING;

    geph_t& entry = raw->geph[geph.sat - kFirstGlo];
    const bool known = entry.sat != 0 && std::fabs(timediff(geph.toe, entry.toe)) < 1.0 && geph.svh == entry.svh;
    if (known) return DECODE_NOTHING;
    entry = geph;
    raw->eph_sat = geph.sat;
    take_week_if_unknown(raw, geph.week);
    return DECODE_EPH;
}

// Galileo messages carry no week: it is the record's, or a neighbour when toe lies over half a week away.
std::uint16_t week_of(const raw_t* raw, double toe)
{
    const double ahead = toe - raw->tow;
    const int step = ahead > 302400.0 ? -1 : ahead < -302400.0 ? 1 : 0;
    return static_cast<std::uint16_t>(raw->week + step);
}

int store_galileo(raw_t* raw, std::uint32_t prn, galeph_t eph)
{
    eph.sat = satno(SYS_GAL, relative_prn(prn, 0));
    if (eph.sat == 0 || !usable_time(eph.toe)) return DECODE_REFUSED;
    if (!usable_time(eph.inav_clock.toc) || !usable_time(eph.fnav_clock.toc)) return DECODE_REFUSED;
    galeph_t& entry = raw->galeph[eph.sat - kFirstGal];
    if (is_known(entry, eph.toe)) return DECODE_NOTHING;
    eph.week = week_of(raw, eph.toe);
    entry = eph;
    raw->eph_sat = eph.sat;
    return DECODE_EPH;
}

int decode_galileo_ephemeris(raw_t* raw, const std::uint8_t* body)
{
    return store_galileo(raw, wire::u32(body), read_galileo_ephemeris(body));
}

int decode_galileo_inav(raw_t* raw, const std::uint8_t* body)
{
    const galeph_t eph = read_galileo_inav_ephemeris(body);
    const int result = store_galileo(raw, wire::u32(body), eph);
    if (result == DECODE_EPH) raw->tow = eph.toe;
    return result;
}

int decode_sbas_ephemeris(raw_t* raw, const std::uint8_t* body)
{
    const seph_t seph = read_sbas_ephemeris(body);
    const int n = seph.index;
    if (n >= 1 && n <= 25) {   // any other index has no place in the table
        seph_t& entry = raw->seph[n - 1];
        if (entry.index != 0 && timediff(entry.t0, seph.t0) == 0.0) return DECODE_NOTHING;
        entry = seph;
    }
    raw->eph_sat = static_cast<std::uint16_t>(n - 1 < 39 ? n + 145 : 0);
    return DECODE_EPH;
}

int decode_visibility(raw_t* raw, const std::uint8_t* /*body*/)
{
    decode_satvisb(raw);
    return DECODE_NOTHING;
}

// ---- Dispatch ----

struct message_t {
    std::uint16_t id;
    int min_body;       // bytes that the decoder may read without asking
    int short_result;   // result for a shorter body
    int (*decode)(raw_t* raw, const std::uint8_t* body);
};

// clang-format off
constexpr message_t kMessages[] = {   // in order of id
    {kGpsEphemeris,      kGpsEphemerisSize,     DECODE_REFUSED, decode_gpsephemb},
    {kIonUtc,            kIonUtcSize,           DECODE_REFUSED, decode_ion_utc},
    {kVersion,           kVersionSize,          DECODE_NOTHING, decode_version},
    {kRawGpsEphemeris,   kRawEphemerisSize,     DECODE_REFUSED, decode_rawephem},
    {kPosition,          kPositionSize,         DECODE_NOTHING, decode_position},
    {kRange,             kCountSize,            DECODE_REFUSED, decode_range},
    {kRangeCompressed,   kCountSize,            DECODE_REFUSED, decode_range_compressed},
    {kMarkTime,          kMarkTimeSize,         DECODE_REFUSED, decode_mark_time},
    {kEcefPosition,      kEcefPositionSize,     DECODE_REFUSED, decode_ecef_position},
    {kSbasEphemeris,     kSbasEphemerisSize,    DECODE_REFUSED, decode_sbas_ephemeris},
    {kGlonassEphemeris,  kGlonassEphemerisSize, DECODE_REFUSED, decode_glonass_ephemeris},
    {kVisibility,        0,                     DECODE_NOTHING, decode_visibility},
    {kBdsEphemeris2,     kBdsEphemeris2Size,    DECODE_REFUSED, decode_bd2ephemb},
    {kGalEphemeris,      kGalEphemerisSize,     DECODE_REFUSED, decode_galileo_ephemeris},
    {kGalInavEphemeris,  kGalInavEphemerisSize, DECODE_REFUSED, decode_galileo_inav},
    {kQzssEphemeris,     kQzssEphemerisSize,    DECODE_REFUSED, decode_QZSSephemb},
    {kAntennaType,       kAntennaSize,          DECODE_NOTHING, decode_antenna},
    {kBdsEphemeris,      kBdsEphemerisSize,     DECODE_REFUSED, decode_bdsephemerisb},
    {kStopAndGo,         kStopAndGoSize,        DECODE_REFUSED, decode_stop_and_go},
};
// clang-format on

int dispatch(raw_t* raw, int id)
{
    for (const message_t& m : kMessages) {
        if (m.id != id) continue;
        return body_size(raw) < m.min_body ? m.short_result : m.decode(raw, raw->buff + kHeaderSize);
    }
    return DECODE_NOTHING;   // a message the library has no use for
}

// Seconds from one week and second to another; the weeks' difference wraps instead of overflowing.
double seconds_since(int week, double tow, std::int32_t from_week, double from_tow)
{
    const std::uint32_t weeks = static_cast<std::uint32_t>(week) - static_cast<std::uint32_t>(from_week);
    return static_cast<std::int32_t>(weeks * 604800u) + (tow - from_tow);
}

bool outside_time_filter(const raw_t* raw, int week, double tow)
{
    if (raw->ts_ena != 0 && seconds_since(week, tow, raw->ts_week, raw->ts_tow) < 0.0) return true;
    return raw->te_ena != 0 && seconds_since(week, tow, raw->te_week, raw->te_tow) > 0.0;
}

bool is_range_message(int id)
{
    return id == kRange || id == kRangeCompressed || id == kRangeOther;
}

int decode_korvex(raw_t* raw)
{
    const std::uint8_t* frame = raw->buff;
    if (crc32(frame, raw->len) != wire::u32(frame + raw->len)) return DECODE_REFUSED;

    const int id = wire::u16(frame + kAtId);
    const int week = wire::u16(frame + kAtWeek);
    const bool binary = (frame[kAtType] >> 4 & 3) == 0;
    if (frame[kAtTimeStatus] == kTimeUnknown || week == kWeekUnknown || !binary) return DECODE_NOTHING;
    if (week == 0 && is_range_message(id)) return DECODE_NOTHING;

    const double tow = wire::u32(frame + kAtMs) * 0.001;
    if (outside_time_filter(raw, week, tow)) return DECODE_NOTHING;
    raw->week = static_cast<std::uint16_t>(week);
    raw->tow = tow;
    return dispatch(raw, id);
}

}   // namespace

void decode_satvisb(raw_t* /*raw*/) {}

int input_korvex(raw_t* raw, unsigned char data)
{
    switch (frame_byte(raw, data)) {
        case framing_t::kComplete:
            return decode_korvex(raw);
        case framing_t::kTooLong:
            return DECODE_REFUSED;
        default:
            return DECODE_NOTHING;
    }
}

int input_korvexb(raw_t* raw, const unsigned char* data, int* n)
{
    return frame_block(raw, data, *n) == framing_t::kComplete ? decode_korvex(raw) : DECODE_NOTHING;
}

int input_korvexf(raw_t* raw, std::FILE* file, int mode)
{
    constexpr int kSkip = 7;
    if (file == nullptr) return DECODE_NOTHING;
    switch (frame_file(raw, file)) {
        case framing_t::kComplete:
            return mode == kSkip ? DECODE_NOTHING : decode_korvex(raw);
        case framing_t::kTooLong:
            return DECODE_REFUSED;
        case framing_t::kEndOfFile:
            return DECODE_EOF;
        default:
            return DECODE_NOTHING;
    }
}
