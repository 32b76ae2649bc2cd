#include "sky/signals.h"

#include "gnss/foundation/satellites.h"

namespace sky {

namespace {

constexpr double kL1 = kFrequencyL1;
constexpr double kL2 = 1227.60e6;
constexpr double kL5 = 1176.45e6;
constexpr double kE5b = 1207.14e6;   // also BeiDou B2
constexpr double kE5 = 1191.795e6;
constexpr double kE6 = 1278.75e6;
constexpr double kB1 = 1561.098e6;
constexpr double kB3 = 1268.52e6;

// Group delays grow with the inverse square of the frequency.
constexpr double gamma(double f)
{
    return (kL1 / f) * (kL1 / f);
}

// Remainders of the PRN by 4, as bits.
enum { kAll = 0b1111, k0 = 0b0001, k1 = 0b0010, k2 = 0b0100, k3 = 0b1000 };

// Galileo: the I/NAV clock belongs to E1 with E5b, so E1 and E5b are corrected with BGD E1/E5b alone; what
// remains for E5a follows from the F/NAV clock describing the same satellite. BeiDou: the clock belongs to B3;
// PRN 1..5 are geostationary, up to 10 inclined, up to kLastBds2 the rest of the second generation; 59 and more are
// the geostationary ones of the third. The last rows have what only some boards send, one type of no known meaning too.
constexpr int kFirst = 0, kLast = 999;   // PRNs: every satellite

// clang-format off
const signal_t kSignals[] = {
    // system  type frequency step     delay1                delay2                  PRNs                         remainders, extra
    {SYS_GPS,  0, kL1,      0,       1,                    0,                      kFirst,        kLast,     kAll},
    {SYS_GPS,  5, kL2,      0,       gamma(kL2),           0,                      kFirst,        kLast,     k2},
    {SYS_GPS,  9, kL2,      0,       gamma(kL2),           0,                      kFirst,        kLast,     k0 | k3},
    {SYS_GPS, 17, kL2,      0,       gamma(kL2),           0,                      kFirst,        kLast,     k1},
    {SYS_GPS, 14, kL5,      0,       gamma(kL5),           0,                      kFirst,        kLast,     k0 | k2},
    {SYS_GPS, 16, kL1,      0,       1,                    0,                      kFirst,        kLast,     k0},
    {SYS_GLO,  0, 1602e6,   562.5e3, 0,                    0,                      kFirst,        kLast,     kAll},
    {SYS_GLO,  1, 1246e6,   437.5e3, 1,                    0,                      kFirst,        kLast,     kAll},
    {SYS_GAL,  1, kL1,      0,       0,                    1,                      kFirst,        kLast,     k0},
    {SYS_GAL,  2, kL1,      0,       0,                    1,                      kFirst,        kLast,     k1 | k2 | k3},
    {SYS_GAL, 17, kE5b,     0,       0,                    gamma(kE5b),            kFirst,        kLast,     kAll},
    {SYS_GAL, 12, kL5,      0,       gamma(kL5) - 1,       1,                      kFirst,        kLast,     kAll},
    {SYS_GAL, 20, kE5,      0,       (gamma(kL5) - 1) / 2, (1 + gamma(kE5b)) / 2,  kFirst,        kLast,     kAll},
    {SYS_GAL,  7, kE6,      0,       0,                    gamma(kE6),             kFirst,        kLast,     kAll},
    {SYS_BDS,  4, kB1,      0,       1,                    0,                      kFirst,        5,         kAll},
    {SYS_BDS,  0, kB1,      0,       1,                    0,                      6,             58,        kAll},
    {SYS_BDS,  5, kE5b,     0,       0,                    1,                      kFirst,        5,         kAll},
    {SYS_BDS, 17, kE5b,     0,       0,                    1,                      6,             10,        kAll},
    {SYS_BDS,  1, kE5b,     0,       0,                    1,                      11,            kLastBds2, kAll},
    {SYS_BDS, 12, kL5,      0,       0,                    1,                      kLastBds2 + 1, 58,        kAll},
    {SYS_BDS,  6, kB3,      0,       0,                    0,                      kFirst,        5,         kAll},
    {SYS_BDS, 21, kB3,      0,       0,                    0,                      6,             10,        kAll},
    {SYS_BDS,  2, kB3,      0,       0,                    0,                      11,            58,        kAll},
    {SYS_BDS,  7, kL1,      0,       1,                    0,                      kLastBds2 + 1, 58,        kAll},
    {SYS_QZS,  0, kL1,      0,       1,                    0,                      kFirst,        kLast,     kAll},
    {SYS_QZS, 17, kL2,      0,       gamma(kL2),           0,                      kFirst,        kLast,     kAll},
    {SYS_QZS, 14, kL5,      0,       gamma(kL5),           0,                      kFirst,        kLast,     kAll},
    {SYS_QZS, 16, kL1,      0,       1,                    0,                      kFirst,        kLast,     kAll},
    {SYS_SBS,  0, kL1,      0,       0,                    0,                      kFirst,        kLast,     kAll},
    {SYS_GPS,  9, kL2,      0,       gamma(kL2),           0,                      kFirst,        kLast,     k1 | k2,      true},
    {SYS_GPS, 17, kL2,      0,       gamma(kL2),           0,                      kFirst,        kLast,     k0 | k2 | k3, true},
    {SYS_GPS,  6, kL5,      0,       gamma(kL5),           0,                      kFirst,        kLast,     k0 | k1,      true},
    {SYS_GLO,  5, 1246e6,   437.5e3, 1,                    0,                      kFirst,        kLast,     k0 | k2 | k3, true},
    {SYS_GAL,  1, kL1,      0,       0,                    1,                      kFirst,        kLast,     k1 | k2,      true},
    {SYS_GAL,  2, kL1,      0,       0,                    1,                      kFirst,        kLast,     k0,           true},
    {SYS_GAL,  6, kE6,      0,       0,                    gamma(kE6),             kFirst,        kLast,     k2,           true},
    {SYS_BDS, 17, kE5b,     0,       0,                    1,                      kLastBds2 + 1, kLast,     kAll,         true},
    {SYS_BDS,  9, kL5,      0,       0,                    1,                      kLastBds2 + 1, 58,        k0 | k1 | k2, true},
    {SYS_BDS,  8, kL1,      0,       1,                    0,                      kLastBds2 + 1, 58,        k1 | k2 | k3, true},
    {SYS_BDS, 21, kB3,      0,       0,                    0,                      kLastBds2 + 1, 58,        k1,           true},
    {SYS_BDS,  4, kB1,      0,       1,                    0,                      59,            kLast,     kAll,         true},
    {SYS_BDS,  6, kB3,      0,       0,                    0,                      59,            kLast,     kAll,         true},
    {SYS_QZS,  6, kL5,      0,       gamma(kL5),           0,                      kFirst,        kLast,     k0 | k1,      true},
    {SYS_SBS,  5, kL5,      0,       0,                    0,                      kFirst,        kLast,     k0 | k3,      true},
};
// clang-format on

}   // namespace

std::span<const signal_t> signals()
{
    return kSignals;
}

bool sent_by(const signal_t& signal, int system, int prn)
{
    return signal.system == system && prn >= signal.first_prn && prn <= signal.last_prn &&
           (signal.remainders >> prn % 4 & 1) != 0;
}

namespace {

std::uint32_t status_system(int system)
{
    switch (system) {
        case SYS_GLO:
            return 1;
        case SYS_SBS:
            return 2;
        case SYS_GAL:
            return 3;
        case SYS_BDS:
            return 4;
        case SYS_QZS:
            return 5;
        default:
            return 0;
    }
}

}   // namespace

std::uint32_t tracking_status(const signal_t& signal, int channel, const lock_t& lock)
{
    constexpr std::uint32_t kPhaseLockLoop = 4;
    const auto bit = [](bool set, int at) { return std::uint32_t{set} << at; };
    return kPhaseLockLoop | static_cast<std::uint32_t>(channel & 31) << 5 | bit(lock.phase, 10) | bit(lock.parity, 11) |
           bit(lock.code, 12) | status_system(signal.system) << 16 | static_cast<std::uint32_t>(signal.type) << 21 |
           bit(lock.half_cycle, 28);
}

}   // namespace sky
