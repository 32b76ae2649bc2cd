#include "korvex_station.h"

#include <algorithm>
#include <cstring>

#include "korvex_frame.h"
#include "numbers.h"
#include "wire.h"

namespace korvex {

namespace {

constexpr double kDegree = 3.1415926535897932 / 180.0;   // rad

template <std::size_t N>
void put_text(char (&to)[N], const char* from, std::size_t n)
{
    static_assert(N > 1);
    std::memset(to, 0, N);
    std::memcpy(to, from, std::min(n, N - 1));
}

template <std::size_t N>
void put_text(char (&to)[N], const std::uint8_t* from, std::size_t n)
{
    put_text(to, reinterpret_cast<const char*>(from), n);
}

// Position messages start with a solution status (0: computed) and a position type (0: none).
bool has_position(const std::uint8_t* body)
{
    return wire::u32(body) == 0 && wire::u32(body + 4) != 0;
}

struct antenna_t {
    std::uint32_t value;
    const char* name;
};

constexpr antenna_t kAntennas[] = {
    {2, "KVANT1100"}, {3, "KVANT1200"}, {4, "KVANT1300"}, {5, "KVRCVMODLA"}, {6, "KVANT2100"}, {7, "KVMODL7"},
};

const char* antenna_name(std::uint32_t value)
{
    for (const antenna_t& a : kAntennas) {
        if (a.value == value) return a.name;
    }
    return "ADVNULLANTENNA";
}

}   // namespace

int decode_ion_utc(raw_t* raw, const std::uint8_t* body)
{
    for (int i = 0; i < 8; ++i) raw->ion_gps[i] = wire::f64(body + 8 * i);
    raw->leaps = wire::u16(body + 96);
    g_curleap = std::max(g_curleap, raw->leaps);
    return DECODE_ION_UTC;
}

int decode_version(raw_t* raw, const std::uint8_t* body)
{
    put_text(raw->rcv_text[1], body + 4, 8);
    put_text(raw->rcv_text[2], body + 48, 4);
    put_text(raw->rcv_text[3], body + 24, 19);
    return DECODE_STATION;
}

int decode_position(raw_t* raw, const std::uint8_t* body)
{
    if (!has_position(body)) return DECODE_NOTHING;
    const double geodetic[3] = {wire::f64(body + 8) * kDegree, wire::f64(body + 16) * kDegree,
                                wire::f64(body + 24) + wire::f32(body + 32)};   // height + undulation
    pos2ecef(geodetic, raw->pos);
    return DECODE_STATION;
}

int decode_ecef_position(raw_t* raw, const std::uint8_t* body)
{
    if (!has_position(body)) return DECODE_NOTHING;
    for (int i = 0; i < 3; ++i) raw->pos[i] = wire::f64(body + 8 + 8 * i);
    return DECODE_STATION;
}

int decode_mark_time(raw_t* raw, const std::uint8_t* body)
{
    const double tow = wire::f64(body + 4);
    if ((wire::u32(body + 36) & 0xFE) != 0 || !usable_time(tow)) return DECODE_REFUSED;
    raw->tow = tow;
    return DECODE_MARK;
}

int decode_antenna(raw_t* raw, const std::uint8_t* body)
{
    const char* name = antenna_name(wire::u32(body));
    put_text(raw->ant_type, name, std::strlen(name));
    raw->ant_word1 = wire::u32(body + 4);
    raw->ant_word2 = wire::u32(body + 8);
    return DECODE_STATION;
}

int decode_stop_and_go(raw_t* raw, const std::uint8_t* body)
{
    constexpr int kFullSize = 88;   // bytes of a record that carries data
    const bool has_data = wire::u32(body) != 0;
    if (has_data && (raw->len - kHeaderSize) < kFullSize) return DECODE_REFUSED;
    raw->sng_flag = has_data;
    if (!has_data) return DECODE_STOP_AND_GO;
    for (int i = 0; i < 7; ++i) raw->sng.value[i] = wire::f64(body + 4 + 8 * i);
    raw->sng.word = wire::u32(body + 60);
    raw->sng_f[2] = to_float(wire::f64(body + 64));
    raw->sng_f[0] = to_float(wire::f64(body + 72));
    raw->sng_f[1] = to_float(wire::f64(body + 80));
    return DECODE_STOP_AND_GO;
}

}   // namespace korvex
