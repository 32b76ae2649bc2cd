// What the decoder makes of every message, of every byte of it turned, of every shorter body and of damage: the record
// after each frame, by three ways in that must agree.
#include <gtest/gtest.h>

#include <cmath>

#include "gnss/foundation/wire.h"
#include "gnss/log/frame.h"
#include "gnss/log/galileo.h"
#include "gnss/log/glonass.h"
#include "gnss/log/kepler.h"
#include "gnss/log/range.h"
#include "gnss/log/sbas.h"
#include "gnss/log/signals.h"
#include "gnss/log/station.h"
#include "gnss/log/subframes.h"
#include "sky/random.h"
#include "support/digest.h"
#include "support/frame_builder.h"
#include "support/log_ways.h"
#include "support/temporary_folder.h"

namespace {

using sky::random_t;

constexpr std::size_t kHeader = 28, kCrc = 4;

// One frame of each message, made by the simulator.
std::vector<Bytes> every_message()
{
    const std::string log = contents_of(RTK_UTILS_TEST_DATA "/every_message.log");
    std::vector<Bytes> frames;
    for (auto at = log.begin(); at != log.end();) {
        const auto end = at + kHeader + ((at[8] & 0xFF) | (at[9] & 0xFF) << 8) + kCrc;
        frames.emplace_back(at, end);
        at = end;
    }
    return frames;
}

// "7_31" of GPS ephemeris 31.
std::string name_of(const Bytes& frame)
{
    return std::to_string(frame[4] | frame[5] << 8) + "_" + std::to_string(frame[kHeader]);
}

// With the right checksum.
Bytes sealed(const Bytes& frame)
{
    return FrameBuilder(frame).bytes();
}

Bytes with_turned_byte(Bytes frame, std::size_t at)
{
    frame[at] ^= 0xFF;
    return at < frame.size() - kCrc ? sealed(frame) : frame;
}

Bytes with_shorter_body(Bytes frame, std::size_t size)
{
    frame.resize(kHeader + size + kCrc);
    frame[8] = static_cast<std::uint8_t>(size);
    frame[9] = static_cast<std::uint8_t>(size >> 8);
    return sealed(frame);
}

// What frames made of the record, with their results. The frame buffer is left out, and of the position what a last
// digit of the processor's sine may move.
struct Steps {
    std::vector<std::pair<int, std::uint64_t>> seen;
    std::unique_ptr<raw_t> raw = new_record();

    Steps() { g_curleap = 18; }

