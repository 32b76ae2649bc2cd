// RINEX 3 epoch, printed field by field: by formatted output, and by compiled fmt into a buffer that is written once.
#include <fmt/compile.h>

#include <algorithm>
#include <cstring>

#include "gnss_plain.h"

namespace {

// Each field a call of fprintf.
class with_fprintf {
public:
    explicit with_fprintf(std::FILE* to) : to_(to) {}
    void epoch(int year, int month, int day, int hour, int minute, double second, int satellites)
    {
        std::fprintf(to_, "> %04d %02d %02d %02d %02d%11.7f  0%3d%21s\n", year, month, day, hour, minute, second,
                     satellites, "");
    }
    void satellite(char system, int prn) { std::fprintf(to_, prn > 9 ? "%c%2d" : "%c0%d", system, prn); }
    void value(double value) { std::fprintf(to_, "%14.3f", value); }
    void loss_of_lock(int lli) { std::fprintf(to_, "%1.1d ", lli); }
    void blanks(int n) { std::fprintf(to_, "%*s", n, ""); }
    void end_of_line() { std::fprintf(to_, "\n"); }

private:
    std::FILE* to_;
};

// Formats that the compiler has read, and one call of fwrite an epoch.
class with_fmt {
public:
    explicit with_fmt(std::FILE* to) : to_(to) {}
    ~with_fmt() { std::fwrite(buffer_, 1, static_cast<std::size_t>(at_ - buffer_), to_); }
    with_fmt(const with_fmt&) = delete;
    with_fmt& operator=(const with_fmt&) = delete;
    void epoch(int year, int month, int day, int hour, int minute, double second, int satellites)
    {
        at_ = fmt::format_to(at_, FMT_COMPILE("> {:04} {:02} {:02} {:02} {:02}{:11.7f}  0{:3}{:21}\n"), year, month,
                             day, hour, minute, second, satellites, "");
    }
    void satellite(char system, int prn) { at_ = fmt::format_to(at_, FMT_COMPILE("{}{:02}"), system, prn); }
    void value(double value) { at_ = fmt::format_to(at_, FMT_COMPILE("{:14.3f}"), value); }
    void loss_of_lock(int lli) { at_ = fmt::format_to(at_, FMT_COMPILE("{} "), lli); }
    void blanks(int n) { at_ = std::fill_n(at_, n, ' '); }
    void end_of_line() { *at_++ = '\n'; }

private:
    std::FILE* to_;
    char buffer_[64 * 1024];   // a full record of 80 satellites with five signals takes 26 KB
    char* at_ = buffer_;
};

template <class Out>
void print_value(Out& out, double value)
{
    if (value != 0.0 && value > -1e9 && value < 1e9) {
        out.value(value);
    } else {
        out.blanks(14);
    }
}

template <class Out>
void print_phase(Out& out, double phase, int lli)
{
    print_value(out, phase);
    if (phase >= 0.01 && phase < 1e9 && lli != 0) {
        out.loss_of_lock(lli);
    } else {
        out.blanks(2);
    }
}

template <class Out>
void print_signal(Out& out, const obsd_t& obs, int slot)
{
    print_value(out, obs.P[slot]);
    out.blanks(2);
    print_phase(out, obs.L[slot], obs.LLI[slot]);
    print_value(out, obs.D[slot]);
    out.blanks(2);
    print_value(out, static_cast<int>(obs.SNR[slot] * 0.25));
    out.blanks(2);
}

template <class Out>
void print_blank_signal(Out& out)
{
    for (int i = 0; i < 4; ++i) out.blanks(16);
}

struct system_t {
    char letter;
    bool enabled;
    int slots;
};

system_t system_of(const raw_t& raw, const rnx_t& opt, int sys)
{
    const bool all = opt.rcvkind == 9 || std::strstr(opt.rectype, "KV4A0") != nullptr;
    const bool three = std::strstr(opt.rectype, "KV3A0") != nullptr || raw.opt_nosigmap != 0;
    const int bds_slots = opt.version < 304 ? 3 : 4;
    switch (sys) {
        case SYS_GPS:
            return {'G', opt.sys_gps != 0, all ? 4 : three ? 3 : 2};
        case SYS_GLO:
            return {'R', opt.sys_glo != 0, 2};
        case SYS_BDS:
            return {'C', opt.sys_bds != 0, all ? bds_slots : three ? 3 : 2};
        case SYS_GAL:
            return {'E', opt.sys_gal != 0, all ? 5 : three ? 3 : 0};
        case SYS_QZS:
            return {'J', opt.sys_gps != 0, all ? 4 : three ? 3 : 0};
        default:
            return {'S', opt.sys_sbs != 0, all || three ? 1 : 0};
    }
}

template <class Out>
void print_satellite(Out& out, const raw_t& raw, const rnx_t& opt, const obsd_t& obs)
{
    int prn = 0;
    const int sys = satsys(obs.sat, &prn);
    const system_t system = system_of(raw, opt, sys);
    if (!system.enabled) return;
    if (sys == SYS_SBS) prn += 19;
    out.satellite(system.letter, prn);
    for (int slot = 0; slot < system.slots; ++slot) {
        const bool b2a = sys == SYS_BDS && prn > 16;
        if (b2a && slot == 1) print_blank_signal(out);
        if (b2a && slot == 1 && opt.version != 304) continue;
        if (sys == SYS_BDS && !b2a && opt.version == 304 && slot == 2) print_blank_signal(out);
        print_signal(out, obs, slot);
    }
    out.end_of_line();
}

template <class Out>
void write_epoch(std::FILE* fp, const raw_t& raw, const rnx_t& opt)
{
    int year, month, day, hour, minute;
    double second;
    GetCommonTime(raw.week, raw.tow, 0.0, &year, &month, &day, &hour, &minute, &second);
    int count = 0;
    for (int i = 0; i < raw.nobs; ++i) count += system_of(raw, opt, satsys(raw.obs[i].sat, nullptr)).enabled;
    Out out(fp);
    out.epoch(year, month, day, hour, minute, second, count);
    for (int i = 0; i < raw.nobs; ++i) print_satellite(out, raw, opt, raw.obs[i]);
}

}   // namespace

std::size_t plain::observation(char* to, double value)
{
    return static_cast<std::size_t>(std::snprintf(to, 24, "%14.3f", value));
}

std::size_t plain::observation_fmt(char* to, double value)
{
    return static_cast<std::size_t>(fmt::format_to(to, FMT_COMPILE("{:14.3f}"), value) - to);
}

void plain::write_epoch3(std::FILE* fp, const raw_t& raw, const rnx_t& opt)
{
    write_epoch<with_fprintf>(fp, raw, opt);
}

void plain::write_epoch3_fmt(std::FILE* fp, const raw_t& raw, const rnx_t& opt)
{
    write_epoch<with_fmt>(fp, raw, opt);
}
