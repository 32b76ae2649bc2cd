#include "gnss/log/station.h"

#include <algorithm>
#include <cstring>
#include <string_view>

#include "gnss/foundation/numbers.h"
#include "gnss/log/frame.h"
#include "gnss/log/store.h"

namespace korvex {

// Each reader is a layout table: field, place in the body, unit.
// clang-format off
ion_utc_t read_ion_utc(const std::uint8_t* b)
{
    ion_utc_t u;
    for (int i = 0; i < 4; ++i) {
        u.alpha[i] = wire::f64(b +  0 + 8 * i);   // s, s/semicircle, ...
        u.beta[i]  = wire::f64(b + 32 + 8 * i);   // s, s/semicircle, ...
    }
    u.utc_week     = wire::u32(b +  64);
    u.utc_second   = wire::u32(b +  68);   // s of week
    u.a0           = wire::f64(b +  72);   // s
    u.a1           = wire::f64(b +  80);   // s/s
    u.leap_week    = wire::u32(b +  88);
    u.leap_day     = wire::u32(b +  92);
    u.leaps        = wire::u32(b +  96);   // s
    u.future_leaps = wire::u32(b + 100);   // s
    return u;
}

version_t read_version(const std::uint8_t* b)
{
    version_t v;
    std::memcpy(v.text1, b +  4, sizeof v.text1);
    std::memcpy(v.text3, b + 24, sizeof v.text3);
    std::memcpy(v.text2, b + 48, sizeof v.text2);
    return v;
}

position_t read_position(const std::uint8_t* b)
{
    position_t p;
    p.status         = wire::u32(b +  0);
    p.type           = wire::u32(b +  4);
    p.coordinates[0] = wire::f64(b +  8);   // degrees
    p.coordinates[1] = wire::f64(b + 16);   // degrees
    p.coordinates[2] = wire::f64(b + 24);   // m
    p.undulation     = wire::f32(b + 32);   // m
    return p;
}

position_t read_ecef_position(const std::uint8_t* b)
{
    position_t p;
    p.status         = wire::u32(b +  0);
    p.type           = wire::u32(b +  4);
    p.coordinates[0] = wire::f64(b +  8);   // m
    p.coordinates[1] = wire::f64(b + 16);   // m
    p.coordinates[2] = wire::f64(b + 24);   // m
    p.undulation     = 0.0;
    return p;
}

mark_time_t read_mark_time(const std::uint8_t* b)
{
    mark_time_t m;
    m.tow          = wire::f64(b +  4);   // s of week
    m.clock_status = wire::u32(b + 36);
    return m;
}

antenna_t read_antenna(const std::uint8_t* b)
{
    antenna_t a;
    a.type     = wire::u32(b + 0);
    a.words[0] = wire::u32(b + 4);
    a.words[1] = wire::u32(b + 8);
    return a;
}

stop_and_go_record_t read_stop_and_go(const std::uint8_t* b, int size)
{
    stop_and_go_record_t s{};
    s.word = wire::u32(b);
    if (size < kStopAndGoFullSize) return s;
    for (int i = 0; i < 7; ++i) s.values[i] = wire::f64(b + 4 + 8 * i);
    s.last_word        = wire::u32(b + 60);
    s.antenna_delta[0] = wire::f64(b + 64);   // m, height
    s.antenna_delta[1] = wire::f64(b + 72);   // m, east
    s.antenna_delta[2] = wire::f64(b + 80);   // m, north
    return s;
}
// clang-format on

namespace {

struct antenna_name_t {
    std::uint32_t type;
    const char* name;
};

constexpr antenna_name_t kAntennas[] = {
    {2, "KVANT1100"}, {3, "KVANT1200"}, {4, "KVANT1300"}, {5, "KVRCVMODLA"}, {6, "KVANT2100"}, {7, "KVMODL7"},
};

}   // namespace

const char* antenna_name(std::uint32_t type)
{
    for (const antenna_name_t& a : kAntennas) {
        if (a.type == type) return a.name;
    }
    return "ADVNULLANTENNA";
}

// ---- The record's share ----

namespace {

constexpr double kDegree = 3.1415926535897932 / 180.0;   // rad

// Leaves room for the NUL.
template <std::size_t N>
void put_text(char (&to)[N], std::string_view text)
{
    std::memset(to, 0, N);
    text.copy(to, N - 1);
}

}   // namespace

int decode_ion_utc(raw_t* raw, const std::uint8_t* body)
{
    const ion_utc_t sent = read_ion_utc(body);
    std::copy_n(sent.alpha, 4, raw->ion_gps);
    std::copy_n(sent.beta, 4, raw->ion_gps + 4);
    raw->leaps = static_cast<std::uint16_t>(sent.leaps);
    g_curleap = std::max(g_curleap, raw->leaps);
    return DECODE_ION_UTC;
}

int decode_version(raw_t* raw, const std::uint8_t* body)
{
    const version_t sent = read_version(body);
    put_text(raw->rcv_text[1], {sent.text1, sizeof sent.text1});
    put_text(raw->rcv_text[2], {sent.text2, sizeof sent.text2});
    put_text(raw->rcv_text[3], {sent.text3, sizeof sent.text3});
    return DECODE_STATION;
}

int decode_position(raw_t* raw, const std::uint8_t* body)
{
    const position_t sent = read_position(body);
    if (!sent.is_known()) return DECODE_NOTHING;
    const double geodetic[3] = {sent.coordinates[0] * kDegree, sent.coordinates[1] * kDegree,
                                sent.coordinates[2] + sent.undulation};
    pos2ecef(geodetic, raw->pos);
    return DECODE_STATION;
}

int decode_ecef_position(raw_t* raw, const std::uint8_t* body)
{
    const position_t sent = read_ecef_position(body);
    if (!sent.is_known()) return DECODE_NOTHING;
    std::copy_n(sent.coordinates, 3, raw->pos);
    return DECODE_STATION;
}

int decode_mark_time(raw_t* raw, const std::uint8_t* body)
{
    const mark_time_t sent = read_mark_time(body);
    if ((sent.clock_status & 0xFE) != 0 || !usable_time(sent.tow)) return DECODE_REFUSED;
    raw->tow = sent.tow;
    return DECODE_MARK;
}

int decode_antenna(raw_t* raw, const std::uint8_t* body)
{
    const antenna_t sent = read_antenna(body);
    const char* name = antenna_name(sent.type);
    put_text(raw->ant_type, name);
    raw->ant_word1 = sent.words[0];
    raw->ant_word2 = sent.words[1];
    return DECODE_STATION;
}

int decode_stop_and_go(raw_t* raw, const std::uint8_t* body)
{
    const int size = raw->len - kHeaderSize;
    const stop_and_go_record_t sent = read_stop_and_go(body, size);
    const bool has_data = sent.word != 0;
    if (has_data && size < kStopAndGoFullSize) return DECODE_REFUSED;
    raw->sng_flag = has_data;
    if (!has_data) return DECODE_STOP_AND_GO;
    std::copy_n(sent.values, 7, raw->sng.value);
    raw->sng.word = sent.last_word;
    raw->sng_f[2] = to_float(sent.antenna_delta[0]);
    raw->sng_f[0] = to_float(sent.antenna_delta[1]);
    raw->sng_f[1] = to_float(sent.antenna_delta[2]);
    return DECODE_STOP_AND_GO;
}

}   // namespace korvex
