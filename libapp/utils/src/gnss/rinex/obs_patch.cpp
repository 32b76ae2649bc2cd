// Completes the header of an observation file when its last epoch and position are known.
#include <cstring>

#include "gnss/rinex/lines.h"
#include "gnss/rinex/options.h"
#include "gnss/rinex/patch.h"
#include "gnss/rinex/version.h"

namespace {

using namespace rinex;

void patch_receiver(std::FILE* fp, const rnx_t& opt)
{
    text_buffer_t<128> out;
    put_receiver(out, opt);
    patch_after(fp, "OBSERVER / AGENCY", out);
}

void patch_station(std::FILE* fp, const raw_t& raw, const rnx_t& opt)
{
    text_buffer_t<512> out;
    put_receiver(out, opt);
    char type[32] = {};   // Deliberate: the record's antenna type, not the one of the options.
    std::memcpy(type, raw.ant_type, sizeof raw.ant_type);
    put_antenna(out, opt, type);
    put_vector(out, opt.apppos[0], opt.apppos[1], opt.apppos[2], "APPROX POSITION XYZ");
    put_vector(out, ant_height(&raw), opt.antdel[1], opt.antdel[2], "ANTENNA: DELTA H/E/N");
    patch_after(fp, "OBSERVER / AGENCY", out);
}

void patch_glonass_biases(std::FILE* fp, const raw_t& raw)
{
    double bias[4];
    for (int k = 0; k < 4; ++k) bias[k] = (raw.glo_bias_mask >> k & 1) != 0 ? raw.glo_bias[k] : 0.0;
    text_buffer_t<128> out;
    put_glonass_biases(out, bias);
    patch_after(fp, "LEAP SECONDS", out);
}

}   // namespace

int WriteRinexObsLastEpoch(std::FILE* fp, const rnx_t* opt)
{
    if (fp == nullptr || opt == nullptr) return 0;
    patch_receiver(fp, *opt);

    text_buffer_t<128> interval;
    put_interval(interval, opt->interval);
    patch_after(fp, "ANTENNA: DELTA H/E/N", interval);

    text_buffer_t<128> last;
    put_time(last, date_of(opt->lastweek, opt->lasttow), "TIME OF LAST OBS");
    patch_after(fp, "TIME OF FIRST OBS", last);
    std::fseek(fp, 0, SEEK_END);
    return 1;
}

int WriteRinexObsApppos(std::FILE* fp, const raw_t* raw, rnx_t* opt)
{
    if (fp == nullptr || raw == nullptr || opt == nullptr) return 0;
    std::memcpy(opt->apppos, raw->pos, sizeof opt->apppos);
    const long position = std::ftell(fp);
    patch_station(fp, *raw, *opt);
    const bool has_biases = board_t(*opt).reports_biases() && raw->glo_bias_mask != 0;
    if (has_biases && header_is_rinex3(opt->version)) patch_glonass_biases(fp, *raw);
    std::fseek(fp, position, SEEK_SET);
    return 1;
}
