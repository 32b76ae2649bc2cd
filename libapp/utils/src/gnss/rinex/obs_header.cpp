// Header of an observation file.
#include <ctime>

#include "gnss/rinex/lines.h"
#include "gnss/rinex/obs_types.h"
#include "gnss/rinex/options.h"
#include "gnss/rinex/version.h"

namespace {

using namespace rinex;

void put_program(text_t& out, const rnx_t& opt)
{
    const std::time_t now = std::time(nullptr);
    std::tm utc{};
    gmtime_r(&now, &utc);
    out.field(opt.prog, 20).field(opt.runby, 20);
    out.integer(utc.tm_year + 1900, 4).put('-').integer(utc.tm_mon + 1, 2, '0').put('-').integer(utc.tm_mday, 2, '0');
    out.put(' ').integer(utc.tm_hour, 2, '0').put(':').integer(utc.tm_min, 2, '0');
    out.blanks(4).label("PGM / RUN BY / DATE", 20).put('\n');
}

void put_station(text_t& out, const rnx_t& opt)
{
    out.field(opt.marker, 60).label("MARKER NAME", 20).put('\n');
    put_marker_number(out, opt);
    out.field(opt.observer, 20).field(opt.agency, 40).label("OBSERVER / AGENCY", 20).put('\n');
    put_receiver(out, opt);
    put_antenna(out, opt, opt.anttype);
    put_vector(out, opt.apppos[0], opt.apppos[1], opt.apppos[2], "APPROX POSITION XYZ");
    put_vector(out, opt.antdel[0], opt.antdel[1], opt.antdel[2], "ANTENNA: DELTA H/E/N");
}

void put_header(text_t& out, const raw_t& raw, const rnx_t& opt)
{
    out.header_number(opt.version / 100.0, 9, 2).blanks(11);
    out.label("OBSERVATION DATA", 20).label("M (MIXED)", 20).label("RINEX VERSION / TYPE", 20).put('\n');
    put_program(out, opt);
    put_station(out, opt);
    put_interval(out, opt.interval);
    out.put('\n');
    put_observation_types(out, opt, raw.obs[0].code[1]);

    const date_t date = date_of(raw.week, raw.tow);
    put_time(out, date, "TIME OF FIRST OBS");
    out.put('\n');
    put_time(out, date, "TIME OF LAST OBS");   // the same for now; patched when the last epoch is known
    out.put('\n');

    // Deliberate: this line ends with its label, after 72 columns.
    out.blanks(4).header_integer(g_curleap, 2).blanks(53).put(" LEAP SECONDS\n");
    if (header_is_rinex3(opt.version)) {
        const double bias = board_t(opt).states_biases() ? 1.0 : 0.0;   // m
        put_glonass_biases(out, {bias, bias, bias, bias});
    }
    out.blanks(60).label("END OF HEADER", 20).put('\n');
}

}   // namespace

int WriteRinexObsHeader(std::FILE* fp, const raw_t* raw, const rnx_t* opt)
{
    if (fp == nullptr || raw == nullptr || opt == nullptr) return 0;
    text_buffer_t<4096> out;
    put_header(out, *raw, *opt);
    std::fseek(fp, 0, SEEK_SET);
    out.write(fp);
    return 1;
}
