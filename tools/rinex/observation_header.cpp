#include "rinex/observation_header.h"

#include "gnss/rinex/text.h"
#include "rinex/dates.h"
#include "rinex/header.h"

namespace rinex {

namespace {

constexpr int kFirstWithoutPhaseShifts = 400;   // RINEX 4 took their lines out of use

std::string type_lines2(const columns_t& columns)
{
    std::vector<std::string> entries;
    for (const std::string& name : columns.names(0)) entries.push_back("    " + name);
    return list_lines(entries, count_of(entries.size(), 6), 9, "# / TYPES OF OBSERV");
}

std::string type_lines3(const columns_t& columns)
{
    std::string lines;
    for (std::size_t c = 0; c < kConstellationCount; ++c) {
        std::vector<std::string> entries;
        for (const std::string& name : columns.names(c)) entries.push_back(" " + name);
        if (entries.empty()) continue;
        const std::string first = std::string{kConstellations[c].letter, ' ', ' '} + count_of(entries.size(), 3);
        lines += list_lines(entries, first, 13, "SYS / # / OBS TYPES");
    }
    return lines;
}

// No correction: nobody has told how the phases of a carrier stand to each other. The line is mandatory: in a file
// without any phase there is one for each system with nothing but its letter.
std::string phase_shift_lines(const columns_t& columns)
{
    std::string lines, without_phase;
    for (std::size_t c = 0; c < kConstellationCount; ++c) {
        const std::string letter(1, kConstellations[c].letter);
        const std::vector<std::string> names = columns.names(c);
        for (const std::string& name : names) {
            if (name[0] == 'L')
                lines += header_line(std::string{kConstellations[c].letter, ' '} + name, "SYS / PHASE SHIFT");
        }
        if (!names.empty()) without_phase += header_line(letter, "SYS / PHASE SHIFT");
    }
    return lines.empty() ? without_phase : lines;
}

std::string glonass_lines(int version, const places_t& seen, const channels_t& channels)
{
    bool any = false;
    std::vector<std::string> entries;
    seen.each([&](int place) {
        const satellite_t satellite = satellite_at(place);
        if (satellite.constellation != kGlonass) return;
        any = true;
        const auto channel = channels[static_cast<std::size_t>(satellite.number)];
        if (!channel) return;
        const char sign = *channel < 0 ? '-' : ' ', digit = static_cast<char>('0' + std::abs(*channel));
        entries.push_back(satellite.name() + std::string{' ', sign, digit, ' '});
    });
    if (!any) return "";
    return list_lines(entries, count_of(entries.size(), 3) + " ", 8, "GLONASS SLOT / FRQ #") +
           (version < kFirstWithoutPhaseShifts ? header_line("", "GLONASS COD/PHS/BIS") : "");
}

std::string system_of_file(const places_t& seen)
{
    char letter = '\0';
    bool mixed = false;
    seen.each([&](int place) {
        const char one = satellite_at(place).letter();
        mixed |= letter != '\0' && one != letter;
        letter = one;
    });
    return mixed ? "M" : std::string(1, letter);
}

std::string station_lines(bool rinex2, const station_t& s)
{
    std::string lines = header_line(s.marker, "MARKER NAME");
    if (!s.marker_number.empty()) lines += header_line(s.marker_number, "MARKER NUMBER");
    if (!rinex2) lines += header_line(s.marker_type, "MARKER TYPE");
    lines += header_line(in_columns({{s.observer, 20}, {s.agency, 40}}), "OBSERVER / AGENCY");
    lines += header_line(in_columns({{s.receiver_number, 20}, {s.receiver_type, 20}, {s.receiver_version, 20}}),
                         "REC # / TYPE / VERS");
    lines += header_line(in_columns({{s.antenna_number, 20}, {s.antenna_type, 20}}), "ANT # / TYPE");
    return lines + vector_line(s.position, "APPROX POSITION XYZ") + vector_line(s.delta, "ANTENNA: DELTA H/E/N");
}

}   // namespace

std::string vector_line(const std::array<double, 3>& v, std::string_view label)
{
    text_buffer_t<80> out;
    for (const double x : v) out.header_number(x, 14, 4);
    return header_line(out.view(), label);
}

std::string observation_header(int version, const station_t& station, const session_t& session,
                               const columns_t& columns, const places_t& seen, const channels_t& channels)
{
    const bool rinex2 = version < 300;
    std::string h = version_line(version, "OBSERVATION DATA", system_of_file(seen)) +
                    program_line(station.program, station.run_by, station.date) + station_lines(rinex2, station);
    if (rinex2) h += header_line("     1     1", "WAVELENGTH FACT L1/2");
    h += rinex2 ? type_lines2(columns) : type_lines3(columns);
    if (!rinex2) h += header_line("DBHZ", "SIGNAL STRENGTH UNIT");
    if (session.interval > 0.0) {
        text_buffer_t<16> interval;
        h += header_line(interval.header_number(session.interval, 10, 3).view(), "INTERVAL");
    }
    h += time_line(session.first, "TIME OF FIRST OBS") + time_line(session.last, "TIME OF LAST OBS");
    if (!rinex2 && version < kFirstWithoutPhaseShifts) h += phase_shift_lines(columns);
    if (!rinex2) h += glonass_lines(version, seen, channels);
    if (station.leap_seconds)
        h += header_line(count_of(static_cast<std::size_t>(*station.leap_seconds), 6), "LEAP SECONDS");
    return h + header_line("", "END OF HEADER");
}

}   // namespace rinex
