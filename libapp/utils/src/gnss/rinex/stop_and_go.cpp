// Event records of stop-and-go surveying.
#include <cstring>

#include "gnss/rinex/lines.h"
#include "gnss/rinex/version.h"

namespace {

using namespace rinex;

enum event_flag_t { kStartMoving = 2, kNewSite = 3 };

// Event line without a date: flag and the number of header lines that follow.
void put_event(text_t& out, bool rinex3, int flag, int lines)
{
    rinex3 ? out.put('>').blanks(30) : out.blanks(28);
    out.integer(flag, 1).integer(lines, 3).blanks(rinex3 ? 21 : 0).put('\n');
}

void put_comment(text_t& out, std::string_view text)
{
    out.label(text, 60).label("COMMENT", 20).put('\n');
}

void put_marker_name(text_t& out, std::string_view name)
{
    out.label(name, 60).label("MARKER NAME", 20).put('\n');
}

void put_start_moving(text_t& out, bool rinex3)
{
    put_event(out, rinex3, kStartMoving, 1);
    put_comment(out, rinex3 ? "*** FROM NOW ON KINEMATIC DATA! ***" : "*** START MOVING ANTENNA ! ***");
}

void put_new_site(text_t& out, bool rinex3, const raw_t& raw, rnx_t& opt)
{
    std::memcpy(opt.apppos, raw.pos, sizeof opt.apppos);
    put_event(out, rinex3, kNewSite, 5);
    put_marker_name(out, {raw.rcv_text[0], strnlen(raw.rcv_text[0], sizeof raw.rcv_text[0])});
    put_marker_number(out, opt);
    put_vector(out, opt.apppos[0], opt.apppos[1], opt.apppos[2], "APPROX POSITION XYZ");
    put_vector(out, raw.sng_f[2], raw.sng_f[0], raw.sng_f[1], "ANTENNA: DELTA H/E/N");
    put_comment(out, rinex3 ? "--> THIS IS THE START OF A NEW SITE <--" : "*** NEW SITE OCCUPATION FOLLOWS ! ***");
}

// Other kinds, RINEX 3 only. Deliberate: the marker name is the text at the very start of the record.
void put_other_site(text_t& out, const raw_t& raw)
{
    put_event(out, true, kNewSite, 3);
    const char* start = reinterpret_cast<const char*>(&raw);
    put_marker_name(out, {start, strnlen(start, 60)});
    put_vector(out, raw.pos[0], raw.pos[1], raw.pos[2], "APPROX POSITION XYZ");
    put_comment(out, "--> THIS IS THE START OF A NEW SITE <--");
}

}   // namespace

int WriteStopAndGoInfo(std::FILE* fp, const raw_t* raw, rnx_t* opt)
{
    const bool rinex3 = header_is_rinex3(opt->version);
    text_buffer_t<1024> out;
    switch (raw->sng_flag) {
        case 0:
            put_start_moving(out, rinex3);
            break;
        case 1:
            put_new_site(out, rinex3, *raw, *opt);
            break;
        default:
            if (rinex3) put_other_site(out, *raw);
    }
    out.write(fp);
    return 1;
}
