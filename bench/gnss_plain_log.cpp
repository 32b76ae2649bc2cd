// Receiver log: checksum, framing byte by byte, range messages.
#include <cmath>
#include <cstring>

#include "gnss_plain.h"

namespace {

constexpr double kL1 = 0.19029367279836487;   // wavelengths, m
constexpr double kL2 = 0.24421021342456825;
constexpr double kL5 = 0.25482804879085386;
constexpr double kE5b = 0.2483493695843067;
constexpr double kE5 = 0.251547000952345;
constexpr double kE6 = 0.23444180488758554;
constexpr double kB1 = 0.19203948631027648;
constexpr double kB3 = 0.2363324646044209;
constexpr double kGlonass = -1.0;   // by frequency channel

template <typename T>
T get(const std::uint8_t* p)
{
    T value;
    std::memcpy(&value, p, sizeof value);
    return value;
}

// Three bits of the tracking status.
enum system_t { kGps, kGlo, kSbs, kGal, kBds, kQzs };

struct signal_t {
    int slot;
    std::uint8_t code;
    double wavelength;
};

constexpr signal_t kUnused = {-1, 0, -1.0};

signal_t gps_signal(unsigned type)
{
    switch (type) {
        case 0:
            return {0, 1, kL1};
        case 5:
        case 9:
            return {1, 19, kL2};
        case 17:
            return {1, 14, kL2};
        case 6:
            return {2, 24, kL5};
        case 14:
            return {2, 25, kL5};
        case 16:
            return {3, 8, kL1};
        default:
            return kUnused;
    }
}

signal_t glonass_signal(unsigned type)
{
    switch (type) {
        case 0:
            return {0, 1, kGlonass};
        case 1:
            return {1, 14, kGlonass};
        case 5:
            return {1, 19, kGlonass};
        default:
            return kUnused;
    }
}

signal_t sbas_signal(unsigned type)
{
    if (type == 0) return {0, 1, kL1};
    if (type == 5) return {1, 24, kL5};
    return kUnused;
}

signal_t galileo_signal(unsigned type)
{
    switch (type) {
        case 1:
            return {0, 11, kL1};
        case 2:
            return {0, 1, kL1};
        case 17:
            return {1, 28, kE5b};
        case 12:
            return {2, 25, kL5};
        case 20:
            return {3, 37, kE5};
        case 7:
            return {4, 32, kE6};
        default:
            return kUnused;
    }
}

signal_t beidou_signal(unsigned type)
{
    switch (type) {
        case 0:
        case 4:
            return {0, 47, kB1};
        case 1:
        case 5:
        case 17:
            return {1, 27, kE5b};
        case 9:
        case 12:
            return {1, 52, kL5};
        case 2:
        case 21:
            return {2, 42, kB3};
        case 6:
            return {2, 43, kB3};
        case 7:
        case 8:
            return {3, 51, kL1};
        default:
            return kUnused;
    }
}

signal_t signal_of(unsigned system, unsigned type)
{
    switch (system) {
        case kGps:
        case kQzs:
            return gps_signal(type);
        case kGlo:
            return glonass_signal(type);
        case kSbs:
            return sbas_signal(type);
        case kGal:
            return galileo_signal(type);
        case kBds:
            return beidou_signal(type);
        default:
            return kUnused;
    }
}

int satellite_of(unsigned system, int prn)
{
    if (system == kGps && prn >= 1 && prn <= 32) return prn;
    if (system == kGlo && prn >= 38 && prn <= 62) return prn + 41;
    if (system == kGal && prn >= 1 && prn <= 36) return prn + 102;
    if (system == kQzs && prn >= 193 && prn <= 202) return prn - 54;
    if (system == kBds && prn >= 1 && prn <= 46) return prn + 32;
    if (system == kSbs && prn >= 120 && prn <= 158) return prn + 26;
    return 0;
}

int raw_satellite_of(unsigned system, int prn, int small_bds)
{
    if (system == kGps && prn >= 1 && prn <= 32) return prn;
    if (system == kGlo && prn >= 38 && prn <= 62) return prn + 41;
    if (system == kGal) return prn + 33;
    if (system == kBds) {
        const int n = prn <= small_bds ? prn + 160 : prn;
        return n >= 161 && n <= 197 ? n - 128 : 0;
    }
    return 0;
}

double glonass_wavelength(int sat, int slot, int channel)
{
    constexpr int kChannels[] = {1, -4, 5, 6, 1, -4, 5, 6, -2, -7, 0, -1, -2, -7, 0, -1, 4, -3, 3, 2, 4, -3, 3, 2};
    if (sat > 102) return slot == 0 ? kL1 : slot == 1 ? kE5b : kL5;   // PRN 62 bears a Galileo number
    if (channel == 0) channel = kChannels[sat - 79];
    if (slot == 0) return 299792458.0 / (1.602e9 + channel * 562500.0);
    if (slot == 1) return 299792458.0 / (1.246e9 + channel * 437500.0);
    return 0.0;
}

// One record of either message.
struct record_t {
    std::uint32_t status;
    int prn, channel;
    double pseudorange, adr;
    float doppler, cn0, locktime;
};

record_t read_full(const std::uint8_t* p)
{
    record_t r;
    r.prn = get<std::uint16_t>(p);
    r.channel = static_cast<std::int8_t>(p[2] - 7);
    r.pseudorange = get<double>(p + 4);
    r.adr = get<double>(p + 16);
    r.doppler = get<float>(p + 28);
    r.cn0 = get<float>(p + 32);
    r.locktime = get<float>(p + 36);
    r.status = get<std::uint32_t>(p + 40);
    return r;
}

record_t read_compressed(const std::uint8_t* p)
{
    record_t r;
    r.status = get<std::uint32_t>(p);
    auto doppler = static_cast<std::int32_t>(get<std::uint32_t>(p + 4) & 0xFFFFFFF);
    if (doppler >= 0x8000000) doppler -= 0x10000000;
    r.doppler = static_cast<float>(doppler / 256.0);
    r.pseudorange = (get<std::uint32_t>(p + 7) >> 4) / 128.0 + p[11] * 2097152.0;
    r.adr = get<std::int32_t>(p + 12) / 256.0;
    r.prn = p[17];
    r.locktime = static_cast<float>(std::floor((get<std::uint32_t>(p + 18) & 0x1FFFFF) / 32.0));
    r.cn0 = static_cast<float>((get<std::uint16_t>(p + 20) >> 5 & 0x1F) + 20);
    r.channel = (p[21] >> 2 & 0x3F) - 7;
    return r;
}

bool bit(std::uint32_t status, int n)
{
    return (status >> n & 1) != 0;
}

void store(raw_t* raw, const record_t& r, bool compressed)
{
    const unsigned system = r.status >> 16 & 7;
    const signal_t signal = signal_of(system, r.status >> 21 & 31);
    int slot = signal.slot;
    if (slot < 0 || !bit(r.status, 12)) return;
    if (bit(r.status, 19) && raw->opt_nosigmap == 0 && (compressed || raw->opt_rawprn != 0)) slot = 2;

    const int sat =
        raw->opt_rawprn != 0 ? raw_satellite_of(system, r.prn, compressed ? 29 : 159) : satellite_of(system, r.prn);
    if (sat < 1 || sat > 170) return;

    double phase = -r.adr;
    if (compressed) {
        const double wavelength = system == kGlo ? glonass_wavelength(sat, slot, r.channel) : signal.wavelength;
        if (wavelength <= 0.0) return;
        const double rolls = (r.pseudorange / wavelength + r.adr) / 8388608.0;
        phase =
            static_cast<double>(static_cast<long long>(rolls > 0.0 ? rolls + 0.5 : rolls - 0.5)) * 8388608.0 - r.adr;
    } else if (system == kGlo && r.prn < 62 && raw->geph[r.prn - 38].sat != sat) {
        raw->geph[r.prn - 38].frq = static_cast<std::int8_t>(r.channel);
    }

    raw->locktime[sat - 1][slot] = r.locktime;
    raw->halfc[sat - 1][slot] = bit(r.status, 28) ? 1 : 0;
    int lli = r.locktime < 0.0f ? 1 : 0;
    if (!bit(r.status, 11)) {
        lli += 2;
        phase = 0.0;
    } else if (!bit(r.status, 10)) {
        phase = 0.0;
    }

    if (raw->nobs >= 80) return;
    int i = 0;
    while (i < raw->nobs && raw->obs[i].sat != sat) ++i;
    if (i == raw->nobs) {
        raw->obs_tow = raw->tow;
        raw->obs[i].sat = static_cast<std::uint8_t>(sat);
        ++raw->nobs;
    }
    obsd_t& obs = raw->obs[i];
    obs.P[slot] = r.pseudorange;
    obs.L[slot] = phase;
    obs.D[slot] = r.doppler;
    const double strength = r.cn0 >= 0.0f && r.cn0 < 255.0f ? r.cn0 * 4.0 : 0.0;
    obs.SNR[slot] = compressed ? static_cast<int>(strength + 0.5) % 256 : strength;
    obs.LLI[slot] = static_cast<std::uint8_t>(lli);
    if (compressed) obs.code[slot] = signal.code;
}

int decode_ranges(raw_t* raw, bool compressed)
{
    const long long size = compressed ? 24 : 44;
    if (raw->len < 32) return -1;
    const long long n = get<std::uint32_t>(raw->buff + 28);
    if (raw->len < 32 + size * n) return -1;

    double step = raw->tow - raw->obs_tow;
    if (step > 302400.0)
        step -= 604800.0;
    else if (step < -302400.0)
        step += 604800.0;
    if (std::fabs(step) > (compressed ? 0.001 + 1e-9 : 1e-9)) {
        raw->nobs = 0;
        std::memset(raw->obs, 0, sizeof raw->obs);
    }
    for (long long i = 0; i < n; ++i) {
        const std::uint8_t* p = raw->buff + 32 + size * i;
        store(raw, compressed ? read_compressed(p) : read_full(p), compressed);
    }
    raw->obs_tow = raw->tow;
    return 1;
}

bool filtered(const raw_t* raw, int week, double tow)
{
    if (raw->ts_ena != 0 && (week - raw->ts_week) * 604800 + (tow - raw->ts_tow) < 0.0) return true;
    return raw->te_ena != 0 && (week - raw->te_week) * 604800 + (tow - raw->te_tow) > 0.0;
}

int decode_frame(raw_t* raw)
{
    const std::uint8_t* p = raw->buff;
    if (plain::crc32(p, raw->len) != get<std::uint32_t>(p + raw->len)) return -1;
    const int id = get<std::uint16_t>(p + 4);
    const int week = get<std::uint16_t>(p + 14);
    if (p[13] == 20 || week == 65535 || (p[6] >> 4 & 3) != 0) return 0;
    if (week == 0 && (id == 43 || id == 140 || id == 1273)) return 0;
    const double tow = get<std::uint32_t>(p + 16) * 0.001;
    if (filtered(raw, week, tow)) return 0;
    raw->week = static_cast<std::uint16_t>(week);
    raw->tow = tow;
    if (id == 43) return decode_ranges(raw, false);
    if (id == 140) return decode_ranges(raw, true);
    return 0;
}

}   // namespace

std::uint32_t plain::crc32(const std::uint8_t* data, int len)
{
    std::uint32_t crc = 0;
    for (int i = 0; i < len; ++i) {
        crc ^= data[i];
        for (int k = 0; k < 8; ++k) crc = (crc & 1) != 0 ? crc >> 1 ^ 0xEDB88320 : crc >> 1;
    }
    return crc;
}

int plain::input_byte(raw_t* raw, std::uint8_t byte)
{
    if (raw->nbyte == 0) {
        raw->buff[0] = raw->buff[1];
        raw->buff[1] = raw->buff[2];
        raw->buff[2] = byte;
        if (raw->buff[0] == 0xAA && raw->buff[1] == 0x44 && raw->buff[2] == 0x12) raw->nbyte = 3;
        return 0;
    }
    raw->buff[raw->nbyte++] = byte;
    if (raw->nbyte == 10) {
        raw->len = get<std::uint16_t>(raw->buff + 8) + 28;
        if (raw->len <= 8188) return 0;
        raw->nbyte = 0;
        return -1;
    }
    if (raw->nbyte < 10 || raw->nbyte < raw->len + 4) return 0;
    raw->nbyte = 0;
    return decode_frame(raw);
}
