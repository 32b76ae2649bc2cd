// Every message of the built-in sky, decoded by the library.
#include <gtest/gtest.h>

#include <array>
#include <map>

#include "sky/damage.h"
#include "support/feed_log.h"
#include "support/frame_builder.h"

namespace sky {
namespace {

class SkyMessages : public testing::Test {
protected:
    int Feed(frame_t frame)
    {
        bytes_t log;
        frame.append_to(log, 2305, 43200000);
        return feed_log(*raw, log);
    }

    const std::unique_ptr<raw_t> raw = new_record();
};

TEST_F(SkyMessages, StationMessagesGiveTheirResults)
{
    const fix_t fix = {31.2, 121.5, 30.0, {1.0, 2.0, 3.0}, 9};
    const visible_t seen[] = {{5, 40.0, 100.0, -700.0}};
    const std::pair<int, frame_t> kMessages[] = {
        {DECODE_ION_UTC, ionosphere_utc(2305, 18)}, {DECODE_STATION, receiver_version()},
        {DECODE_STATION, antenna_type()},           {DECODE_STATION, geodetic_position(fix)},
        {DECODE_NOTHING, visibility(seen)},         {DECODE_NOTHING, foreign_message()},
        {DECODE_MARK, mark_time(2305, 43199.875)},  {DECODE_STOP_AND_GO, stop_and_go(1, fix)},
    };
    for (const auto& [result, frame] : kMessages) EXPECT_EQ(result, Feed(frame));
    EXPECT_EQ(18, raw->leaps);
    EXPECT_STREQ("KV4A0", raw->rcv_text[1]);
    EXPECT_STREQ("KVANT2100", raw->ant_type);
    EXPECT_EQ(43200.0, raw->tow) << "the stop-and-go message came last";
    EXPECT_EQ(1, raw->sng_flag);
    EXPECT_EQ(1.5f, raw->sng_f[2]);
    const double geodetic[] = {31.2 * kPi / 180, 121.5 * kPi / 180, 30.0};
    double ecef[3];
    pos2ecef(geodetic, ecef);
    for (int i = 0; i < 3; ++i) EXPECT_NEAR(ecef[i], raw->pos[i], 1e-6);
    EXPECT_EQ(DECODE_STATION, Feed(ecef_position(fix)));
    EXPECT_EQ(3.0, raw->pos[2]);
}

/// The elements that the messages of all systems have.
template <class Set>
std::array<double, 15> Elements(const Set& e)
{
    return {e.toe,  e.e,   e.i0,  e.omega0, e.omega, e.M0,  e.delta_n, e.omega_dot,
            e.idot, e.crc, e.crs, e.cuc,    e.cus,   e.cic, e.cis};
}

TEST_F(SkyMessages, KeplerianEphemeridesArriveToTheBit)
{
    using Values = std::vector<double>;
    std::map<int, int> kinds;
    for (const auto& v : make_constellation(SYS_GPS | SYS_QZS | SYS_BDS | SYS_GAL, {2305, 18}, 43200)) {
        const kepler_set_t& sent = dynamic_cast<const kepler_vehicle_t&>(*v).broadcast();
        SCOPED_TRACE(std::to_string(sent.system) + " " + std::to_string(sent.prn));
        ASSERT_EQ(DECODE_EPH, Feed(v->ephemeris(43200)));
        ++kinds[raw->buff[4] | raw->buff[5] << 8];
        const int prn = sent.system == SYS_QZS ? sent.prn - 192 : sent.prn;
        const int sat = satno(static_cast<unsigned char>(sent.system), prn);
        if (sent.system == SYS_GAL) {
            const galeph_t& stored = raw->galeph[prn - 1];
            const bool both = prn % 2 == 1;
            EXPECT_EQ(Elements(sent), Elements(stored));
            EXPECT_EQ(Values({sent.sqrtA, sent.tgd, sent.tgd2, sent.af0, sent.af1, both ? sent.fnav_af0 : 0.0}),
                      Values({stored.sqrtA, stored.bgd_e5a, stored.bgd_e5b, stored.inav_clock.af0,
                              stored.inav_clock.af1, stored.fnav_clock.af0}));
            EXPECT_EQ(sent.issue, stored.iodnav);
            EXPECT_EQ(both, stored.fnav == 1);
            continue;
        }
        const eph_t& stored = raw->eph[sent.system == SYS_QZS ? 77 + prn : sat - 1];
        EXPECT_EQ(Elements(sent), Elements(stored));
        const double tgd2 = sent.system == SYS_BDS ? sent.tgd2 : 0.0;
        EXPECT_EQ(Values({sent.toc, sent.A, sent.af0, sent.af1, sent.af2, sent.tgd, tgd2}),
                  Values({stored.toc, stored.A, stored.af0, stored.af1, stored.af2, stored.tgd, stored.tgd2}));
        EXPECT_TRUE(sat == stored.sat && sent.week == stored.week && sent.issue == stored.iode);
        EXPECT_TRUE(stored.ura_index == 1 && stored.health == 0);
    }
    for (int id : {7, 41, 1336, 1696, 1047, 1122, 1309}) EXPECT_GT(kinds[id], 0) << id;
}

TEST_F(SkyMessages, GlonassAndSbasEphemeridesArrive)
{
    for (const auto& v : make_constellation(SYS_GLO | SYS_SBS, {2305, 18}, 43210)) {
        SCOPED_TRACE(v->prn());
        ASSERT_EQ(DECODE_EPH, Feed(v->ephemeris(43210)));
        if (const auto* g = dynamic_cast<const glonass_vehicle_t*>(v.get())) {
            const glonass_set_t sent = g->broadcast(43210);
            const geph_t& stored = raw->geph[sent.slot - 1];
            EXPECT_EQ(11 * 3600 + 45 * 60 + 10800, stored.toe);   // 12:00:10 GPS time is 11:59:52 UTC
            EXPECT_EQ(11 * 3600 + 59 * 60 + 30 + 10800, stored.tof);
            EXPECT_EQ(sent.channel, stored.frq);
            const glonass_state_t& state = sent.state;
            for (const auto& [from, to] :
                 {std::pair{&state.position, stored.pos}, {&state.velocity, stored.vel}, {&sent.accel, stored.acc}}) {
                EXPECT_TRUE(from->x == to[0] && from->y == to[1] && from->z == to[2]);
            }
            EXPECT_TRUE(sent.taun == stored.taun && sent.gamn == stored.gamn && sent.dtaun == stored.dtaun);
        } else {
            const seph_t sent = dynamic_cast<const sbas_vehicle_t&>(*v).broadcast();
            const seph_t& stored = raw->seph[sent.index - 1];
            EXPECT_EQ(43200 / 16, stored.t0);
            EXPECT_TRUE(sent.pos[0] == stored.pos[0] && sent.vel[2] == stored.vel[2]);
            EXPECT_TRUE(sent.af0 == stored.af0 && sent.af1 == stored.af1);
        }
    }
}

TEST_F(SkyMessages, BothRangeMessagesCarryTheSameObservations)
{
    std::vector<range_t> ranges;
    for (const signal_t& s : signals()) {   // one satellite of each system for each signal
        int prn = s.first_prn;
        while (!sent_by(s, s.system, prn)) ++prn;
        const int channel = s.system == SYS_GLO ? 1 : 0;
        const double wavelength = kLightSpeed / (s.frequency + channel * s.channel_step);
        const double range = 2.1e7 + 1e5 * static_cast<double>(ranges.size());
        ranges.push_back(
            {prn, channel, range, range / wavelength - 40000.25, -3210.5, 44.0, 17.5, tracking_status(s, 3)});
    }
    const auto full = new_record();
    for (const auto& [record, form] : {std::pair{full.get(), kFullRange}, {raw.get(), kCompressedRange}}) {
        bytes_t log;
        append_ranges(log, form, ranges, 2305, 43200000);
        ASSERT_EQ(DECODE_OBS, feed_log(*record, log));
    }
    ASSERT_EQ(full->nobs, raw->nobs);
    std::size_t compared = 0;
    for (int i = 0; i < raw->nobs; ++i)
        for (int slot = 0; slot < kNumSlots; ++slot) {
            const obsd_t &a = full->obs[i], &b = raw->obs[i];
            EXPECT_NEAR(a.P[slot], b.P[slot], 1.0 / 128);
            EXPECT_NEAR(a.L[slot], b.L[slot], 1.0 / 256);
            EXPECT_TRUE(a.D[slot] == b.D[slot] && a.SNR[slot] == b.SNR[slot]);
            EXPECT_EQ(b.code[slot] != 0, a.P[slot] != 0);
            compared += a.P[slot] != 0;
        }
    EXPECT_EQ(signals().size(), compared) << "every signal of the table has a slot of its own";
}

TEST_F(SkyMessages, AnEpochTooLongForOneFrameIsSplit)
{
    const std::vector<range_t> ranges(186, {5, 0, 2.2e7, 1e8, 0, 40, 10, tracking_status(signals()[0], 0)});
    bytes_t log;
    append_ranges(log, kFullRange, ranges, 2305, 0);
    EXPECT_EQ(2 * (kFrameHeader + 4 + 4) + 186 * 44, log.size());
    EXPECT_EQ(DECODE_OBS, feed_log(*raw, log));
    log.clear();
    append_ranges(log, kCompressedRange, {}, 2305, 0);
    EXPECT_EQ(DECODE_OBS, feed_log(*raw, log)) << "an empty epoch is an epoch";
}

TEST_F(SkyMessages, AShortLogHoldsEveryKindAndNothingRefused)
{
    scenario_t scenario;
    scenario.duration = 130;
    const bytes_t log = make_log(scenario);
    std::map<int, int> kinds;
    feed_log(*raw, log, [&](int result) {
        EXPECT_LE(0, result);
        ++kinds[raw->buff[4] | raw->buff[5] << 8];
    });
    for (int id : {7, 8, 37, 41, 42, 43, 231, 241, 601, 723, 1043, 1047, 1122, 1309, 1336, 1421, 1696, 1999, 11111})
        EXPECT_GT(kinds[id], 0) << id;
    EXPECT_EQ(130, kinds[43]);
}

TEST_F(SkyMessages, DamageStrikesAsOftenAsAsked)
{
    scenario_t scenario;
    scenario.duration = 50;
    simulator_t sim(scenario);
    damage_t line(12, sim.epochs(), 1);
    bytes_t log, epoch;
    std::size_t faults = 0;
    while (epoch.clear(), sim.next(epoch)) {
        faults += line.apply(epoch).size();
        log.insert(log.end(), epoch.begin(), epoch.end());
    }
    EXPECT_EQ(12u, faults);
    EXPECT_NE(make_log(scenario), log);
    int refused = 0;
    feed_log(*raw, log, [&](int result) { refused += result == DECODE_REFUSED; });
    EXPECT_TRUE(refused >= 1 && refused <= 12) << refused;
}

}   // namespace
}   // namespace sky
