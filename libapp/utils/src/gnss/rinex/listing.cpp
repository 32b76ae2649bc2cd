// Position listing: one line per fix.
#include "gnss/rinex/lines.h"

int WriteBestxyzFile(std::FILE* fp, const raw_t* raw)
{
    if (fp == nullptr || raw == nullptr) return 0;
    const rinex::date_t d = rinex::date_of(raw->week, raw->tow);
    rinex::text_buffer_t<2048> out;   // positions of any magnitude stand as they are
    out.integer(raw->week, 4, '0').put(' ').fixed(raw->tow, 10, 3).put(' ').integer(d.year, 4, '0');
    for (const int part : {d.month, d.day, d.hour, d.minute}) out.put(' ').integer(part, 2, '0');
    out.put(' ').fixed(d.second, 6, 3).put(' ');
    for (const double x : raw->pos) out.fixed(x, 14, 4);
    out.put('\n').write(fp);
    return 1;
}
