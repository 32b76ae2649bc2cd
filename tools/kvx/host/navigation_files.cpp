#include "host/navigation_files.h"

#include <algorithm>
#include <cmath>
#include <iterator>

#include "gnss/foundation/time_scales.h"
#include "gnss/rinex/version.h"
#include "host/header_patch.h"
#include "host/host_options.h"

namespace kvx {

namespace {

constexpr std::size_t kMostKnown = 512;   // ephemerides remembered of each satellite
constexpr int kMostLeaps = 99;

using record_writer_t = int (*)(std::FILE*, const raw_t*, const rnx_t*);

int write_beidou(std::FILE* fp, const raw_t* raw, const rnx_t* opt)
{
    return WriteRinexBDsEphRec(fp, raw, opt, 0);
}

// RINEX 2.11 has the frame time as second of the day, UTC; the library prints what the record holds as it is.
int write_glonass(std::FILE* fp, const raw_t* raw, const rnx_t* opt)
{
    if (rinex::records_are_rinex3(opt->version)) return WriteRinexGloEphRec(fp, raw, opt);
    int slot = 0;
    satsys(raw->eph_sat, &slot);
    auto timed = std::make_unique<raw_t>(*raw);
    double& tof = timed->geph[slot - 1].tof_alt;
    tof = std::fmod(tof - kMoscowTime + kDay, kDay) + kMoscowTime;
    return WriteRinexGloEphRec(fp, timed.get(), opt);
}

// The reference time is a time of day, and the library takes the day from the record's time.
int write_sbas(std::FILE* fp, const raw_t* raw, const rnx_t* opt)
{
    int n = 0;
    satsys(raw->eph_sat, &n);
    const double days = sbas_day_shift(*raw, raw->seph[n - 1]);
    if (days == 0.0) return WriteRinexSBASEphRec(fp, raw, opt);
    auto dated = std::make_unique<raw_t>(*raw);
    dated->tow = timeadd(raw->tow, kDay * days, &dated->week);
    return WriteRinexSBASEphRec(fp, dated.get(), opt);
}

struct kind_t {
    int sys;          // of the records; those of all systems go into a mixed file
    char letter;      // of its name
    bool in_rinex2;   // file and records exist there
    int (*write_header)(std::FILE*, const rnx_t*);
    record_writer_t write_record;
};

// clang-format off
constexpr kind_t kFiles[] = {
    {SYS_GPS, 'G', true,  WriteRinexGpsEphHeader,  WriteRinexGpsEphRec},
    {SYS_GLO, 'R', true,  WriteRinexGloEphHeader,  write_glonass},
    {SYS_GAL, 'E', false, WriteRinexGalEphHeader,  WriteRinexGalEphRec},
    {SYS_BDS, 'C', true,  WriteRinexBDsEphHeader,  write_beidou},
    {SYS_QZS, 'J', true,  WriteRinexQzssEphHeader, WriteRinexQzssEphRec},
    {SYS_SBS, 'M', false, WriteRinexALLEphHeader,  write_sbas},   // SBAS has a place in mixed files only
};
// clang-format on
constexpr std::size_t kMixedKind = 5;

// Whether the log has told the ionospheric coefficients.
bool knows_ionosphere(const raw_t& raw)
{
    const auto finite = [](double x) { return std::isfinite(x); };
    const auto told = [](double x) { return x != 0.0; };
    return std::all_of(std::begin(raw.ion_gps), std::end(raw.ion_gps), finite) &&
           std::any_of(std::begin(raw.ion_gps), std::end(raw.ion_gps), told);
}

std::size_t kind_of(int sys)
{
    const auto* kind =
        std::find_if(std::begin(kFiles), std::end(kFiles), [sys](const kind_t& k) { return k.sys == sys; });
    return static_cast<std::size_t>(kind - kFiles);
}

}   // namespace

navigation_files_t::navigation_files_t(const convert_options_t& options)
    : options_(options), opt_(rinex_options(options, "")), mixed_(options.navigation() == "mixed")
{
    static_assert(std::size(kFiles) == kKinds);
}

bool navigation_files_t::is_repetition(int sat, const ephemeris_key_t& key)
{
    auto& known = known_[static_cast<std::size_t>(sat)];
    if (std::find(known.rbegin(), known.rend(), key) != known.rend()) return true;
    known.push_back(key);
    if (known.size() > kMostKnown) known.pop_front();
    return false;
}

bool navigation_files_t::add(raw_t& raw)
{
    if (options_.navigation() == "none") return true;
    const auto key = stored_ephemeris(raw);
    if (!key) return true;   // an SBAS message without a satellite
    const bool repetition = is_repetition(raw.eph_sat, *key);
    count_.found += !repetition;
    const int sys = satsys(raw.eph_sat, nullptr);
    const std::size_t kind = kind_of(sys);
    const bool in_version = kFiles[kind].in_rinex2 || rinex::records_are_rinex3(opt_.version);
    const bool has_file = in_version && (mixed_ || kind != kMixedKind);
    if ((!repetition || options_.nav_repeats) && has_file && options_.wants(sys)) write(kind, raw);
    forget_ephemeris(raw);
    return !repetition;
}

void navigation_files_t::write(std::size_t kind, raw_t& raw)
{
    const std::size_t in = mixed_ ? kMixedKind : kind;
    if (files_[in] == nullptr) {
        files_[in] = std::make_unique<output_file_t>(options_.folder_of(!options_.packs()));
        kFiles[in].write_header(files_[in]->stream(), &opt_);
    }
    count_.written += static_cast<std::uint64_t>(kFiles[kind].write_record(files_[in]->stream(), &raw, &opt_));
}

finished_file_t navigation_files_t::patched(std::size_t kind, const raw_t& raw, const std::string& name)
{
    std::unique_ptr<output_file_t> file = std::move(files_[kind]);
    file->check(name);
    double ion[8];
    std::copy(std::begin(raw.ion_gps), std::end(raw.ion_gps), ion);
    const int sys = kFiles[kind].sys;
    patch_header(*file, [&](std::FILE* fp) {
        if (sys == SYS_GPS && knows_ionosphere(raw)) WriteRinexGpsEphIonPara(fp, ion, &opt_);
        if (sys == SYS_GLO || kind == kMixedKind) WriteRinexGloEphCurleap(fp);
    });
    file->check(name);
    return packed(std::move(file), name, options_);
}

std::vector<finished_file_t> navigation_files_t::finish(const raw_t& raw,
                                                        const std::function<std::string(char)>& name_of)
{
    if (raw.leaps > 0 && raw.leaps <= kMostLeaps) g_curleap = raw.leaps;
    std::vector<finished_file_t> files;
    for (std::size_t kind = 0; kind < kKinds; ++kind) {
        if (files_[kind] != nullptr) files.push_back(patched(kind, raw, name_of(kFiles[kind].letter)));
    }
    return files;
}

}   // namespace kvx
