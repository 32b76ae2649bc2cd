#include "host/host_options.h"

#include <algorithm>
#include <cstring>

#include "gnss/rinex/options.h"
#include "gnss/rinex/version.h"

namespace kvx {

namespace {

template <std::size_t N>
void set_text(char (&field)[N], const std::string& text)
{
    std::memset(field, 0, N);
    std::memcpy(field, text.data(), std::min(text.size(), N - 1));
}

// Antenna type and radome in the 16 + 4 columns of the International GNSS Service.
std::string antenna_with_radome(const std::string& type)
{
    if (type.size() > 16) return type;
    std::string padded = type;
    padded.resize(16, ' ');
    return padded + "NONE";
}

}   // namespace

rnx_t rinex_options(const convert_options_t& o, const std::string& default_marker)
{
    rnx_t opt{};
    Initial_Rnx(&opt);
    opt.version = o.version();
    opt.rcvkind = o.receiver_kind;
    opt.interval = o.interval;
    opt.sys_gps = o.wants(SYS_GPS) || o.wants(SYS_QZS);
    opt.sys_glo = o.wants(SYS_GLO);
    opt.sys_bds = o.wants(SYS_BDS);
    opt.sys_gal = o.wants(SYS_GAL);
    opt.sys_sbs = o.wants(SYS_SBS);
    set_text(opt.prog, "kvx");
    set_text(opt.runby, o.run_by);
    set_text(opt.marker, o.marker.empty() ? default_marker : o.marker);
    set_text(opt.markerno, o.marker_number);
    set_text(opt.observer, o.observer);
    set_text(opt.agency, o.agency);
    set_text(opt.recno, o.receiver_number);
    set_text(opt.rectype, o.receiver_type);
    set_text(opt.recver, o.receiver_version);
    set_text(opt.antno, o.antenna_number);
    if (!o.antenna_type.empty()) set_text(opt.anttype, antenna_with_radome(o.antenna_type));
    if (o.antenna_delta) std::copy(o.antenna_delta->begin(), o.antenna_delta->end(), opt.antdel);
    return opt;
}

bool header_and_records_disagree(const convert_options_t& o)
{
    return rinex::header_is_rinex3(o.version()) && !rinex::board_t(rinex_options(o, "")).header_fits_records();
}

}   // namespace kvx
