/// @file rtk_gnss.h  Receiver data record, log decoder and RINEX writers.
///
/// Units are metres, seconds, radians, cycles and hertz unless a field says otherwise. Time is a GPS
/// week and seconds of week, 0..604800. The caller owns every record and FILE; nothing here allocates,
/// locks, logs or throws. One thread per raw_t; the leap-second count and the observation writer's
/// interval detection are shared by the whole process: one decoder and one observation file at a time.
///
/// Sizes and offsets are those of a 64-bit little-endian host and part of the interface.
#ifndef RTK_GNSS_H
#define RTK_GNSS_H

#include <cstddef>
#include <cstdint>
#include <cstdio>

#include "rtk_utils_api.h"

// ===================================================================================================
// 1. The record
// ===================================================================================================
//
// What is decoded from a receiver's log, what a RINEX file is written with, and how both begin.

/// Satellite systems as bits, so that sets can be masked.
enum gnss_system_t : int {
    SYS_NONE = 0,   ///< no system, or one that is not known
    SYS_GPS = 1,    ///< GPS, G in RINEX
    SYS_GLO = 4,    ///< GLONASS, R
    SYS_GAL = 8,    ///< Galileo, E
    SYS_QZS = 16,   ///< QZSS, J
    SYS_BDS = 32,   ///< BeiDou, C
    SYS_SBS = 64,   ///< SBAS, S
};

constexpr int kMaxSat = 170;   ///< highest satellite number; per-satellite tables have this many rows
constexpr int kMaxObs = 80;    ///< satellites of one epoch
constexpr int kNumSlots = 5;   ///< signal slots of one satellite

/// Observations of one satellite at one epoch, up to five signals (slots 0..4).
struct obsd_t {
    std::uint8_t sat;               ///< satellite number 1..170, 0: empty entry
    double P[8];                    ///< pseudorange (m), slots 0..4 used
    double L[8];                    ///< carrier phase (cycles), 0: none; slots 0..4 used
    std::uint8_t reserved[40];      ///< not written by the decoder
    float D[kNumSlots + 1];         ///< Doppler (Hz), one spare
    double SNR[kNumSlots];          ///< carrier-to-noise density ratio (0.25 dB-Hz), 0: none
    std::uint8_t LLI[kNumSlots];    ///< bit 0: loss of lock, bit 1: half-cycle ambiguity
    std::uint8_t code[kNumSlots];   ///< observation code number, 0: not set; only compressed range messages set it
};

/// Keplerian broadcast ephemeris of a GPS, QZSS or BeiDou satellite.
struct eph_t {
    std::uint8_t sat;               ///< satellite number, 0: empty entry
    std::int16_t iode;              ///< issue of data, ephemeris (BeiDou: AODE)
    std::int16_t iodc;              ///< issue of data, clock (BeiDou: AODC)
    std::uint16_t ura_index;        ///< SV accuracy index 0..15, 15: no prediction
    std::uint8_t health;            ///< SV health, 0: healthy; all 6 bits from MSG_RAW_GPS_EPHEMERIS, else bit 0 alone
    std::uint16_t week;             ///< GPS week (BeiDou: BeiDou week + 1356)
    std::int16_t aux_flag;          ///< codes on L2; printed by BeiDou in a spare field, while GPS and QZSS print 1
    std::int16_t l2p_flag;          ///< L2 P data flag; printed by GPS, QZSS and BeiDou
    double toe;                     ///< reference time of the orbit, seconds of week (BeiDou: BeiDou time)
    double toc;                     ///< reference time of the clock, seconds of week (BeiDou: BeiDou time)
    double A;                       ///< semi-major axis (m), not its square root
    double e;                       ///< eccentricity
    double i0;                      ///< inclination at toe (rad)
    double omega0;                  ///< longitude of the ascending node at the start of the week (rad)
    double omega;                   ///< argument of perigee (rad)
    double M0;                      ///< mean anomaly at toe (rad)
    double delta_n;                 ///< mean motion difference (rad/s)
    double omega_dot;               ///< rate of the right ascension (rad/s)
    double idot;                    ///< rate of the inclination (rad/s)
    double crc;                     ///< cosine correction of the orbit radius (m)
    double crs;                     ///< sine correction of the orbit radius (m)
    double cuc;                     ///< cosine correction of the argument of latitude (rad)
    double cus;                     ///< sine correction of the argument of latitude (rad)
    double cic;                     ///< cosine correction of the inclination (rad)
    double cis;                     ///< sine correction of the inclination (rad)
    std::uint8_t fit;               ///< fit interval flag as transmitted; set by messages of raw subframes and of QZSS
    std::uint8_t fit_reserved[7];   ///< not read
    double af0;                     ///< clock bias (s)
    double af1;                     ///< clock drift (s/s)
    double af2;                     ///< clock drift rate (s/s^2)
    double tgd;                     ///< group delay (s); BeiDou: TGD1
    double tgd2;                    ///< BeiDou: TGD2 (s)
};

