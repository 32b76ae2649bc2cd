#include "host/observation_file.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdlib>
#include <cstring>

#include "common/gps_time.h"
#include "convert/packing.h"
#include "gnss/foundation/satellites.h"
#include "gnss/rinex/obs_layout2.h"
#include "gnss/rinex/version.h"
#include "host/header_patch.h"
#include "host/host_options.h"

namespace kvx {

namespace {

constexpr double kOnGrid = 0.005;   // s; times are printed to the hundredth
constexpr double kEveryEpoch = 0.0;

// Signal slot whose columns a RINEX 2.11 file has for the system; -1: the file cannot name it.
int source_slot(int sys, int prn)
{
    switch (sys) {
        case SYS_GPS:
            return 0;
        case SYS_GLO:
            return 1;
        case SYS_BDS:
            return prn <= kLastBds2 ? 1 : -1;   // those above send B2a where B2 is printed
        default:
            return -1;
    }
}

void move_signal(obsd_t& obs, int from, int to)
{
    obs.P[to] = obs.P[from];
    obs.L[to] = obs.L[from];
    obs.D[to] = obs.D[from];
    obs.SNR[to] = obs.SNR[from];
    obs.LLI[to] = obs.LLI[from];
    obs.code[to] = obs.code[from];
}

bool has_values(const obsd_t& obs, int slot)
{
    return obs.P[slot] != 0.0 || obs.L[slot] != 0.0 || obs.D[slot] != 0.0f || obs.SNR[slot] != 0.0;
}

// Leap seconds by the date of the log, or more if the log itself says so.
void set_leap_seconds(const raw_t& epoch)
{
    unsigned short week = epoch.week;
    gpst2utc(epoch.tow, &week);
    g_curleap = std::max(g_curleap, epoch.leaps);
}

// Text that a writer of the library appends to a stream.
template <typename Write>
std::string written_text(Write write)
{
    char* text = nullptr;
    std::size_t size = 0;
    std::FILE* memory = open_memstream(&text, &size);
    if (memory == nullptr) throw std::bad_alloc();
    write(memory);
    const bool whole = std::ferror(memory) == 0;
    const bool closed = std::fclose(memory) == 0;
    const std::unique_ptr<char, void (*)(void*)> owner(text, std::free);
    if (!whole || !closed) throw std::bad_alloc();
    return {text, size};
}

}   // namespace

observation_file_t::observation_file_t(const convert_options_t& options, const std::string& default_marker)
    : options_(options), opt_(rinex_options(options, default_marker))
{}

bool observation_file_t::in_window(double now) const
{
    return (!options_.start || now >= *options_.start - kOnGrid) && (!options_.end || now <= *options_.end + kOnGrid);
}

bool observation_file_t::on_grid(double now) const
{
    if (options_.interval <= 0.0 || epochs_.epochs == 0) return true;
    return std::fabs(std::remainder(now - epochs_.first, options_.interval)) < kOnGrid;
}

void observation_file_t::select_satellites(raw_t& epoch)
{
    const bool rinex2 = !rinex::records_are_rinex3(opt_.version);
    int kept = 0;
    for (int i = 0; i < epoch.nobs; ++i) {
        int prn = 0;
        const int sys = satsys(epoch.obs[i].sat, &prn);
        if (!options_.wants(sys)) continue;
        if (rinex2) {
            const int slot = source_slot(sys, prn);
            left_out_ += slot < 0;
            if (slot < 0 || !has_values(epoch.obs[i], slot)) continue;
            move_signal(epoch.obs[i], slot, rinex::kCarriedSlot);
        }
        if (kept != i) epoch.obs[kept] = epoch.obs[i];
        ++kept;
    }
    std::memset(static_cast<void*>(&epoch.obs[kept]), 0, sizeof(obsd_t) * static_cast<std::size_t>(epoch.nobs - kept));
    epoch.nobs = static_cast<std::uint8_t>(kept);
}

void observation_file_t::start(const raw_t& epoch)
{
    set_leap_seconds(epoch);
    file_ = std::make_unique<output_file_t>(options_.folder_of(!options_.packs_observations()));
    std::copy(std::begin(epoch.pos), std::end(epoch.pos), opt_.apppos);
    WriteRinexObsHeader(file_->stream(), &epoch, &opt_);
    waiting_.each([this](const std::string& text) { add_event(text); });
    waiting_.clear();
}

bool events_t::add(const std::string& text)
{
    if (texts_.size() < kMost) {
        texts_.push_back(text);
        return true;
    }
    ++lost_;
    return false;
}

void observation_file_t::add_event(const std::string& text)
{
    if (file_ == nullptr) {
        waiting_.add(text);
        return;
    }
    std::fwrite(text.data(), 1, text.size(), file_->stream());
    ++events_;
}

void observation_file_t::hand_over_events(observation_file_t& next)
{
    waiting_.each([&](const std::string& text) { next.waiting_.add(text); });
    waiting_.clear();
}

void observation_file_t::add_epoch(raw_t& epoch)
{
    const double now = gps_seconds(epoch.week, epoch.tow);
    if (!in_window(now) || !on_grid(now)) return;
    select_satellites(epoch);
    if (epoch.nobs == 0) return;
    if (file_ == nullptr) start(epoch);
    const auto write_record = rinex::records_are_rinex3(opt_.version) ? WriteRinexObsRec : WriteRinexObsRec_2;
    write_record(file_->stream(), &epoch, &opt_, kEveryEpoch);
    epochs_.add(now);
}

std::string observation_file_t::stop_and_go_text(const raw_t& raw) const
{
    if (!in_window(gps_seconds(raw.week, raw.tow))) return "";
    const auto site = std::make_unique<raw_t>(raw);
    if (site->rcv_text[0][0] == '\0') std::memcpy(site->rcv_text[0], opt_.marker, sizeof site->rcv_text[0] - 1);
    rnx_t opt = opt_;   // the event tells its own position; the header gets the last one
    return written_text([&](std::FILE* fp) { WriteStopAndGoInfo(fp, site.get(), &opt); });
}

std::string observation_file_t::mark_text(const raw_t& raw) const
{
    if (!in_window(gps_seconds(raw.week, raw.tow))) return "";
    rnx_t opt = opt_;
    opt.lastweek = -1;   // a mark that reaches us late is still a mark
    return written_text([&](std::FILE* fp) { WriteRinexObsRec(fp, &raw, &opt, kEventMarkRate); });
}

coverage_t observation_file_t::coverage() const
{
    return {epochs_.first, epochs_.last, options_.interval > 0.0 ? options_.interval : epochs_.steps.usual()};
}

void observation_file_t::patch_header(const raw_t& raw, bool has_antenna)
{
    opt_.interval = coverage().interval;
    kvx::patch_header(*file_, [&](std::FILE* fp) { WriteRinexObsLastEpoch(fp, &opt_); });

    const auto copy = std::make_unique<raw_t>(raw);
    if (!has_antenna || !options_.antenna_type.empty()) {
        std::memcpy(copy->ant_type, opt_.anttype, sizeof copy->ant_type - 1);
    } else {
        std::string type = raw.ant_type;
        type.resize(16, ' ');
        std::memcpy(copy->ant_type, (type + "NONE").c_str(), 21);
    }
    if (!has_antenna || options_.antenna_delta) {
        copy->ant_word2 = std::bit_cast<std::uint32_t>(static_cast<float>(opt_.antdel[0]));
    }
    kvx::patch_header(*file_, [&](std::FILE* fp) { WriteRinexObsApppos(fp, copy.get(), &opt_); });
}

finished_file_t observation_file_t::finish(const raw_t& raw, bool has_antenna, const std::string& name)
{
    file_->check(name);
    patch_header(raw, has_antenna);
    file_->check(name);
    return packed_observations(std::move(file_), name, options_);
}

}   // namespace kvx
