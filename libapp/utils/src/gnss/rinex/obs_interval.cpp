#include "gnss/rinex/obs_interval.h"

#include <cmath>

#include "gnss/rinex/options.h"
#include "gnss/rinex/patch.h"

namespace rinex {

namespace {

constexpr int kFirstSampled = 10;   // records before it settle
constexpr int kLastSampled = 20;
constexpr int kVoters = 10;           // Deliberate: the eleventh sample has no vote.
constexpr double kUnknown = 0.0001;   // s; intervals below it are not known yet
constexpr double kTolerance = 0.0001;

bool is_unknown(double interval)
{
    return std::fabs(interval) < kUnknown;
}

int votes_for(double interval)
{
    int votes = 0;
    for (int i = 0; i < kVoters; ++i) votes += std::fabs(dinterval[i] - interval) <= 0.001;
    return votes;
}

void vote(rnx_t& opt)
{
    const double rival = dinterval[kVoters - 1];
    if (votes_for(opt.interval) < votes_for(rival)) opt.interval = rival;
}

// A commanded rate that is a multiple of the interval takes its place, and the header must say so.
void apply_rate(rnx_t& opt, double rate)
{
    if (rate > opt.interval && std::fmod(rate * 100.0, opt.interval * 100.0) == 0.0) {
        opt.interval = rate;
        beRewrite = 0;
    }
}

void find_interval(rnx_t& opt, double step, double rate, const interval_rules_t& rules)
{
    const bool unknown = is_unknown(opt.interval);
    if (unknown) opt.interval = step;
    if (unknown && rules.revote) apply_rate(opt, rate);
    if (!unknown && !rules.revote) return;
    vote(opt);
    apply_rate(opt, rate);
}

bool is_off_grid(double second, double interval)
{
    const double rest = std::fmod(second, interval);
    return rest > kTolerance && std::fabs(rest - interval) > kTolerance;
}

void rewrite_header(std::FILE* fp, const raw_t& raw, const rnx_t& opt, double second)
{
    if (!appends_only(fp) && std::fseek(fp, 0, SEEK_SET) == 0) {   // else it would be a second header
        WriteRinexObsHeader(fp, &raw, &opt);
        std::fseek(fp, 0, SEEK_END);   // epochs are always appended
    }
    firse_sec = second;
    beRewrite = 1;
}

}   // namespace

bool on_interval_grid(std::FILE* fp, const raw_t& raw, rnx_t& opt, double rate, double second,
                      const interval_rules_t& rules)
{
    if (rate == 0.0) return true;
    const bool has_last = opt.lasttow > 0.0;
    if (has_last) {
        const double step = std::round((raw.tow - opt.lasttow) * 100.0) / 100.0;
        const int n = nfirstCount;
        if (n >= kFirstSampled && n <= kLastSampled && is_unknown(opt.interval)) dinterval[n - kFirstSampled] = step;
        if (n > kLastSampled) {
            find_interval(opt, step, rate, rules);
            if (is_off_grid(second, opt.interval)) return false;
            if (beRewrite == 0) rewrite_header(fp, raw, opt, second);
        }
    }
    if ((has_last || rules.counts_first_record) && is_unknown(opt.interval)) ++nfirstCount;
    return true;
}

}   // namespace rinex