/// GLONASS broadcast ephemeris: state vector in PZ-90 and clock.
struct geph_t {
    std::uint8_t sat;        ///< satellite number 79..102, 0: empty entry
    std::uint16_t iode;      ///< issue of data (7 bits)
    std::int8_t frq;         ///< frequency channel -7..6
    std::uint8_t svh;        ///< health, 0: healthy
    std::uint8_t reserved;   ///< not read
    std::uint8_t age;        ///< age of the operational information (days)
    std::uint16_t week;      ///< GPS week number that goes with toe
    double toe;              ///< reference time, seconds of week, GLONASS time (UTC + 3 h)
    double tof;              ///< message frame time, seconds of week, GLONASS time
    double pos[3];           ///< position (m)
    double vel[3];           ///< velocity (m/s)
    double acc[3];           ///< luni-solar acceleration (m/s^2)
    double taun;             ///< clock bias (s)
    double gamn;             ///< relative frequency bias
    double dtaun;            ///< delay between L1 and L2 (s)
    double tof_alt;          ///< message frame time as tof, printed in RINEX 2
};

/// SBAS broadcast ephemeris: state vector and clock.
struct seph_t {
    std::uint8_t index;   ///< satellite index 1..25 (1 is PRN 120), 0: empty entry
    std::uint8_t iodn;    ///< issue of data navigation
    std::uint8_t ura;     ///< accuracy code
    std::uint16_t t0;     ///< reference time of day (16 s)
    double pos[3];        ///< ECEF position (m)
    float vel[3];         ///< velocity (m/s)
    float acc[3];         ///< acceleration (m/s^2)
    float af0;            ///< clock offset (s)
    float af1;            ///< clock drift (s/s)
};

/// Clock polynomial of one Galileo message type.
struct gal_clock_t {
    double toc;   ///< reference time, seconds of week
    double af0;   ///< bias (s)
    double af1;   ///< drift (s/s)
    double af2;   ///< drift rate (s/s^2)
};

/// Galileo broadcast ephemeris. Arrays of three are in the order E1B, E5a, E5b.
struct galeph_t {
    std::uint8_t sat;           ///< satellite number 103..138, 0: empty entry
    std::uint8_t sisa;          ///< signal-in-space accuracy index 0..255
    std::uint16_t iodnav;       ///< issue of data (10 bits)
    std::uint16_t week;         ///< GPS week that goes with toe
    std::uint8_t inav;          ///< 1: the I/NAV clock was received
    std::uint8_t fnav;          ///< 1: the F/NAV clock was received
    std::uint8_t health[3];     ///< signal health 0..3, 0: healthy
    std::uint8_t validity[3];   ///< data validity, 0: valid
    double toe;                 ///< reference time of the orbit, seconds of week
    double sqrtA;               ///< square root of the semi-major axis (m^0.5)
    /// As the field of the same name in eph_t.
    /// @{
    double e, i0, omega0, omega, M0, delta_n, omega_dot, idot;
    double crc, crs, cuc, cus, cic, cis;
    /// @}
    gal_clock_t inav_clock;     ///< clock of I/NAV, of worth when inav is 1
    gal_clock_t fnav_clock;     ///< clock of F/NAV, of worth when fnav is 1
    double bgd_e5a;             ///< broadcast group delay E1/E5a (s)
    double bgd_e5b;             ///< broadcast group delay E1/E5b (s)
    std::uint8_t reserved[8];   ///< not read
};

/// Stop-and-go block as it came.
struct stop_and_go_t {
    double value[7];      ///< seven values of the host's concern, no writer prints them
    std::uint32_t word;   ///< the word behind them
};

