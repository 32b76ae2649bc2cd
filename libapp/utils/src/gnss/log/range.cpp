#include "gnss/log/range.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <iterator>

#include "gnss/foundation/satellites.h"
#include "gnss/log/frame.h"
#include "gnss/log/signals.h"

namespace korvex {

double unrolled_phase(double pseudorange, double wavelength, double adr)
{
    constexpr double kRoll = 8388608.0;   // 2^23 cycles
    const double rolls = (pseudorange / wavelength + adr) / kRoll;
    return std::trunc(rolls > 0.0 ? rolls + 0.5 : rolls - 0.5) * kRoll - adr;
}

// ---- The record's share ----

namespace {

// What tells the two messages apart. Known when compiled, so that each message has a loop without questions.
struct range_form_t {
    int record_size;
    range_t (*read)(const std::uint8_t* p);
    double epoch_tolerance;   // s; a message within it joins the epoch
    bool override_needs_rawprn;
    int small_bds_prn;   // largest BeiDou PRN counted from 1 under raw PRNs
    bool compressed;
};

constexpr range_form_t kPlain = {kRangeSize, read_range, 1e-9, true, kBdsHighPrn - 1, false};
constexpr range_form_t kCompressed = {kRangeCompressedSize, read_compressed_range, 0.001 + 1e-9, false, 29, true};

int decode_trackstat(std::uint32_t status, trackstat_t& track)
{
    track = read_trackstat(status);
    return track.slot;
}

int satnov_OEM7(int sys, int prn)
{
    return satellite_number(sys, prn);
}

void begin_epoch(raw_t* raw, double tolerance)
{
    if (std::fabs(timediff(raw->tow, raw->obs_tow)) <= tolerance) return;
    raw->nobs = 0;
    std::memset(raw->obs, 0, sizeof raw->obs);
}

// The entries of the epoch in hand by satellite number, so that none is searched for.
class entries_t {
public:
    explicit entries_t(raw_t* raw) : raw_(raw)
    {
        const int n = std::min<int>(raw->nobs, kMaxObs);
        for (int i = 0; i < n; ++i) place_[raw->obs[i].sat] = static_cast<std::uint8_t>(i + 1);
    }

    // The satellite's entry, taken from the free ones if need be. A full epoch takes nothing more.
    obsd_t* of(int sat)
    {
        if (raw_->nobs >= kMaxObs) return nullptr;
        if (place_[sat] == 0) {
            raw_->obs[raw_->nobs].sat = static_cast<std::uint8_t>(sat);
            place_[sat] = ++raw_->nobs;
        }
        return &raw_->obs[place_[sat] - 1];
    }

private:
    raw_t* raw_;
    std::uint8_t place_[256] = {};   // from 1, 0: none
};

// The channel is known from the range message before the first ephemeris comes.
void note_glonass_channel(raw_t* raw, int sat, const range_t& r)
{
    const int index = number_in_system(SYS_GLO, static_cast<std::uint32_t>(r.prn)) - 1;
    if (index >= static_cast<int>(std::size(raw->geph)) || raw->geph[index].sat == sat) return;
    raw->geph[index].frq = static_cast<std::int8_t>(r.channel);
}

// Strength in quarters of dB-Hz.
double strength(const range_t& r)
{
    return r.cn0 >= 0.0 && r.cn0 < 255.0 ? r.cn0 * 4.0 : 0.0;
}

// The record keeps single precision. What the plain message sends so is kept bit for bit: on the way through a double
// a NaN may change.
float kept_doppler(const range_t& r, const std::uint8_t* p, bool compressed)
{
    return compressed ? static_cast<float>(r.doppler) : wire::f32(p + kAtDoppler);
}

// Deliberate: the compressed message's lock time is kept in whole seconds.
float kept_locktime(const range_t& r, const std::uint8_t* p, bool compressed)
{
    return compressed ? static_cast<float>(static_cast<int>(r.locktime)) : wire::f32(p + kAtLocktime);
}

int mapped_satellite(const raw_t* raw, const range_form_t& form, int sys, int prn)
{
    const int sat = raw->opt_rawprn != 0 ? raw_satellite_number(sys, prn, form.small_bds_prn) : satnov_OEM7(sys, prn);
    return sat <= kMaxSat ? sat : 0;
}

template <const range_form_t& kForm>
void store_range(raw_t* raw, entries_t& entries, const std::uint8_t* p)
{
    const range_t r = kForm.read(p);
    trackstat_t track;
    int slot = decode_trackstat(r.status, track);
    if (slot < 0 || !track.code_lock) return;

    const bool may_override = raw->opt_nosigmap == 0 && (!kForm.override_needs_rawprn || raw->opt_rawprn != 0);
    if (may_override && track.slot_override) slot = 2;

    const int sat = mapped_satellite(raw, kForm, track.sys, r.prn);
    if (sat == 0) return;

    double phase = -r.adr;
    if (kForm.compressed) {
        const auto channel = static_cast<std::int8_t>(r.channel);
        const double wavelength = track.sys == SYS_GLO ? satwavelen(sat, slot, channel) : track.wavelength;
        if (!(wavelength > 0.0)) return;
        phase = unrolled_phase(r.pseudorange, wavelength, r.adr);
    } else if (track.sys == SYS_GLO) {
        note_glonass_channel(raw, sat, r);
    }
    if (!track.parity_known || !track.phase_lock) phase = 0.0;

    raw->locktime[sat - 1][slot] = kept_locktime(r, p, kForm.compressed);
    raw->halfc[sat - 1][slot] = track.half_cycle;

    obsd_t* obs = entries.of(sat);
    if (obs == nullptr) return;
    obs->P[slot] = r.pseudorange;
    obs->L[slot] = phase;
    obs->D[slot] = kept_doppler(r, p, kForm.compressed);
    obs->SNR[slot] = strength(r);
    obs->LLI[slot] = static_cast<std::uint8_t>((r.locktime < 0.0 ? 1 : 0) | (track.parity_known ? 0 : 2));
    if (kForm.compressed) obs->code[slot] = track.code;   // Deliberate: the plain message leaves the code at 0.
}

template <const range_form_t& kForm>
int decode_ranges(raw_t* raw, const std::uint8_t* body)
{
    const std::uint64_t n = wire::u32(body);
    const int body_size = raw->len - kHeaderSize;
    if (kCountSize + n * kForm.record_size > static_cast<std::uint64_t>(body_size)) return DECODE_REFUSED;
    begin_epoch(raw, kForm.epoch_tolerance);
    entries_t entries(raw);
    const std::uint8_t* p = body + kCountSize;
    for (std::uint64_t i = 0; i < n; ++i, p += kForm.record_size) store_range<kForm>(raw, entries, p);
    raw->obs_tow = raw->tow;
    return DECODE_OBS;
}

}   // namespace

int decode_range(raw_t* raw, const std::uint8_t* body)
{
    return decode_ranges<kPlain>(raw, body);
}

int decode_range_compressed(raw_t* raw, const std::uint8_t* body)
{
    return decode_ranges<kCompressed>(raw, body);
}

}   // namespace korvex
