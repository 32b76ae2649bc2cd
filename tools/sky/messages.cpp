#include "sky/messages.h"

#include <algorithm>

#include "gnss/foundation/satellites.h"
#include "gnss/foundation/time_scales.h"
#include "gnss/log/galileo.h"
#include "gnss/log/glonass.h"
#include "gnss/log/kepler.h"
#include "gnss/log/sbas.h"
#include "gnss/log/subframes.h"
#include "sky/atmosphere.h"
#include "sky/subframes.h"

namespace sky {

namespace {

struct double_field_t {
    std::size_t offset;
    double kepler_set_t::*value;
};

using K = kepler_set_t;

// Orbit of messages 7, 1336 and 1047.
const double_field_t kGpsOrbit[] = {
    {32, &K::toe}, {40, &K::A},     {48, &K::delta_n}, {56, &K::M0},         {64, &K::e},    {72, &K::omega},
    {80, &K::cuc}, {88, &K::cus},   {96, &K::crc},     {104, &K::crs},       {112, &K::cic}, {120, &K::cis},
    {128, &K::i0}, {136, &K::idot}, {144, &K::omega0}, {152, &K::omega_dot}, {164, &K::toc}, {172, &K::tgd}};
const double_field_t kGpsClock[] = {{180, &K::af0}, {188, &K::af1}, {196, &K::af2}};
const double_field_t kBeidouSecondClock[] = {{180, &K::tgd2}, {188, &K::af0}, {196, &K::af1}, {204, &K::af2}};

// Orbit of message 1309; message 1122 has it 8 bytes further on.
const double_field_t kGalileoOrbit[] = {{20, &K::sqrtA}, {28, &K::delta_n}, {36, &K::M0},        {44, &K::e},
                                        {52, &K::omega}, {60, &K::cuc},     {68, &K::cus},       {76, &K::crc},
                                        {84, &K::crs},   {92, &K::cic},     {100, &K::cis},      {108, &K::i0},
                                        {116, &K::idot}, {124, &K::omega0}, {132, &K::omega_dot}};
const double_field_t kGalileoInavClock[] = {
    {144, &K::af0}, {152, &K::af1}, {160, &K::af2}, {168, &K::tgd}, {176, &K::tgd2}};
const double_field_t kGalileoClocks[] = {{152, &K::fnav_af0}, {160, &K::af1}, {168, &K::af2}, {180, &K::af0},
                                         {188, &K::af1},      {196, &K::af2}, {204, &K::tgd}, {212, &K::tgd2}};

const double_field_t kBeidouFields[] = {{20, &K::tgd},      {28, &K::tgd2},  {44, &K::af0},     {52, &K::af1},
                                        {60, &K::af2},      {76, &K::sqrtA}, {84, &K::e},       {92, &K::omega},
                                        {100, &K::delta_n}, {108, &K::M0},   {116, &K::omega0}, {124, &K::omega_dot},
                                        {132, &K::i0},      {140, &K::idot}, {148, &K::cuc},    {156, &K::cus},
                                        {164, &K::crc},     {172, &K::crs},  {180, &K::cic},    {188, &K::cis}};

constexpr double kAccuracy = 2.0;   // m, index kAccuracyIndex
constexpr unsigned kSisa = 107;     // Galileo accuracy index of 3.12 m

frame_t& put(frame_t& frame, const K& set, std::span<const double_field_t> fields, std::size_t shift = 0)
{
    for (const double_field_t& f : fields) frame.f64(f.offset + shift, set.*f.value);
    return frame;
}

// What messages 7, 1336 and 1047 share.
frame_t gps_like(std::uint16_t id, std::size_t body, int prn, const K& set)
{
    frame_t frame(id, body);
    const auto issue = static_cast<std::uint32_t>(set.issue);
    frame.u32(0, static_cast<std::uint32_t>(prn)).f64(4, set.toe).u32(16, issue).u32(20, issue);
    frame.u32(24, static_cast<std::uint32_t>(set.week)).u32(28, static_cast<std::uint32_t>(set.week)).u32(160, issue);
    return put(frame, set, kGpsOrbit);
}

frame_t with_gps_clock(frame_t frame, const K& set)
{
    return put(frame, set, kGpsClock).u32(204, 1).f64(216, kAccuracy * kAccuracy);   // anti-spoofing on
}

}   // namespace

frame_t gps_ephemeris(const K& set)
{
    const int prn = set.system == SYS_QZS ? set.prn - system_of(SYS_QZS).prn_before + kLastGps : set.prn;
    return with_gps_clock(gps_like(MSG_GPS_EPHEMERIS, korvex::kGpsEphemerisSize, prn, set), set);
}

frame_t qzss_ephemeris(const K& set)
{
    return with_gps_clock(gps_like(MSG_QZSS_EPHEMERIS, korvex::kQzssEphemerisSize, set.prn, set), set);
}

frame_t beidou_ephemeris_second(const K& set)
{
    frame_t frame = gps_like(MSG_BDS_EPHEMERIS_SECOND, korvex::kBdsEphemerisSecondSize, set.prn, set);
    return put(frame, set, kBeidouSecondClock).f64(224, kAccuracy * kAccuracy);
}

frame_t gps_subframes(const K& set, int week, double tow)
{
    const int second = static_cast<int>(tow);
    frame_t frame(MSG_RAW_GPS_EPHEMERIS, korvex::kRawEphemerisSize);
    frame.u32(0, static_cast<std::uint32_t>(set.prn)).u32(4, static_cast<std::uint32_t>(week));
    frame.u32(8, static_cast<std::uint32_t>(second));
    const auto packed = pack_subframes(set, second - second % 30);
    std::copy(packed.begin(), packed.end(), frame.body() + 12);
    return frame;
}

frame_t glonass_ephemeris(const glonass_set_t& set)
{
    frame_t frame(MSG_GLONASS_EPHEMERIS, korvex::kGlonassEphemerisSize);
    frame.u8(0, static_cast<unsigned>(set.slot + system_of(SYS_GLO).prn_before))
        .u16(2, static_cast<unsigned>(set.channel + 7))
        .u8(4, 1);
    frame.u16(6, static_cast<unsigned>(set.week)).u32(8, set.ms).u32(12, set.offset);
    frame.u32(20, static_cast<std::uint32_t>(set.issue));
    const vec3_t* vectors[] = {&set.state.position, &set.state.velocity, &set.accel};
    for (std::size_t i = 0; i < 3; ++i)
        frame.f64(28 + 24 * i, vectors[i]->x).f64(36 + 24 * i, vectors[i]->y).f64(44 + 24 * i, vectors[i]->z);
    return frame.f64(100, set.taun).f64(108, set.dtaun).f64(116, set.gamn).u32(124, set.frame_time);
}

frame_t galileo_ephemeris(const K& set)
{
    const auto toe = static_cast<std::uint32_t>(set.toe);
    frame_t frame(MSG_GAL_EPHEMERIS, korvex::kGalEphemerisSize);
    frame.u32(0, static_cast<std::uint32_t>(set.prn)).u32(4, 1).u32(8, 1).u8(18, kSisa);
    frame.u32(20, static_cast<std::uint32_t>(set.issue)).u32(24, toe).u32(148, toe).u32(176, toe);
    put(frame, set, kGalileoOrbit, 8);
    return put(frame, set, kGalileoClocks);
}

frame_t galileo_inav_ephemeris(const K& set)
{
    const auto toe = static_cast<std::uint32_t>(set.toe);
    frame_t frame(MSG_GAL_INAV_EPHEMERIS, korvex::kGalInavEphemerisSize);
    frame.u32(0, static_cast<std::uint32_t>(set.prn)).u8(8, kSisa);
    frame.u32(12, static_cast<std::uint32_t>(set.issue)).u32(16, toe).u32(140, toe);
    put(frame, set, kGalileoOrbit);
    return put(frame, set, kGalileoInavClock);
}

frame_t beidou_ephemeris(const K& set)
{
    const auto toe = static_cast<std::uint32_t>(set.toe);
    const auto issue = static_cast<std::uint32_t>(set.issue);
    frame_t frame(MSG_BDS_EPHEMERIS, korvex::kBdsEphemerisSize);
    frame.u32(0, static_cast<std::uint32_t>(set.prn)).u32(4, static_cast<std::uint32_t>(set.week - kBdsWeekOffset));
    frame.f64(8, kAccuracy).u32(36, issue).u32(40, toe).u32(68, issue).u32(72, toe);
    return put(frame, set, kBeidouFields);
}

frame_t sbas_ephemeris(const seph_t& set)
{
    frame_t frame(MSG_SBAS_EPHEMERIS, korvex::kSbasEphemerisSize);
    frame.u8(0, set.index).u8(1, set.iodn).u8(2, set.ura).u16(3, set.t0);
    for (std::size_t i = 0; i < 3; ++i)
        frame.f64(7 + 8 * i, set.pos[i]).f32(31 + 4 * i, set.vel[i]).f32(43 + 4 * i, set.acc[i]);
    return frame.f32(55, set.af0).f32(59, set.af1);
}

frame_t ionosphere_utc(int week, int leap_seconds)
{
    frame_t frame(MSG_ION_UTC, 108);
    for (std::size_t i = 0; i < 8; ++i) frame.f64(8 * i, kIonosphere[i]);
    const auto leap = static_cast<std::uint32_t>(leap_seconds);
    return frame.u32(64, static_cast<std::uint32_t>(week)).u32(96, leap).u32(100, leap);
}

frame_t receiver_version()
{
    frame_t frame(MSG_VERSION, 108);
    return frame.u32(0, 1).text(4, "KV4A0").text(24, "SIM00000000001").text(48, "1.00");
}

frame_t antenna_type()
{
    constexpr std::uint32_t kAntenna2100 = 6;
    return frame_t(MSG_ANTENNA, 12).u32(0, kAntenna2100).f32(8, 1.5f);   // 1.5 m above the mark
}

constexpr std::uint32_t kSinglePosition = 16;

frame_t geodetic_position(const fix_t& fix)
{
    constexpr float kUndulation = 10.0f;   // geoid above the ellipsoid, m
    frame_t frame(MSG_POSITION, 72);
    frame.u32(4, kSinglePosition).f64(8, fix.lat).f64(16, fix.lon).f64(24, fix.height - double{kUndulation});
    frame.f32(32, kUndulation).f32(40, 1.0f).f32(44, 1.0f).f32(48, 2.0f);
    const auto used = static_cast<unsigned>(fix.satellites);
    return frame.u8(64, used).u8(65, used);
}

frame_t ecef_position(const fix_t& fix)
{
    frame_t frame(MSG_ECEF_POSITION, 112);
    frame.u32(4, kSinglePosition);
    for (std::size_t i = 0; i < 3; ++i) frame.f64(8 + 8 * i, fix.ecef[i]).f32(32 + 4 * i, 1.5f);
    const auto used = static_cast<unsigned>(fix.satellites);
    return frame.u8(104, used).u8(105, used);
}

frame_t mark_time(int week, double tow)
{
    return frame_t(MSG_MARK_TIME, 40).u32(0, static_cast<std::uint32_t>(week)).f64(4, tow);
}

frame_t stop_and_go(unsigned event, const fix_t& fix)
{
    frame_t frame(MSG_STOP_AND_GO, 88);
    if (event == 0) return frame;
    frame.u32(0, event).f64(4, fix.ecef[0]).f64(12, fix.ecef[1]).f64(20, fix.ecef[2]).u32(60, event);
    return frame.f64(64, 1.5).f64(72, 0.0).f64(80, 0.0);   // antenna height, east, north
}

frame_t visibility(std::span<const visible_t> satellites)
{
    frame_t frame(MSG_VISIBILITY, 16 + 40 * satellites.size());
    frame.u32(4, 1).u32(8, 1).u32(12, static_cast<std::uint32_t>(satellites.size()));
    std::size_t at = 16;
    for (const visible_t& s : satellites) {
        frame.u32(at, static_cast<std::uint32_t>(s.id)).f64(at + 8, s.elevation).f64(at + 16, s.azimuth);
        frame.f64(at + 24, s.doppler).f64(at + 32, s.doppler);
        at += 40;
    }
    return frame;
}

frame_t foreign_message()
{
    return frame_t(1999, 24).text(0, "not for this decoder");
}

}   // namespace sky