/// Everything decoded from one receiver's log. Large: keep it on the heap or static, and call
/// Initial_raw() before use.
struct raw_t {
    std::uint8_t reserved0[5];      ///< not touched by the decoder
    std::uint8_t sng_flag;          ///< 1: the last stop-and-go message carried data
    std::uint8_t opt_nosigmap;      ///< host option, non-zero: the override flag never moves a signal to slot 2
    std::uint8_t opt_rawprn;        ///< host option, non-zero: satellite numbers by fixed offsets of the PRN
    std::uint16_t week;             ///< GPS week of the last message; MSG_BDS_EPHEMERIS leaves that of toe
    double tow;                     ///< seconds of week of the last message; MSG_MARK_TIME leaves the event's, and toe
                                    ///< stays of MSG_GPS_EPHEMERIS, MSG_QZSS_EPHEMERIS, MSG_BDS_EPHEMERIS and
                                    ///< MSG_GAL_INAV_EPHEMERIS
    std::uint8_t nobs;              ///< used entries of obs, 0..80
    double obs_tow;                 ///< seconds of week of the epoch in obs
    obsd_t obs[kMaxObs];            ///< current epoch
    std::uint8_t reserved1[104];    ///< not used
    std::uint16_t leaps;            ///< GPS - UTC (s) from the last ionosphere/UTC message
    double ion_gps[8];              ///< Klobuchar alpha 0..3 (s, s/semicircle, ...), beta 0..3
    std::uint8_t reserved2[96];     ///< not used
    eph_t eph[85];                  ///< 0..77: satellite number - 1; 78..84: QZSS 139..145
    galeph_t galeph[36];            ///< PRN - 1
    geph_t geph[24];                ///< slot - 1
    seph_t seph[25];                ///< index - 1
    stop_and_go_t sng;              ///< last stop-and-go message
    char ant_type[31];              ///< antenna type, NUL-terminated
    char rcv_text[4][31];           ///< [0]: site name of stop-and-go events, the host's to set; [1..3]: type, firmware
                                    ///< and serial number of the receiver
    std::uint32_t ant_word1;        ///< first word of the antenna message
    double pos[3];                  ///< receiver position, ECEF X, Y, Z (m)
    float sng_f[3];                 ///< antenna delta of the stop-and-go message: east, north, height (m)
    std::uint32_t ant_word2;        ///< second word of the antenna message, see ant_height()
    std::uint32_t glo_bias_mask;    ///< bit k: glo_bias[k] is known; the host's to set
    std::uint8_t reserved3[4];      ///< not used
    float glo_bias[4];              ///< GLONASS code-phase biases C1C, C1P, C2C, C2P (m); the host's to set
    std::uint8_t reserved4[8];      ///< not used
    std::uint8_t flag;              ///< cleared by Initial_raw
    std::uint16_t eph_sat;          ///< satellite of the ephemeris stored last, 0: unknown
    std::uint8_t reserved5[3400];   ///< not used
    float locktime[kMaxSat][kNumSlots];       ///< lock time (s), row satellite number - 1
    std::uint8_t halfc[kMaxSat][kNumSlots];   ///< half cycle added, row satellite number - 1
    std::uint16_t nbyte;                      ///< framing: bytes held in buff, 0: looking for a frame
    std::int32_t len;                         ///< framing: length of the frame without its CRC
    std::uint8_t buff[8192];                  ///< framing: the frame
    std::uint8_t host_area[64612];            ///< the host's own, never touched
    std::uint8_t ts_ena;                      ///< 1: messages before the start time are ignored
    std::int32_t ts_week;                     ///< start time, GPS week
    double ts_tow;                            ///< start time, seconds of week
    std::uint8_t te_ena;                      ///< 1: messages after the end time are ignored
    std::int32_t te_week;                     ///< end time, GPS week
    double te_tow;                            ///< end time, seconds of week
};

/// Options of a RINEX file and the writers' running state. Texts are NUL-terminated unless they fill
/// their array. Initial_Rnx() sets the defaults; rcvkind is the host's to set.
struct rnx_t {
    std::int32_t lastweek;    ///< GPS week of the last epoch written, -1: none
    std::int32_t version;     ///< RINEX version times 100: 211, 302, 303, 304; others are printed over columns of these
    std::int32_t firstweek;   ///< GPS week of the first epoch
    std::int32_t curweek;     ///< GPS week of the record handed in last
    double firsttow;          ///< seconds of week of the first epoch, negative: none
    double lasttow;           ///< seconds of week of the last epoch, negative: none
    double reserved;          ///< not used
    double interval;          ///< observation interval (s), 0: to be found from the data
    char prog[32];            ///< program name, 20 columns printed
    char runby[32];           ///< who ran it, 20 columns
    char marker[64];          ///< marker name, 60 columns
    char markerno[64];        ///< marker number, 20 columns
    char observer[32];        ///< observer, 20 columns
    char agency[32];          ///< observer's agency, 40 columns
    char rectype[32];         ///< receiver type, 20 columns; board names in it choose the observation types
    char recno[32];           ///< receiver number, 20 columns
    char recver[32];          ///< receiver version, 20 columns
    char antno[32];           ///< antenna number, 20 columns
    char anttype[32];         ///< antenna type and radome, IGS 16 + 4 columns
    char antext[32];          ///< third field of the antenna line, 20 columns
    double apppos[3];         ///< approximate position, ECEF X, Y, Z (m)
    double antdel[3];         ///< antenna delta height, east, north (m)
    std::int32_t rcvkind;     ///< kind of board: 0, 1, 2, 5, 6 or 9
    std::int32_t sys_gps;     ///< 1: GPS and QZSS are written
    std::int32_t sys_glo;     ///< 1: GLONASS is written
    std::int32_t sys_bds;     ///< 1: BeiDou is written
    std::int32_t sys_gal;     ///< 1: Galileo is written
    std::int32_t sys_sbs;     ///< 1: SBAS is written
};

static_assert(sizeof(obsd_t) == 256, "shared with the host");
static_assert(sizeof(eph_t) == 200, "shared with the host");
static_assert(sizeof(geph_t) == 136, "shared with the host");
static_assert(sizeof(seph_t) == 64, "shared with the host");
static_assert(sizeof(galeph_t) == 232, "shared with the host");
static_assert(sizeof(stop_and_go_t) == 64, "shared with the host");
static_assert(sizeof(raw_t) == 131800, "shared with the host");
static_assert(sizeof(rnx_t) == 568, "shared with the host");

