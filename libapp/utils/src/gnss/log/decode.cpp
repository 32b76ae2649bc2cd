// Decodes the frames of the receiver log into the record.
#include <cmath>
#include <cstring>

#include "gnss/foundation/satellites.h"
#include "gnss/foundation/time_scales.h"
#include "gnss/log/frame.h"
#include "gnss/log/framing.h"
#include "gnss/log/galileo.h"
#include "gnss/log/glonass.h"
#include "gnss/log/kepler.h"
#include "gnss/log/range.h"
#include "gnss/log/sbas.h"
#include "gnss/log/station.h"
#include "gnss/log/store.h"
#include "gnss/log/subframes.h"

using namespace korvex;

namespace {

// ---- Keplerian ephemerides: what the record keeps of them ----

constexpr int kLastWeek = 65534;

// SV accuracy index of a standard deviation (m): 0..14 by its bound, 15 above and for no number.
std::uint16_t accuracy_index(double sigma)
{
    // Deliberate: the bounds with a fraction are single precision, so 2.8 itself lies above its bound.
    constexpr double kBounds[] = {1, 2.8f, 4, 5.7f, 8, 11.3f, 16, 32, 64, 128, 256, 512, 1024, 2048, 4096};
    constexpr std::uint16_t kNone = 15;
    if (!(sigma >= 0.0)) return kNone;
    std::uint16_t index = 0;
    for (const double bound : kBounds) {
        if (sigma <= bound) return index;
        ++index;
    }
    return kNone;
}

eph_t narrowed(const kepler_t& k)
{
    eph_t e{};
    e.iode = static_cast<std::int16_t>(k.iode);
    e.iodc = static_cast<std::int16_t>(k.iodc);
    e.ura_index = accuracy_index(std::sqrt(k.ura));
    e.health = k.health & 1;   // Deliberate: only bit 0 is kept.
    e.week = static_cast<std::uint16_t>(k.week);
    keep_orbit(e, k.orbit);
    e.A = k.A;
    e.toc = k.toc;
    e.af0 = k.af0;
    e.af1 = k.af1;
    e.af2 = k.af2;
    e.tgd = k.tgd;
    e.tgd2 = k.tgd2;
    e.fit = k.fit;
    return e;
}

// Of message 1696, which sends the week, the size and the accuracy in other forms.
eph_t narrowed_bds(const kepler_t& k)
{
    eph_t e = narrowed(k);
    e.week = static_cast<std::uint16_t>(k.week + kBdsWeekOffset);
    e.A = k.sqrt_A * k.sqrt_A;
    e.ura_index = accuracy_index(k.ura);
    return e;
}

eph_t narrowed(const subframes_t& s, std::int64_t week)
{
    eph_t e{};
    e.iode = static_cast<std::int16_t>(s.iode);
    e.iodc = static_cast<std::int16_t>(s.iodc);
    e.ura_index = static_cast<std::uint16_t>(s.accuracy_index);
    e.health = static_cast<std::uint8_t>(s.health);
    e.week = static_cast<std::uint16_t>(week);
    e.aux_flag = static_cast<std::int16_t>(s.codes_on_l2);
    e.l2p_flag = static_cast<std::int16_t>(s.l2p_flag);
    keep_orbit(e, s.orbit);
    e.A = s.sqrt_A * s.sqrt_A;
    e.toc = s.toc;
    e.af0 = s.af0;
    e.af1 = s.af1;
    e.af2 = s.af2;
    e.tgd = s.tgd;
    e.fit = static_cast<std::uint8_t>(s.fit_flag);
    return e;
}

// Stores an ephemeris; the result says whether it was new. The week is the one sent, which may not fit the record.
int store_kepler(raw_t* raw, int sat, const eph_t& eph, std::int64_t week)
{
    if (sat == 0 || !usable_time(eph.toe) || !usable_time(eph.toc)) return DECODE_REFUSED;
    eph_t& entry = raw->eph[kepler_entry(sat)];
    if (is_known(entry, eph.toe) || week > kLastWeek) return DECODE_NOTHING;
    entry = eph;
    entry.sat = static_cast<std::uint8_t>(sat);
    raw->eph_sat = static_cast<std::uint16_t>(sat);
    return DECODE_EPH;
}

int satellite(int sys, std::uint32_t prn)
{
    return satno(static_cast<unsigned char>(sys), number_in_system(sys, prn));
}

// GPS and QZSS: the record's time becomes the reference time.
int store_and_take_time(raw_t* raw, int sat, const kepler_t& k)
{
    const eph_t eph = narrowed(k);
    const int result = store_kepler(raw, sat, eph, k.week);
    if (result != DECODE_EPH) return result;
    raw->tow = eph.toe;
    take_week_if_unknown(raw, eph.week);
    return result;
}

int decode_gpsephemb(raw_t* raw, const std::uint8_t* body)
{
    const kepler_t k = read_gps_ephemeris(body);
    const int prn = number_in_system(SYS_GPS, k.prn);   // those of QZSS follow the last of GPS
    return store_and_take_time(raw, prn > kLastGps ? satno(SYS_QZS, prn - kLastGps) : satno(SYS_GPS, prn), k);
}

int decode_QZSSephemb(raw_t* raw, const std::uint8_t* body)
{
    const kepler_t k = read_qzss_ephemeris(body);
    return store_and_take_time(raw, satellite(SYS_QZS, k.prn), k);
}

int decode_bdsephemerisb(raw_t* raw, const std::uint8_t* body)
{
    const kepler_t k = read_bds_ephemeris(body);
    const std::uint32_t prn = k.prn >= kBdsHighPrn ? k.prn - kBdsHighPrn : k.prn;
    const eph_t eph = narrowed_bds(k);
    const int result = store_kepler(raw, satellite(SYS_BDS, prn), eph, std::int64_t{k.week} + kBdsWeekOffset);
    if (result != DECODE_EPH) return result;
    raw->week = eph.week;
    raw->tow = eph.toe;
    return result;
}

int decode_bd2ephemb(raw_t* raw, const std::uint8_t* body)
{
    const kepler_t k = read_bds_ephemeris_second(body);
    const eph_t eph = narrowed(k);
    const int result = store_kepler(raw, satellite(SYS_BDS, k.prn), eph, k.week);
    if (result == DECODE_EPH) take_week_if_unknown(raw, eph.week);
    return result;
}

int decode_rawephem(raw_t* raw, const std::uint8_t* body)
{
    const subframes_t s = read_subframes(body);
    const std::int64_t week = full_week(s.ten_bit_week, s.reference_week);
    const int result = store_kepler(raw, satellite(SYS_GPS, s.prn), narrowed(s, week), week);
    if (result == DECODE_EPH) take_week_if_unknown(raw, static_cast<std::uint16_t>(s.ten_bit_week + 1024));
    return result;
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
    {MSG_GPS_EPHEMERIS,        kGpsEphemerisSize,       DECODE_REFUSED, decode_gpsephemb},
    {MSG_ION_UTC,              kIonUtcSize,             DECODE_REFUSED, decode_ion_utc},
    {MSG_VERSION,              kVersionSize,            DECODE_NOTHING, decode_version},
    {MSG_RAW_GPS_EPHEMERIS,    kRawEphemerisSize,       DECODE_REFUSED, decode_rawephem},
    {MSG_POSITION,             kPositionSize,           DECODE_NOTHING, decode_position},
    {MSG_RANGE,                kCountSize,              DECODE_REFUSED, decode_range},
    {MSG_RANGE_COMPRESSED,     kCountSize,              DECODE_REFUSED, decode_range_compressed},
    {MSG_MARK_TIME,            kMarkTimeSize,           DECODE_REFUSED, decode_mark_time},
    {MSG_ECEF_POSITION,        kEcefPositionSize,       DECODE_REFUSED, decode_ecef_position},
    {MSG_SBAS_EPHEMERIS,       kSbasEphemerisSize,      DECODE_REFUSED, decode_sbas_ephemeris},
    {MSG_GLONASS_EPHEMERIS,    kGlonassEphemerisSize,   DECODE_REFUSED, decode_glonass_ephemeris},
    {MSG_VISIBILITY,           0,                       DECODE_NOTHING, decode_visibility},
    {MSG_BDS_EPHEMERIS_SECOND, kBdsEphemerisSecondSize, DECODE_REFUSED, decode_bd2ephemb},
    {MSG_GAL_EPHEMERIS,        kGalEphemerisSize,       DECODE_REFUSED, decode_galileo_ephemeris},
    {MSG_GAL_INAV_EPHEMERIS,   kGalInavEphemerisSize,   DECODE_REFUSED, decode_galileo_inav_ephemeris},
    {MSG_QZSS_EPHEMERIS,       kQzssEphemerisSize,      DECODE_REFUSED, decode_QZSSephemb},
    {MSG_ANTENNA,              kAntennaSize,            DECODE_NOTHING, decode_antenna},
    {MSG_BDS_EPHEMERIS,        kBdsEphemerisSize,       DECODE_REFUSED, decode_bdsephemerisb},
    {MSG_STOP_AND_GO,          kStopAndGoSize,          DECODE_REFUSED, decode_stop_and_go},
};
// clang-format on

int dispatch(raw_t* raw, int id)
{
    for (const message_t& m : kMessages) {
        if (m.id != id) continue;
        return raw->len - kHeaderSize < m.min_body ? m.short_result : m.decode(raw, raw->buff + kHeaderSize);
    }
    return DECODE_NOTHING;   // a message the library has no use for
}

// Seconds from one week and second to another; the weeks' difference wraps instead of overflowing.
double seconds_since(int week, double tow, std::int32_t from_week, double from_tow)
{
    const std::uint32_t weeks = static_cast<std::uint32_t>(week) - static_cast<std::uint32_t>(from_week);
    return static_cast<std::int32_t>(weeks * static_cast<std::uint32_t>(kWeek)) + (tow - from_tow);
}

bool outside_time_filter(const raw_t* raw, int week, double tow)
{
    if (raw->ts_ena != 0 && seconds_since(week, tow, raw->ts_week, raw->ts_tow) < 0.0) return true;
    return raw->te_ena != 0 && seconds_since(week, tow, raw->te_week, raw->te_tow) > 0.0;
}

bool is_range_message(int id)
{
    return id == MSG_RANGE || id == MSG_RANGE_COMPRESSED || id == MSG_RANGE_OTHER;
}

int decode_korvex(raw_t* raw)
{
    if (!checksum_agrees(raw->buff, raw->len)) return DECODE_REFUSED;
    const header_t header = read_header(raw->buff);
    if (header.time_status == kTimeUnknown || header.week == kWeekUnknown || header.format != kBinary) {
        return DECODE_NOTHING;
    }
    if (header.week == 0 && is_range_message(header.id)) return DECODE_NOTHING;

    const double tow = header.ms * 0.001;
    if (outside_time_filter(raw, header.week, tow)) return DECODE_NOTHING;
    raw->week = static_cast<std::uint16_t>(header.week);
    raw->tow = tow;
    return dispatch(raw, header.id);
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
