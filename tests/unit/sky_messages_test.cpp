// Every message of the built-in sky, decoded by the library.
#include <gtest/gtest.h>

#include <map>
#include <memory>

#include "rtk_gnss.h"
#include "sky/damage.h"
#include "sky/simulator.h"

namespace sky {
namespace {

class SkyMessages : public testing::Test {
protected:
    SkyMessages() { Initial_raw(raw.get(), 0); }

    /// Feeds one frame, or several; the last result.
    int Feed(const bytes_t& log)
    {
        int result = 0;
        for (int left = static_cast<int>(log.size()); left > 0;)
            result = input_korvexb(raw.get(), log.data() + log.size() - left, &left);
        return result;
    }

    int Feed(frame_t frame)
    {
        bytes_t log;
        frame.append_to(log, 2305, 43200000);
        return Feed(log);
    }

    std::unique_ptr<raw_t> raw = std::make_unique<raw_t>();
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

struct Field {
    const char* name;
    double kepler_set_t::*sent;
    double eph_t::*stored;
};

const Field kFields[] = {
    {"toe", &kepler_set_t::toe, &eph_t::toe},
    {"toc", &kepler_set_t::toc, &eph_t::toc},
    {"A", &kepler_set_t::A, &eph_t::A},
    {"e", &kepler_set_t::e, &eph_t::e},
    {"i0", &kepler_set_t::i0, &eph_t::i0},
    {"omega0", &kepler_set_t::omega0, &eph_t::omega0},
    {"omega", &kepler_set_t::omega, &eph_t::omega},
    {"M0", &kepler_set_t::M0, &eph_t::M0},
    {"dn", &kepler_set_t::delta_n, &eph_t::delta_n},
    {"omega_dot", &kepler_set_t::omega_dot, &eph_t::omega_dot},
    {"idot", &kepler_set_t::idot, &eph_t::idot},
    {"crc", &kepler_set_t::crc, &eph_t::crc},
    {"crs", &kepler_set_t::crs, &eph_t::crs},
    {"cuc", &kepler_set_t::cuc, &eph_t::cuc},
    {"cus", &kepler_set_t::cus, &eph_t::cus},
    {"cic", &kepler_set_t::cic, &eph_t::cic},
    {"cis", &kepler_set_t::cis, &eph_t::cis},
    {"af0", &kepler_set_t::af0, &eph_t::af0},
    {"af1", &kepler_set_t::af1, &eph_t::af1},
    {"af2", &kepler_set_t::af2, &eph_t::af2},
    {"tgd", &kepler_set_t::tgd, &eph_t::tgd},
};

TEST_F(SkyMessages, KeplerianEphemeridesArriveToTheBit)
{
    std::map<int, int> kinds;
    for (const auto& v : make_constellation(SYS_GPS | SYS_QZS | SYS_BDS, {2305, 18}, 43200)) {
        const kepler_set_t& sent = dynamic_cast<const kepler_vehicle&>(*v).broadcast();
        SCOPED_TRACE(std::to_string(sent.system) + " " + std::to_string(sent.prn));
        ASSERT_EQ(DECODE_EPH, Feed(v->ephemeris(43200)));
        ++kinds[raw->buff[4] | raw->buff[5] << 8];
        const eph_t& stored = raw->eph[sent.system == SYS_QZS ? raw->eph_sat - 139 + 78 : raw->eph_sat - 1];
        ASSERT_EQ(satno(static_cast<unsigned char>(sent.system), sent.system == SYS_QZS ? sent.prn - 192 : sent.prn),
                  stored.sat);
        for (const Field& f : kFields) EXPECT_EQ(sent.*f.sent, stored.*f.stored) << f.name;
        EXPECT_EQ(sent.week, stored.week);
        EXPECT_EQ(sent.issue, stored.iode);
        EXPECT_EQ(1, stored.ura_index);
        EXPECT_EQ(0, stored.health);
        EXPECT_EQ(sent.system == SYS_BDS ? sent.tgd2 : 0.0, stored.tgd2);
    }
    for (int id : {7, 41, 1336, 1696, 1047}) EXPECT_GT(kinds[id], 0) << id;
}

TEST_F(SkyMessages, GalileoEphemeridesArriveInBothForms)
{
    for (const auto& v : make_constellation(SYS_GAL, {2305, 18}, 43200)) {
        const kepler_set_t& sent = dynamic_cast<const kepler_vehicle&>(*v).broadcast();
        SCOPED_TRACE(sent.prn);
        ASSERT_EQ(DECODE_EPH, Feed(v->ephemeris(43200)));
        const galeph_t& stored = raw->galeph[sent.prn - 1];
        const bool both = sent.prn % 2 == 1;
        EXPECT_EQ(both, stored.fnav == 1);
        const std::pair<double, double> kPairs[] = {
            {sent.sqrtA, stored.sqrtA},
            {sent.e, stored.e},
            {sent.i0, stored.i0},
            {sent.omega0, stored.omega0},
            {sent.omega, stored.omega},
            {sent.M0, stored.M0},
            {sent.crc, stored.crc},
            {sent.crs, stored.crs},
            {sent.cuc, stored.cuc},
            {sent.cus, stored.cus},
            {sent.cic, stored.cic},
            {sent.cis, stored.cis},
            {sent.toe, stored.toe},
            {sent.idot, stored.idot},
            {sent.tgd, stored.bgd_e5a},
            {sent.tgd2, stored.bgd_e5b},
            {sent.delta_n, stored.delta_n},
            {sent.omega_dot, stored.omega_dot},
            {sent.af0, stored.inav_clock.af0},
            {both ? sent.fnav_af0 : 0.0, stored.fnav_clock.af0},
            {sent.af1, stored.inav_clock.af1},
        };
        for (const auto& [a, b] : kPairs) EXPECT_EQ(a, b);
        EXPECT_EQ(sent.issue, stored.iodnav);
    }
}

TEST_F(SkyMessages, GlonassAndSbasEphemeridesArrive)
{
    for (const auto& v : make_constellation(SYS_GLO | SYS_SBS, {2305, 18}, 43210)) {
        SCOPED_TRACE(v->prn());
        ASSERT_EQ(DECODE_EPH, Feed(v->ephemeris(43210)));
        if (const auto* g = dynamic_cast<const glonass_vehicle*>(v.get())) {
            const glonass_set_t sent = g->broadcast(43210);
            const geph_t& stored = raw->geph[sent.slot - 1];
            EXPECT_EQ(11 * 3600 + 45 * 60 + 10800, stored.toe);   // 12:00:10 GPS time is 11:59:52 UTC
            EXPECT_EQ(11 * 3600 + 59 * 60 + 30 + 10800, stored.tof);
            EXPECT_EQ(sent.channel, stored.frq);
            EXPECT_EQ(sent.state.position.y, stored.pos[1]);
            EXPECT_EQ(sent.state.velocity.z, stored.vel[2]);
            EXPECT_EQ(sent.accel.x, stored.acc[0]);
            EXPECT_EQ(sent.taun, stored.taun);
            EXPECT_EQ(sent.gamn, stored.gamn);
            EXPECT_EQ(sent.dtaun, stored.dtaun);
        } else {
            const seph_t sent = dynamic_cast<const sbas_vehicle&>(*v).broadcast();
            const seph_t& stored = raw->seph[sent.index - 1];
            EXPECT_EQ(43200 / 16, stored.t0);
            EXPECT_EQ(sent.pos[0], stored.pos[0]);
            EXPECT_EQ(sent.vel[2], stored.vel[2]);
            EXPECT_EQ(sent.af0, stored.af0);
            EXPECT_EQ(sent.af1, stored.af1);
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
    auto full = std::make_unique<raw_t>();
    for (range_form_t form : {kFullRange, kCompressedRange}) {
        bytes_t log;
        append_ranges(log, form, ranges, 2305, 43200000);
        ASSERT_EQ(DECODE_OBS, Feed(log));
        if (form == kFullRange) {
            *full = *raw;
            Initial_raw(raw.get(), 0);
        }
    }
    ASSERT_EQ(full->nobs, raw->nobs);
    int compared = 0;
    for (int i = 0; i < raw->nobs; ++i)
        for (int slot = 0; slot < kNumSlots; ++slot) {
            EXPECT_NEAR(full->obs[i].P[slot], raw->obs[i].P[slot], 1.0 / 128);
            EXPECT_NEAR(full->obs[i].L[slot], raw->obs[i].L[slot], 1.0 / 256);
            EXPECT_EQ(full->obs[i].D[slot], raw->obs[i].D[slot]);
            EXPECT_EQ(full->obs[i].SNR[slot], raw->obs[i].SNR[slot]);
            EXPECT_EQ(raw->obs[i].code[slot] != 0, full->obs[i].P[slot] != 0);
            compared += full->obs[i].P[slot] != 0;
        }
    EXPECT_EQ(signals().size(), static_cast<std::size_t>(compared))
        << "every signal of the table has a slot of its own";
}

TEST_F(SkyMessages, AnEpochTooLongForOneFrameIsSplit)
{
    const std::vector<range_t> ranges(186, {5, 0, 2.2e7, 1e8, 0, 40, 10, tracking_status(signals()[0], 0)});
    bytes_t log;
    append_ranges(log, kFullRange, ranges, 2305, 0);
    EXPECT_EQ(2 * (kFrameHeader + 4 + 4) + 186 * 44, log.size());
    EXPECT_EQ(DECODE_OBS, Feed(log));
    log.clear();
    append_ranges(log, kCompressedRange, {}, 2305, 0);
    EXPECT_EQ(DECODE_OBS, Feed(log)) << "an empty epoch is an epoch";
}

TEST_F(SkyMessages, AShortLogHoldsEveryKindAndNothingRefused)
{
    scenario_t scenario;
    scenario.duration = 130;
    const bytes_t log = make_log(scenario);
    std::map<int, int> kinds;
    for (int left = static_cast<int>(log.size()); left > 0;) {
        ASSERT_LE(0, input_korvexb(raw.get(), log.data() + log.size() - left, &left));
        ++kinds[raw->buff[4] | raw->buff[5] << 8];
    }
    for (int id : {7, 8, 37, 41, 42, 43, 231, 241, 601, 723, 1043, 1047, 1122, 1309, 1336, 1421, 1696, 1999, 11111})
        EXPECT_GT(kinds[id], 0) << id;
    EXPECT_EQ(130, kinds[43]);
}

TEST_F(SkyMessages, DamageStrikesAsOftenAsAsked)
{
    scenario_t scenario;
    scenario.duration = 50;
    simulator sim(scenario);
    damage line(12, sim.epochs(), 1);
    bytes_t log, epoch;
    std::size_t faults = 0;
    while (epoch.clear(), sim.next(epoch)) {
        faults += line.apply(epoch).size();
        log.insert(log.end(), epoch.begin(), epoch.end());
    }
    EXPECT_EQ(12u, faults);
    EXPECT_NE(make_log(scenario), log);
    int refused = 0;
    for (int left = static_cast<int>(log.size()); left > 0;)
        refused += input_korvexb(raw.get(), log.data() + log.size() - left, &left) == DECODE_REFUSED;
    EXPECT_GE(refused, 1);
    EXPECT_LE(refused, 12);
}

}   // namespace
}   // namespace sky