/// Prepares a record.
///
/// @param raw   record; null is ignored
/// @param mode  0: everything to zero and ant_type to "KVRCVMODLA"; 1: week and tow to zero; any mode
///              also drops the current epoch and a partial frame. Modes other than 0 keep ephemerides,
///              ionosphere, position, texts, options and the time filter.
RTK_UTILS_API void Initial_raw(raw_t* raw, int mode);

/// Height of the antenna as the antenna message carried it: the 32 bits of ant_word2 as a float.
///
/// @param raw  record; must not be null
/// @return height (m), unchecked: any float, also one that is no number
RTK_UTILS_API float ant_height(const raw_t* raw);

// ===================================================================================================
// 2. Foundation
// ===================================================================================================
//
// Pure functions: satellite numbers, checksums, bit fields, time scales, dates, positions. None of them fails; what is
// outside its range gives the result that its lines say. Only the leap-second count is shared by the process.

// ---- Satellites ----

/// Splits a satellite number.
///
/// @param sat  satellite number: GPS 1..32, BeiDou 33..78, GLONASS 79..102, Galileo 103..138,
///             QZSS 139..145, SBAS 146..170
/// @param prn  out: number within the system, from 1 (SBAS: 1 is PRN 120); may be null
/// @return system (gnss_system_t); 0, with PRN 0, for numbers outside 1..170
RTK_UTILS_API int satsys(int sat, int* prn);

/// Builds a satellite number.
///
/// @param sys  system (gnss_system_t)
/// @param prn  number within the system: GPS 1..32, GLONASS 1..24, Galileo 1..36, QZSS 1..7, BeiDou 1..46
/// @return satellite number; 0 outside these ranges and for SBAS
RTK_UTILS_API unsigned char satno(unsigned char sys, int prn);

/// Wavelength of a satellite's carrier.
///
/// @param sat   satellite number 1..170; any other number counts as a GPS-like satellite
/// @param slot  band, which is the signal slot of the record 0..2 (GLONASS 0..1) but for SBAS, which counts as GPS here
///              and keeps L5 in slot 1, and for B2a of BeiDou, which is not told from B2 in slot 1
/// @param frq   GLONASS frequency channel -7..6; 0 takes the channel usual for the orbital slot
/// @return wavelength (m); 0 when the system has no carrier in that slot
/// @note Carrier frequencies as listed with the observation codes in RINEX 3.04.
RTK_UTILS_API double satwavelen(int sat, int slot, signed char frq);

// ---- Checksums and bit fields ----

/// CRC-32 of the receiver log: reflected polynomial 0xEDB88320, initial value 0, no final inversion.
///
/// @param data  bytes; may be null when len is below 1
/// @param len   number of bytes
/// @return checksum; 0 when len is below 1
RTK_UTILS_API unsigned int crc32(const unsigned char* data, int len);

/// CRC-24Q: polynomial 0x864CFB, initial value 0, not reflected (RTCM 10403, Qualcomm).
///
/// @param data  bytes; may be null when len is below 1
/// @param len   number of bytes
/// @return checksum in the low 24 bits; 0 when len is below 1
RTK_UTILS_API unsigned int crc24q(const unsigned char* data, int len);

/// Reads an unsigned big-endian bit field.
///
/// @param buff  bytes, at least (pos + len + 7) / 8 of them
/// @param pos   first bit; bit 0 is the most significant bit of byte 0
/// @param len   number of bits; of more than 32 the low 32 remain
/// @return value; 0 when len is below 1
RTK_UTILS_API unsigned int getbitu(const unsigned char* buff, int pos, int len);

/// Reads a two's-complement bit field.
///
/// @param buff  bytes, as for getbitu()
/// @param pos   first bit, as for getbitu()
/// @param len   number of bits 1..32; of more the low 32 remain
/// @return value; 0 when len is below 1
RTK_UTILS_API int getbits(const unsigned char* buff, int pos, int len);

/// Reads a sign-magnitude bit field: one sign bit, len - 1 magnitude bits.
///
/// @param buff  bytes, as for getbitu()
/// @param pos   the sign bit, counted as for getbitu()
/// @param len   number of bits 1..32, the sign included
/// @return value
RTK_UTILS_API int getbitg(const unsigned char* buff, int pos, int len);

/// Reads a two's-complement field of 38 bits.
///
/// @param buff  bytes, as for getbitu()
/// @param pos   first bit, as for getbitu()
/// @return value, exact
RTK_UTILS_API double getbits_38(const unsigned char* buff, int pos);

/// Writes a big-endian bit field and leaves all other bits alone.
///
/// @param buff  bytes, at least (pos + len + 7) / 8 of them
/// @param pos   first bit, as for getbitu()
/// @param len   number of bits 1..32; nothing is written for any other
/// @param data  value, of which the low len bits are written
RTK_UTILS_API void setbitu(unsigned char* buff, int pos, int len, unsigned int data);

// ---- Time and place ----

/// GPS - UTC (s), one count for the process, 18 at first. Follows the time last converted to or from UTC or GLONASS
/// time with a week pointer, glot2ws() included; the ionosphere/UTC message can only raise it.
extern RTK_UTILS_API unsigned short g_curleap;