    void operator()(int result)
    {
        const bool too_long =
            result == DECODE_REFUSED && raw->len > korvex::kMaxLen;   // to which the block form says 0
        if (result != 0 && !too_long) seen.emplace_back(result, record().value());
    }
    Digest record() const
    {
        Digest d;
        d.bytes(raw.get(), offsetof(raw_t, pos)).bytes(raw->sng_f, offsetof(raw_t, nbyte) - offsetof(raw_t, sng_f));
        for (const double x : raw->pos) d.values(std::isfinite(x) ? std::floor(x * 100.0) : 0.0);
        return d.values(g_curleap);
    }
};

// Takes the steps of a log into a digest when all ways in agree on them.
void add_log(Digest& digest, const Bytes& log)
{
    random_t random(log.size());
    Steps bytes;
    by_byte(*bytes.raw, log, std::ref(bytes));
    Steps blocks;
    by_block(
        *blocks.raw, log, [&] { return 1 + random.below(3000); }, std::ref(blocks));
    Steps file;
    by_file(*file.raw, log, 0, std::ref(file));
    ASSERT_EQ(bytes.seen, blocks.seen);
    ASSERT_EQ(bytes.seen, file.seen);
    for (const auto& [result, record] : bytes.seen) digest.values(result, record);
    digest.values(bytes.seen.size());
    g_curleap = 18;
}

TEST(LogDigest, EveryMessageWithEveryByteTurned)
{
    for (const Bytes& frame : every_message()) {
        Digest digest;
        add_log(digest, frame + frame);   // the second time it is known
        for (std::size_t at = 0; at < frame.size(); ++at) add_log(digest, with_turned_byte(frame, at) + frame);
        expect_digest("turned_" + name_of(frame), digest);
    }
}

// Odd values in every field of every message: whole numbers of all sizes, and doubles. Half of them come to a record
// that knows the message.
TEST(LogDigest, EveryMessageWithOddFields)
{
    constexpr double kDoubles[] = {0.0, -1.0, 1.0, 2.8, 7.84, 604799.5, 604800.0, 1e8, 1e300, -HUGE_VAL, NAN, 4096.0};
    constexpr std::uint64_t kWords[] = {0,     1,     2,     25,     26,     33,         39,         40,
                                        62,    200,   255,   604,    1023,   1024,       10782,      20000,
                                        20001, 65535, 86370, 604799, 604800, 0x7FFFFFFF, 0x80000001, 0xFFFFFFFF};
    random_t random(2);
    for (const Bytes& frame : every_message()) {
        Digest digest;
        Steps steps;
        const raw_t fresh = *steps.raw;
        feed(steps.raw.get(), frame);
        const raw_t known = *steps.raw;
        for (std::size_t at = kHeader - 14; at < frame.size() - kCrc; ++at) {
            for (int i = 0; i < 24; ++i) {
                Bytes odd = frame;
                const double x = kDoubles[(i + at) % 12];
                const std::size_t size = i < 12 ? sizeof x : std::size_t{1} << random.below(3);
                std::memcpy(&odd[at], i < 12 ? static_cast<const void*>(&x) : &kWords[random.below(std::size(kWords))],
                            std::min(size, frame.size() - kCrc - at));
                *steps.raw = i % 2 == 0 ? fresh : known;
                g_curleap = 18;
                digest.values(feed(steps.raw.get(), sealed(odd)));
                digest.values(steps.record().value());
            }
        }
        expect_digest("odd_" + name_of(frame), digest);
    }
    g_curleap = 18;
}

TEST(LogDigest, EveryMessageWithEveryShorterBody)
{
    for (const Bytes& frame : every_message()) {
        Digest digest;
        for (std::size_t size = 0; size < frame.size() - kHeader - kCrc; ++size) {
            add_log(digest, with_shorter_body(frame, size));
        }
        expect_digest("shorter_" + name_of(frame), digest);
    }
}

// ---- Range messages ----

sky::range_t any_signal(random_t& random)
{
    constexpr int kFirstPrns[] = {1, 38, 120, 1, 1, 193, 0, 0};
    const auto system = static_cast<unsigned>(random.below(8));
    sky::range_t s = signal(system, static_cast<unsigned>(random.below(32)), kFirstPrns[system]);
    s.prn += static_cast<int>(random.below(random.below(4) == 0 ? 200 : 30));
    s.channel = static_cast<int>(random.below(14)) - 7;
    s.pseudorange = static_cast<double>(random.below(1u << 31)) / 64.0;
    s.phase = static_cast<double>(random.below(1u << 31)) / 8.0 - 4e7;
    s.doppler = static_cast<double>(random.below(1u << 20)) / 256.0 - 2000;
    s.cn0 = static_cast<double>(20 + random.below(32));
    s.lock_time = static_cast<double>(random.below(1u << 20)) / 32.0;
    for (const int bit : {10, 11, 12}) s.status &= ~(std::uint32_t{random.below(8) == 0} << bit);
    for (const int bit : {19, 28}) s.status |= std::uint32_t{random.below(4) == 0} << bit;
    return s;
}

// Signals of all kinds under all options; some messages join the epoch before, some are late or full.
TEST(LogDigest, RangeMessagesOfAnySignals)
{
    for (int options = 0; options < 4; ++options) {
        random_t random(options);
        const auto raw = new_record();
        raw->opt_nosigmap = options & 1;
        raw->opt_rawprn = options > 1;
        Digest digest;
        std::uint32_t ms = 5000;
        for (int i = 0; i < 300; ++i) {
            constexpr std::uint32_t kSteps[] = {0, 0, 0, 1, 2, 1000, 604800000u - 1000};
            ms = (ms + kSteps[random.below(std::size(kSteps))]) % 604800000u;
            std::vector<sky::range_t> signals(random.below(random.below(8) == 0 ? 170 : 20));
            for (sky::range_t& s : signals) s = any_signal(random);
            const auto form = random.below(2) == 0 ? sky::kFullRange : sky::kCompressedRange;
            digest.values(feed(raw.get(), range_frame(signals, form).ms(ms))).bytes(raw.get(), offsetof(raw_t, nbyte));
        }
        for (unsigned at = 0; at < 6 * 256; ++at) {   // every PRN of every system
            const sky::range_t s = signal(at / 256, at / 256 == 3 ? 2 : 0, static_cast<int>(at % 256));
            const auto form = at % 7 < 3 ? sky::kFullRange : sky::kCompressedRange;
            feed(raw.get(), range_frame({s}, form).ms(600000000 + 1000 * at));
            digest.values(raw->nobs, raw->obs[0].sat);
        }
        expect_digest("signals_" + std::to_string(options), digest);
    }
}

TEST(LogDigest, DamagedLog)
{
    Bytes log;
    for (int round = 0; round < 40; ++round)
        for (const Bytes& frame : every_message()) log = log + frame;
    random_t random(9);
    for (std::size_t at = random.below(700); at < log.size(); at += random.below(700)) {
        switch (random.below(3)) {
            case 0:
                log[at] ^= static_cast<std::uint8_t>(1u << random.below(8));
                break;
            case 1:
                log.erase(log.begin() + static_cast<std::ptrdiff_t>(at));
                break;
            default:
                log.insert(log.begin() + static_cast<std::ptrdiff_t>(at), static_cast<std::uint8_t>(0xAA));
        }
    }
    Digest digest;
    add_log(digest, log);
    expect_digest("damaged_log", digest);
}

// ---- Messages as sent ----

void add(Digest& d, const korvex::orbit_t& o)
{
    d.values(o.toe, o.e, o.i0, o.omega0, o.omega, o.M0, o.delta_n, o.omega_dot, o.idot);
    d.values(o.crc, o.crs, o.cuc, o.cus, o.cic, o.cis);
}
void add(Digest& d, const korvex::kepler_t& k)
{
    d.values(k.prn, k.week, k.tow, k.health, k.iode, k.iodc, k.A, k.sqrt_A, k.toc, k.af0, k.af1, k.af2, k.tgd, k.tgd2);
    add(d.values(k.ura, k.fit), k.orbit);
}
void add(Digest& d, const korvex::subframes_t& s)
{
    d.values(s.prn, s.reference_week, s.reference_second, s.ten_bit_week, s.tow, s.codes_on_l2, s.accuracy_index);
    d.values(s.health, s.iodc, s.l2p_flag, s.iode, s.iode3, s.fit_flag, s.aodo, s.sqrt_A, s.toc, s.af0, s.af1, s.af2);
    add(d.values(s.tgd), s.orbit);
}
void add(Digest& d, const korvex::glonass_t& g)
{
    d.values(g.prn, g.channel, g.type, g.week, g.ms, g.time_offset, g.day, g.issue, g.health, g.taun, g.dtaun, g.gamn);
    d.values(g.frame_time, g.flags, g.accuracy_index, g.age).bytes(g.pos, 24).bytes(g.vel, 24).bytes(g.acc, 24);
}
void add(Digest& d, const korvex::galileo_t& g)
{
    d.values(g.prn, g.fnav, g.inav, g.sisa, g.iodnav, g.sqrt_A, g.bgd_e5a, g.bgd_e5b);
    for (const auto& c : {g.fnav_clock, g.inav_clock}) d.values(c.toc, c.af0, c.af1, c.af2);
    add(d.bytes(g.health, 3).bytes(g.validity, 3), g.orbit);
}
void add(Digest& d, const korvex::sbas_t& s)
{
    d.values(s.index, s.iodn, s.ura, s.t0, s.af0, s.af1).bytes(s.pos, 24).bytes(s.vel, 12).bytes(s.acc, 12);
}
void add(Digest& d, const korvex::range_t& r)
{
    d.values(r.prn, r.channel, r.pseudorange, r.pseudorange_sigma, r.adr, r.adr_sigma, r.doppler, r.cn0, r.locktime);
    d.values(r.status);
}
void add(Digest& d, const korvex::trackstat_t& t)
{
    d.values(t.sys, t.type, t.slot, t.code, t.tracking_state, t.phase_lock, t.parity_known, t.code_lock, t.half_cycle);
    d.values(t.slot_override, t.wavelength);
}
void add(Digest& d, const korvex::ion_utc_t& u)
{
    d.bytes(u.alpha, 32).bytes(u.beta, 32).values(u.utc_week, u.utc_second, u.a0, u.a1, u.leap_week, u.leap_day);
    d.values(u.leaps, u.future_leaps);
}
void add(Digest& d, const korvex::version_t& v)
{
    d.bytes(v.text1, 8).bytes(v.text2, 4).bytes(v.text3, 19);
}
void add(Digest& d, const korvex::position_t& p)
{
    d.values(p.status, p.type, p.undulation, p.is_known()).bytes(p.coordinates, 24);
}
void add(Digest& d, const korvex::mark_time_t& m)
{
    d.values(m.tow, m.clock_status);
}
void add(Digest& d, const korvex::antenna_t& a)
{
    d.values(a.type, a.words[0], a.words[1]);
}
void add(Digest& d, const korvex::stop_and_go_record_t& s)
{
    d.values(s.word, s.last_word).bytes(s.values, 56).bytes(s.antenna_delta, 24);
}

// A message of other bytes in every place, and what each of its bytes changes.
template <typename Read>
void expect_reader(const std::string& name, std::size_t size, const Read& read)
{
    Bytes body(size);
    for (std::size_t i = 0; i < size; ++i) body[i] = static_cast<std::uint8_t>(i * 11 + 7);   // no exponent of a NaN
    Digest digest;
    for (std::size_t at = 0; at < size; ++at) {
        body[at] ^= 0x11;
        add(digest, read(body.data()));
    }
    expect_digest("read_" + name, digest);
}

TEST(LogDigest, ReadersReturnTheMessageAsSent)
{
    using namespace korvex;
    expect_reader("range", kRangeSize, read_range);
    expect_reader("compressed_range", kRangeCompressedSize, read_compressed_range);
    expect_reader("status", 4, [](const std::uint8_t* p) { return read_trackstat(wire::u32(p)); });
    expect_reader("gps", kGpsEphemerisSize, read_gps_ephemeris);
    expect_reader("qzss", kQzssEphemerisSize, read_qzss_ephemeris);
    expect_reader("bds", kBdsEphemerisSize, read_bds_ephemeris);
    expect_reader("bds2", kBdsEphemerisSecondSize, read_bds_ephemeris_second);
    expect_reader("subframes", kRawEphemerisSize, read_subframes);
    expect_reader("glonass", kGlonassEphemerisSize, read_glonass_ephemeris);
    expect_reader("galileo", kGalEphemerisSize, read_galileo_ephemeris);
    expect_reader("galileo_inav", kGalInavEphemerisSize, read_galileo_inav_ephemeris);
    expect_reader("sbas", kSbasEphemerisSize, read_sbas_ephemeris);
    expect_reader("ion_utc", kIonUtcSize, read_ion_utc);
    expect_reader("version", kVersionSize, read_version);
    expect_reader("position", kPositionSize, read_position);
    expect_reader("ecef_position", kEcefPositionSize, read_ecef_position);
    expect_reader("mark_time", kMarkTimeSize, read_mark_time);
    expect_reader("antenna", kAntennaSize, read_antenna);
    expect_reader("stop_and_go", 88, [](const std::uint8_t* p) { return read_stop_and_go(p, 88); });

    Digest signals;
    for (int sys = 1; sys <= SYS_SBS; sys *= 2) {
        for (int type = 0; type < 32; ++type) {
            const signal_t* s = find_signal(sys, type);
            signals.text(s == nullptr
                             ? ""
                             : std::string(s->name) + (s->rinex == nullptr ? "" : s->rinex) + std::to_string(s->slot));
        }
    }
    expect_digest("signal_names", signals);
}

}   // namespace
