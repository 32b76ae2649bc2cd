#include "rinex/nav_text.h"

#include <array>
#include <charconv>
#include <cmath>

#include "gnss/rinex/text.h"
#include "rinex/dates.h"
#include "rinex/header.h"

namespace rinex {

namespace {

constexpr int kLastWithoutFourthLine = 304;   // of GLONASS
constexpr int kFirstWithFrames = 400;
constexpr std::int64_t kWeekSeconds = 604800, kDaySeconds = 86400;

// D or E format: what has no two-digit exponent is 0 or, too large, blank.
void put_number(text_t& out, double value, int width, int decimals)
{
    constexpr double kSmallest = 1e-99;
    if (!(std::fabs(value) <= kLargestNumber)) {
        out.blanks(width);
        return;
    }
    char text[40];
    char* const end = std::to_chars(text, text + sizeof text, std::fabs(value) < kSmallest ? 0.0 : value,
                                    std::chars_format::scientific, decimals)
                          .ptr;
    end[-4] = 'E';
    out.blanks(width - static_cast<int>(end - text)).put({text, static_cast<std::size_t>(end - text)});
}

template <std::size_t N>
void put_numbers(text_t& out, const std::array<double, N>& values)
{
    for (const double value : values) put_number(out, value, 19, 12);
}

// Ends a line, which has no blanks at its end.
void end_line(std::string& text, const text_t& line)
{
    const std::string_view view = line.view();
    text.append(view.substr(0, view.find_last_not_of(' ') + 1)).push_back('\n');
}

void put_date(text_t& out, std::int64_t seconds)
{
    const calendar_t c = calendar_of(seconds * kTicksPerSecond);
    out.put(' ').integer(c.year, 4);
    for (const int part : {c.month, c.day, c.hour, c.minute, c.second}) out.put(' ').integer(part, 2, '0');
}

void put_epoch2(text_t& out, const ephemeris_record_t& r)
{
    const calendar_t c = calendar_of(r.epoch * kTicksPerSecond);
    out.integer(r.satellite.number, 2).put(' ').integer(c.year % 100, 2, '0');
    for (const int part : {c.month, c.day, c.hour, c.minute}) out.put(' ').integer(part, 2);
    out.integer(c.second, 3).put(".0");
}

std::string four_numbers(std::string_view name, const std::array<double, 4>& values, int blanks)
{
    text_buffer_t<80> out;
    out.put(name).blanks(blanks);
    for (const double value : values) put_number(out, value, 12, 4);
    return std::string(out.view());
}

std::string ion_utc_lines2(const ion_utc_record_t& r)
{
    text_buffer_t<80> utc;
    utc.blanks(3);
    put_number(utc, r.a0, 19, 12);
    put_number(utc, r.a1, 19, 12);
    utc.integer(r.utc_reference % kWeekSeconds, 9).integer(r.utc_reference / kWeekSeconds, 9);
    return header_line(four_numbers("", r.alpha, 2), "ION ALPHA") +
           header_line(four_numbers("", r.beta, 2), "ION BETA") + header_line(utc.view(), "DELTA-UTC: A0,A1,T,W");
}

std::string ion_utc_lines3(const ion_utc_record_t& r)
{
    text_buffer_t<80> utc;
    utc.put("GPUT ");
    put_number(utc, r.a0, 17, 10);
    put_number(utc, r.a1, 16, 9);
    utc.integer(r.utc_reference % kWeekSeconds, 7).integer(r.utc_reference / kWeekSeconds, 5);
    return header_line(four_numbers("GPSA", r.alpha, 1), "IONOSPHERIC CORR") +
           header_line(four_numbers("GPSB", r.beta, 1), "IONOSPHERIC CORR") +
           header_line(utc.view(), "TIME SYSTEM CORR");
}

struct kind2_t {
    char letter;
    const char* text;
};
constexpr kind2_t kKinds2[] = {
    {'G', "N: GPS NAV DATA"},     {'R', "G: GLONASS NAV DATA"}, {'S', "H: GEO NAV MSG DATA"},
    {'E', "N: GALILEO NAV DATA"}, {'J', "N: QZSS NAV DATA"},    {'C', "N: BEIDOU NAV DATA"},
};

std::string kind_line2(int version, char letter)
{
    for (const kind2_t& kind : kKinds2) {
        if (kind.letter == letter)
            return version_line(version, kind.text,
                                letter == 'G' || letter == 'R' || letter == 'S' ? "" : std::string(1, letter));
    }
    return "";
}

}   // namespace

std::string nav_text(int version, const ephemeris_record_t& r)
{
    const bool rinex2 = version < 300;
    std::string text;
    if (version >= kFirstWithFrames) {
        text = "> EPH " + r.satellite.name() + " " + kNavMessageNames[static_cast<std::size_t>(r.message)] + "\n";
    }
    {
        text_buffer_t<100> line;
        if (rinex2) {
            put_epoch2(line, r);
        } else {
            line.put(r.satellite.name());
            put_date(line, r.epoch);
        }
        auto clock = r.clock;
        if (rinex2 && r.message == nav_message_t::fdma)
            clock[2] = std::fmod(clock[2], kDaySeconds);   // second of the day there
        put_numbers(line, clock);
        end_line(text, line);
    }
    const bool without_fourth = r.message == nav_message_t::fdma && version <= kLastWithoutFourthLine;
    for (int i = 0; i < r.lines - without_fourth; ++i) {
        text_buffer_t<100> line;
        line.blanks(rinex2 ? 3 : 4);
        put_numbers(line, r.orbit[static_cast<std::size_t>(i)]);
        end_line(text, line);
    }
    return text;
}

std::string ion_utc_text(const ion_utc_record_t& r)
{
    std::string text = "> STO G   LNAV\n";
    text_buffer_t<100> pair;
    pair.blanks(3);
    put_date(pair, r.utc_reference);
    pair.put(' ').label("GPUT", 18).put(' ').blanks(18).put(' ').put("UTC(USNO)");
    end_line(text, pair);
    text_buffer_t<100> polynomial;
    polynomial.blanks(4);
    put_numbers(polynomial, std::array<double, 4>{double(r.sent % kWeekSeconds), r.a0, r.a1, 0.0});
    end_line(text, polynomial);

    text += "> ION G   LNAV\n";
    text_buffer_t<100> first, second, third;
    first.blanks(3);
    put_date(first, r.sent);
    put_numbers(first, std::array<double, 3>{r.alpha[0], r.alpha[1], r.alpha[2]});
    end_line(text, first);
    second.blanks(4);
    put_numbers(second, std::array<double, 4>{r.alpha[3], r.beta[0], r.beta[1], r.beta[2]});
    end_line(text, second);
    third.blanks(4);
    put_numbers(third, std::array<double, 1>{r.beta[3]});
    end_line(text, third);
    return text;
}

std::string nav_header(int version, const nav_header_t& h)
{
    const bool rinex2 = version < 300;
    std::string text = rinex2 ? kind_line2(version, h.system[0]) : version_line(version, "N: GNSS NAV DATA", h.system);
    text += program_line(h.program, h.run_by, h.date);
    if (h.ion_utc && version < kFirstWithFrames)
        text += rinex2 ? ion_utc_lines2(*h.ion_utc) : ion_utc_lines3(*h.ion_utc);
    if (h.leap_seconds) {
        text_buffer_t<16> leaps;
        text += header_line(leaps.integer(*h.leap_seconds, 6).view(), "LEAP SECONDS");
    }
    return text + header_line("", "END OF HEADER");
}

}   // namespace rinex