/// Brings seconds of week into the week, by one week at most; exactly 604800 stays.
///
/// @param sec   seconds of week
/// @param week  GPS week, moved with the seconds; null: seconds only
/// @return seconds of week
RTK_UTILS_API double adjweek(double sec, unsigned short* week);

/// Adds seconds to a time: adjweek(sec + add, week).
///
/// @param sec   seconds of week
/// @param add   seconds to add, less than a week in magnitude
/// @param week  GPS week, moved with the seconds; null: seconds only
/// @return seconds of week
RTK_UTILS_API double timeadd(double sec, double add, unsigned short* week);

/// Difference of two times that lie less than half a week apart, whatever their weeks.
///
/// @param sec1  seconds of week
/// @param sec2  seconds of week
/// @return sec1 - sec2 (s), folded into -302400..302400 by one week at most
RTK_UTILS_API double timediff(double sec1, double sec2);

/// BeiDou time to GPS time.
///
/// All conversions take seconds of week and return them, the week goes through the pointer. With a week pointer the UTC
/// and GLONASS conversions look up the leap seconds of that time and keep them in g_curleap; without one they use
/// g_curleap as it is. Times before week 1512 keep its value. BeiDou time is GPS time - 14 s, GLONASS time UTC + 3 h.
///
/// @param sec   seconds of week in the one scale
/// @param week  week that goes with them, counted as GPS week; moved with the seconds. Null: seconds only
/// @return seconds of week in the other scale, of the week before or behind if need be
/// @note Leap seconds as published in IERS Bulletin C.
RTK_UTILS_API double bdt2gpst(double sec, unsigned short* week);

/// GPS time to BeiDou time. @copydetails bdt2gpst
RTK_UTILS_API double gpst2bdt(double sec, unsigned short* week);

/// GPS time to UTC. @copydetails bdt2gpst
RTK_UTILS_API double gpst2utc(double sec, unsigned short* week);

/// UTC to GPS time. @copydetails bdt2gpst
RTK_UTILS_API double utc2gpst(double sec, unsigned short* week);

/// GPS time to GLONASS time. @copydetails bdt2gpst
RTK_UTILS_API double gpst2glot(double sec, unsigned short* week);

/// GLONASS time to GPS time. @copydetails bdt2gpst
RTK_UTILS_API double glot2gpst(double sec, unsigned short* week);

/// Calendar date of a GPS time.
///
/// @param week  GPS week
/// @param tow   seconds of week
/// @param mode  -3.0: seconds as computed; any other value: seconds rounded to 0.01 s, with no carry
///              into the minute (60.00 can appear)
/// @param year, month, day, hour, minute, second  outputs; each may be null
/// @return 1
/// @note After the calendar algorithm of J. Meeus, Astronomical Algorithms.
RTK_UTILS_API int GetCommonTime(int week, double tow, double mode, int* year, int* month, int* day, int* hour,
                                int* minute, double* second);

/// GPS time of a calendar date.
///
/// @param year  1981 or later
/// @param month 1..12
/// @param day   1..31
/// @param hour  at most 24; negative hours and minutes count back from the date
/// @param minute  at most 60
/// @param second  0..60
/// @param week  out: GPS week; may be null
/// @param tow   out: seconds of week; may be null
/// @return 1, or 0 for a date outside these ranges (outputs untouched)
RTK_UTILS_API int GetGpsTime(int year, int month, int day, int hour, int minute, double second, int* week, double* tow);

/// GPS time of a GLONASS date.
///
/// @param n4    four-year interval 1..31, 1 starts in 1996
/// @param nt    day within the interval 1..1461
/// @param tod   second of the day, GLONASS time, 0..86400
/// @param week  out: GPS week; may be null
/// @return seconds of week; 0, with the week untouched, outside these ranges
/// @note Fields N4, NT and tb of the GLONASS interface control document.
RTK_UTILS_API double glot2ws(unsigned int n4, unsigned int nt, unsigned int tod, unsigned short* week);

/// Geodetic position to ECEF on WGS 84.
///
/// @param pos  latitude (rad), longitude (rad), height (m)
/// @param ecef out: X, Y, Z (m)
RTK_UTILS_API void pos2ecef(const double* pos, double* ecef);

// ===================================================================================================
// 3. Decoder
// ===================================================================================================
//
// The receiver's log, byte by byte, block by block or from a file, into the record.
//
//     auto raw = std::make_unique<raw_t>();
//     Initial_raw(raw.get(), 0);
//     for (int n = size; n > 0;) {                                // bytes that a port has given
//         const int kind = input_korvexb(raw.get(), data + size - n, &n);
//         if (kind == DECODE_OBS) ...                             // raw->obs, before the next epoch's first message
//         if (kind == DECODE_EPH) ...                             // of raw->eph_sat
//     }
//
// A frame is refused for its checksum, its length or impossible contents; of the record only the time may have moved
// then. Messages are kept as the record has room for: a number is narrowed as its field says, a satellite that has no
// number here is dropped.

