#include "gnss/rinex/lines.h"

#include "gnss/rinex/options.h"

namespace rinex {

date_t date_of(int week, double tow, double mode)
{
    date_t d{};
    GetCommonTime(week, tow, mode, &d.year, &d.month, &d.day, &d.hour, &d.minute, &d.second);
    return d;
}

void put_marker_number(text_t& out, const rnx_t& opt)
{
    out.field(opt.markerno, 20).blanks(40).label("MARKER NUMBER", 20).put('\n');
}

void put_receiver(text_t& out, const rnx_t& opt)
{
    out.field(opt.recno, 20).field(opt.rectype, 20).field(opt.recver, 20).label("REC # / TYPE / VERS", 20).put('\n');
}

void put_antenna(text_t& out, const rnx_t& opt, const char (&type)[32])
{
    out.field(opt.antno, 20).field(type, 20).field(opt.antext, 20).label("ANT # / TYPE", 20).put('\n');
}

void put_vector(text_t& out, double x, double y, double z, std::string_view label)
{
    for (const double v : {x, y, z}) out.header_number(v, 14, 4);
    out.blanks(18).label(label, 20).put('\n');
}

void put_glonass_biases(text_t& out, const double (&bias)[4])
{
    for (int k = 0; k < 4; ++k) out.put(' ').put(glo_codes[k]).put(' ').header_number(bias[k], 8, 3);
    out.blanks(8).label("GLONASS COD/PHS/BIS", 20).put('\n');
}

void put_interval(text_t& out, double interval)
{
    out.header_number(interval, 10, 3).blanks(50).label("INTERVAL", 20);
}

void put_time(text_t& out, const date_t& d, std::string_view label)
{
    out.blanks(2).header_integer(d.year, 4);
    for (const int part : {d.month, d.day, d.hour, d.minute}) out.header_integer(part, 6);
    out.header_number(d.second, 13, 7).blanks(5).label("GPS", 12).label(label, 20);
}

}   // namespace rinex