/// Messages of the log by their number in the frame's header. docs/formats/log-frame.md describes the frame (installed:
/// share/doc/librtk-utils-dev/formats).
enum log_message_t : int {
    MSG_GPS_EPHEMERIS = 7,             ///< GPS ephemeris; PRN 33 and up: QZSS
    MSG_ION_UTC = 8,                   ///< ionosphere and UTC
    MSG_VERSION = 37,                  ///< receiver version
    MSG_RAW_GPS_EPHEMERIS = 41,        ///< raw GPS subframes 1 to 3
    MSG_POSITION = 42,                 ///< geodetic position
    MSG_RANGE = 43,                    ///< range observations
    MSG_RANGE_COMPRESSED = 140,        ///< compressed range observations
    MSG_MARK_TIME = 231,               ///< time of an event at the receiver's input
    MSG_ECEF_POSITION = 241,           ///< ECEF position
    MSG_SBAS_EPHEMERIS = 601,          ///< SBAS ephemeris
    MSG_GLONASS_EPHEMERIS = 723,       ///< GLONASS ephemeris
    MSG_VISIBILITY = 1043,             ///< satellite visibility, dropped
    MSG_BDS_EPHEMERIS_SECOND = 1047,   ///< BeiDou ephemeris, second form
    MSG_GAL_EPHEMERIS = 1122,          ///< Galileo ephemeris, both clocks
    MSG_RANGE_OTHER = 1273,            ///< a range message that is not decoded
    MSG_GAL_INAV_EPHEMERIS = 1309,     ///< Galileo ephemeris, I/NAV
    MSG_QZSS_EPHEMERIS = 1336,         ///< QZSS ephemeris
    MSG_ANTENNA = 1421,                ///< antenna type
    MSG_BDS_EPHEMERIS = 1696,          ///< BeiDou ephemeris
    MSG_STOP_AND_GO = 11111,           ///< stop-and-go record
};

/// What a frame brought. The three input functions return one of these.
enum decode_result_t : int {
    DECODE_EOF = -2,           ///< end of file, also inside a frame, or read error (file form only)
    DECODE_REFUSED = -1,       ///< checksum wrong, body too short or announced as too long, contents impossible
    DECODE_NOTHING = 0,        ///< nothing new
    DECODE_OBS = 1,            ///< observations in raw_t.obs
    DECODE_EPH = 2,            ///< ephemeris of raw_t.eph_sat
    DECODE_MARK = 4,           ///< mark time in raw_t.tow
    DECODE_STATION = 5,        ///< position, antenna type or receiver version
    DECODE_ION_UTC = 9,        ///< ionosphere and leap seconds
    DECODE_STOP_AND_GO = 10,   ///< stop-and-go record
};

/// Takes one byte of the receiver log.
///
/// @param raw   record to update; keeps a partial frame between calls
/// @param data  the byte
/// @return decode_result_t; 0 while no frame is complete, -1 also for a header that announces more than
///         8160 body bytes
RTK_UTILS_API int input_korvex(raw_t* raw, unsigned char data);

/// Takes bytes of the receiver log until one frame is complete or the bytes run out.
///
/// @param raw   record to update; keeps a partial frame between calls
/// @param data  bytes to read from the first on; not kept
/// @param n     in: bytes in data; out: bytes not yet read. Call again with data advanced by the
///              difference while it is not 0
/// @return decode_result_t; 0 when no frame was completed and for a header that announces too much
RTK_UTILS_API int input_korvexb(raw_t* raw, const unsigned char* data, int* n);

/// Reads one frame of the receiver log from a file.
///
/// @param raw   record to update
/// @param file  stream opened for reading in binary mode; null gives 0
/// @param mode  7: step over the frame without decoding it
/// @return decode_result_t; -2 at the end of the file; 0 also when 4097 bytes held no frame (call again)
RTK_UTILS_API int input_korvexf(raw_t* raw, std::FILE* file, int mode);

/// Takes a message of satellite visibility, of which nothing is kept.
///
/// @param raw  record, left alone; may be null
RTK_UTILS_API void decode_satvisb(raw_t* raw);

// ===================================================================================================
// 4. RINEX
// ===================================================================================================
//
// Observation files, navigation files and the position listing, written from the record.
//
//     rnx_t options{};
//     Initial_Rnx(&options);                                      // once a file, before its header
//     options.version = 304;
//     options.rcvkind = 9;                                        // no default: the host's to set
//     std::strcpy(options.rectype, "KV4A0");                      // the board's name
//     WriteRinexObsHeader(file, raw, &options);                   // file opened with "w+b": headers are patched
//     WriteRinexObsRec(file, raw, &options, 0.0);                 // each epoch
//     WriteRinexObsApppos(file, raw, &options);                   // at the end
//     WriteRinexObsLastEpoch(file, &options);
//
// The header fits the epochs with "KV4A0" or "KV3A0" in rectype and any rcvkind but 1 (2.11 with BeiDou: and 6).
// Without such a name it lacks satellites and signals that follow: with rcvkind 9 SBAS, unless sys_sbs is 0.
//
// Writers check no write: look at ferror() before fclose(), which hides errors. Texts come out in ASCII columns with
// control characters as blanks, numbers with a decimal point whatever the locale.

// ---- Observation files ----

/// Sets the defaults of a RINEX file and resets the observation writer's process-wide state.
///
/// @param opt  options; must not be null. rcvkind, firstweek and curweek keep their values
/// @return 1
RTK_UTILS_API int Initial_Rnx(rnx_t* opt);

/// Writes an observation header at the start of the stream.
///
/// @param fp   stream opened for update
/// @param raw  record: time of the first epoch, and for some boards the code of slot 1 in its first entry, which names
///             the signal on L2
/// @param opt  version, texts, systems and kind of board
/// @return 1; 0 when a pointer is null. Write errors are the stream's to report (ferror)
/// @note RINEX 2.11 and 3.02-3.04, International GNSS Service / RTCM SC-104.
RTK_UTILS_API int WriteRinexObsHeader(std::FILE* fp, const raw_t* raw, const rnx_t* opt);

/// Output rate that asks WriteRinexObsRec() for an event mark.
constexpr double kEventMarkRate = -3.0;

/// Appends one epoch in RINEX 3 form; below version 300 as WriteRinexObsRec_2() does.
///
/// @param fp    stream, positioned at its end; opened for update, since a newly found interval makes
///              the writer rewrite the header. A stream that only appends or cannot seek keeps its first header
/// @param raw   record with the epoch
/// @param opt   options; the running state is updated
/// @param rate  0.0: every epoch; kEventMarkRate: an event mark instead of data; otherwise the output interval
///              asked for (s), which takes effect once the data's own interval is known and if it is a multiple of
///              that; epochs off the grid of the interval in force are left out from then on
/// @return 1 written; 0 null pointer or off the output grid; -1 of an earlier week than the last epoch and with a
///         smaller second of week. Other steps back in time are written
RTK_UTILS_API int WriteRinexObsRec(std::FILE* fp, const raw_t* raw, rnx_t* opt, double rate);

/// Appends one epoch with signal slot 2 of every satellite, in the form of RINEX 2.11 or, from version 300 on, 3.
///
/// In RINEX 2.11 it fills the columns of L1 for GPS, L2 for GLONASS and B2 for BeiDou: the host moves what belongs
/// there to slot 2, unless the receiver's tracking status has asked for that. These systems follow their switches;
/// others are always counted and have no identifier: leave them out of the record.
/// @copydetails WriteRinexObsRec
RTK_UTILS_API int WriteRinexObsRec_2(std::FILE* fp, const raw_t* raw, rnx_t* opt, double rate);

/// Patches the receiver, INTERVAL and TIME OF LAST OBS lines of the header at the end of a recording.
///
/// @param fp   stream opened for reading and writing; left at its end. One that only appends or cannot be read is
///             not patched
/// @param opt  options with the last epoch and the interval
/// @return 1; 0 when a pointer is null
RTK_UTILS_API int WriteRinexObsLastEpoch(std::FILE* fp, const rnx_t* opt);

/// Patches the receiver, antenna, position and antenna-delta lines of the header; for board kind 2 the
/// GLONASS biases too.
///
/// @param fp   stream opened for reading and writing; its position is kept
/// @param raw  record: position, antenna type and height
/// @param opt  options; the position is copied into apppos
/// @return 1; 0 when a pointer is null
RTK_UTILS_API int WriteRinexObsApppos(std::FILE* fp, const raw_t* raw, rnx_t* opt);

/// Writes the event record of a stop-and-go message at the stream's position.
///
/// @param fp   stream
/// @param raw  record: sng_flag 0 moving, 1 new site (rcv_text[0], pos, sng_f). The decoder sets no other; another
///             writes a site without antenna, named by the bytes at the start of the record, and up to version 300
///             nothing
/// @param opt  options; a new site's position is copied into apppos
/// @return 1. No pointer may be null
RTK_UTILS_API int WriteStopAndGoInfo(std::FILE* fp, const raw_t* raw, rnx_t* opt);

/// Writes week, seconds, date and ECEF position (m) as one line of a position listing.
///
/// @param fp   stream, written to at its position
/// @param raw  record: week, tow and pos
/// @return 1; 0 when a pointer is null
RTK_UTILS_API int WriteBestxyzFile(std::FILE* fp, const raw_t* raw);

/// Order of two obsd_t by satellite number, for qsort.
///
/// @param p1  first obsd_t
/// @param p2  second obsd_t
/// @return 1 when the first number is greater, else -1: never 0, the order of equal numbers is open
RTK_UTILS_API int cmpobs(const void* p1, const void* p2);

// ---- Navigation files ----

/// Writes a navigation header in RINEX 2.11 or RINEX 3 form, as the version asks.
///
/// GPS, GLONASS and BeiDou change over at version 300, QZSS at 301. Galileo and mixed headers exist from
/// 300 on only: below, nothing is written and the result is 1. The headers of GPS, QZSS and mixed files go
/// to the start of the stream, the others to its position.
///
/// @param fp   stream, opened for reading and writing when its header is to be patched later
/// @param opt  options; only the version is read
/// @return 1; 0 when a pointer is null. Write errors are the stream's to report (ferror)
/// @note RINEX 2.11 and 3.02-3.04, International GNSS Service / RTCM SC-104. The date is the system's, UTC; December is
///       written as SEP in the RINEX 2.11 form.
RTK_UTILS_API int WriteRinexGpsEphHeader(std::FILE* fp, const rnx_t* opt);

/// The same for QZSS. @copydetails WriteRinexGpsEphHeader
RTK_UTILS_API int WriteRinexQzssEphHeader(std::FILE* fp, const rnx_t* opt);

/// The same for GLONASS; the one header that tells g_curleap. @copydetails WriteRinexGpsEphHeader
RTK_UTILS_API int WriteRinexGloEphHeader(std::FILE* fp, const rnx_t* opt);

/// The same for Galileo. @copydetails WriteRinexGpsEphHeader
RTK_UTILS_API int WriteRinexGalEphHeader(std::FILE* fp, const rnx_t* opt);

/// The same for BeiDou. @copydetails WriteRinexGpsEphHeader
RTK_UTILS_API int WriteRinexBDsEphHeader(std::FILE* fp, const rnx_t* opt);

/// The same for a file of all systems. @copydetails WriteRinexGpsEphHeader
RTK_UTILS_API int WriteRinexALLEphHeader(std::FILE* fp, const rnx_t* opt);

/// Patches the two ionospheric lines of a GPS header.
///
/// @param fp   stream opened for reading and writing whose header the library wrote; left at its end
/// @param ion  Klobuchar alpha 0..3, beta 0..3, as in raw_t.ion_gps; must not be null
/// @param opt  options; only the version is read
/// @return 1; 0 when fp or opt is null
/// @note The RINEX 3 lines are two columns longer than those that they replace and shorten the line of
///       "END OF HEADER" by as much. A stream without a header is left alone.
RTK_UTILS_API int WriteRinexGpsEphIonPara(std::FILE* fp, double* ion, const rnx_t* opt);

/// Patches the leap-second line of a GLONASS header with g_curleap.
///
/// @param fp  stream as for WriteRinexGpsEphIonPara()
/// @return 1; 0 when fp is null
RTK_UTILS_API int WriteRinexGloEphCurleap(std::FILE* fp);

/// Writes a number as navigation files have it: " 0" or "-0", a point, the mantissa, "E" and the exponent.
///
/// @param fp      stream
/// @param value   number; below 1e-99 in magnitude the mantissa is 0; what is not finite is written as 0
/// @param digits  mantissa digits, 12 in records, 4 in the ionospheric lines; held to 1..15
/// @return 1; 0 for a null stream
/// @note The exponent is found before the mantissa is rounded: a mantissa that rounds up to the next power
///       of ten is written with one digit more.
RTK_UTILS_API int WriteRinexNavNum(std::FILE* fp, double value, int digits);

/// Appends the ephemeris of raw_t.eph_sat, if it is of the function's system, as one record.
///
/// GPS, GLONASS and BeiDou records have the RINEX 3 form from version 300 on, those of QZSS and SBAS from
/// 301 on, and the RINEX 2.11 form below; Galileo has none below 300. Nothing remembers earlier records:
/// a repeated call repeats the record.
///
/// @param fp   stream, positioned behind its header or last record
/// @param raw  record; GPS, QZSS and Galileo take the transmission time from raw_t.tow (9.999e8, unknown, when that is
///             0), SBAS its week and day from raw_t.week and tow. An entry of the tables that was never filled is
///             written as zeros
/// @param opt  options; only the version is read
/// @return 1 written; 0 when a pointer is null, the satellite is another system's, or for Galileo below 300
/// @note Epochs: GPS and QZSS toe; BeiDou toc in BeiDou time; Galileo toc (of the I/NAV clock unless only
///       F/NAV was received); GLONASS and SBAS the reference time, GLONASS in UTC.
RTK_UTILS_API int WriteRinexGpsEphRec(std::FILE* fp, const raw_t* raw, const rnx_t* opt);

/// The same for QZSS. @copydetails WriteRinexGpsEphRec
RTK_UTILS_API int WriteRinexQzssEphRec(std::FILE* fp, const raw_t* raw, const rnx_t* opt);

/// The same for GLONASS. @copydetails WriteRinexGpsEphRec
RTK_UTILS_API int WriteRinexGloEphRec(std::FILE* fp, const raw_t* raw, const rnx_t* opt);

/// The same for Galileo. @copydetails WriteRinexGpsEphRec
RTK_UTILS_API int WriteRinexGalEphRec(std::FILE* fp, const raw_t* raw, const rnx_t* opt);

/// The same for SBAS, which has a place in files of all systems only. @copydetails WriteRinexGpsEphRec
RTK_UTILS_API int WriteRinexSBASEphRec(std::FILE* fp, const raw_t* raw, const rnx_t* opt);

/// The same for BeiDou. @copydetails WriteRinexGpsEphRec
///
/// @param pad_spares  1: the last line gets its two spare fields as zeros; otherwise it ends without them
RTK_UTILS_API int WriteRinexBDsEphRec(std::FILE* fp, const raw_t* raw, const rnx_t* opt, signed char pad_spares);

#endif
