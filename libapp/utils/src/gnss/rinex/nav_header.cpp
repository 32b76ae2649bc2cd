// Headers of navigation files: one table of lines for every system and layout.
#include <ctime>

#include "gnss/rinex/nav_record.h"
#include "rtk_gnss.h"

namespace {

using namespace rinex;

// Deliberate: December carries the name of September.
constexpr const char* kMonths[] = {"JAN", "FEB", "MAR", "APR", "MAY", "JUN", "JUL", "AUG", "SEP", "OCT", "NOV", "SEP"};

// The ways of the "PGM / RUN BY / DATE" line: name, filling of hours and minutes, end.
struct program_t {
    const char* name;
    char clock_fill;
    const char* end;
};

constexpr program_t kCapitalsRinex2 = {"KORVEX", '0', "     PGM / RUN BY / DATE \n"};
constexpr program_t kNameRinex2 = {"Korvex", ' ', "     PGM / RUN BY / DATE \n"};
constexpr program_t kCapitalsRinex3 = {"KORVEX", '0', " UTC PGM / RUN BY / DATE \n"};
constexpr program_t kNameRinex3 = {"Korvex", '0', " UTC PGM / RUN BY / DATE\n"};
constexpr program_t kNameAllSystems = {"Korvex", '0', " UTC PGM / RUN BY / DATE \n"};

constexpr char kLeapCount[] = "";   // stands for the line with the process's leap-second count

// Lines as they stand in the file.
// clang-format off
constexpr char kFixedLeaps[] = "    18    18  1929     7                                    LEAP SECONDS\n";
constexpr char kLeaps18[] = "    18                                                      LEAP SECONDS        \n";
constexpr char kIonAlpha[] = "     .0000E+00   .0000E+00   .0000E+00   .0000E+00          ION ALPHA           \n";
constexpr char kIonBeta[] = "     .0000E+00   .0000E+00   .0000E+00   .0000E+00          ION BETA            \n";
constexpr char kGpsA[] = "GPSA   0.0000E+00  0.0000E+00  0.0000E+00  0.0000E+00       IONOSPHERIC CORR\n";
constexpr char kGpsB[] = "GPSB   0.0000E+00  0.0000E+00  0.0000E+00  0.0000E+00       IONOSPHERIC CORR\n";
constexpr char kQzsA[] = "QZSA   0.0000E+00  0.0000E+00  0.0000E+00  0.0000E+00       IONOSPHERIC CORR\n";
constexpr char kQzsB[] = "QZSB   0.0000E+00  0.0000E+00  0.0000E+00  0.0000E+00       IONOSPHERIC CORR\n";
constexpr char kBdsA[] = "BD2A   0.0000E+00  0.0000E+00  0.0000E+00  0.0000E+00       IONOSPHERIC CORR\n";
constexpr char kBdsB[] = "BD2B   0.0000E+00  0.0000E+00  0.0000E+00  0.0000E+00       IONOSPHERIC CORR\n";
constexpr char kGalIon[] = "GAL    0.0000E+00  0.0000E+00  0.0000E+00  0.0000E+00       IONOSPHERIC CORR\n";
constexpr char kGalUtc[] = "GAUT   0.0000E+00  0.0000E+00  0.0000E+00  0.0000E+00       TIME SYSTEM CORR\n";
constexpr char kEnd[] = "                                                            END OF HEADER \n";

// One layout: the text behind the version, the program line, the lines up to the end. No title: no such layout.
struct layout_t {
    const char* title;
    program_t program;
    const char* lines[3];
};

// Deliberate: the label of the QZSS title in RINEX 2 stands one column further right than the others.
constexpr layout_t kGpsRinex2 = {"           N: GPS NAV DATA                         RINEX VERSION / TYPE\n",   kCapitalsRinex2, {kIonAlpha, kIonBeta}};
constexpr layout_t kGpsRinex3 = {"           N: GNSS NAV DATA    G: GPS              RINEX VERSION / TYPE\n",   kCapitalsRinex3, {kGpsA, kGpsB}};
constexpr layout_t kQzsRinex2 = {"           N: GNSS NAV DATA                         RINEX VERSION / TYPE\n",  kNameRinex2,     {kIonAlpha, kIonBeta, kFixedLeaps}};
constexpr layout_t kQzsRinex3 = {"           N: GNSS NAV DATA    J: QZSS             RINEX VERSION / TYPE\n",   kCapitalsRinex3, {kQzsA, kQzsB, kFixedLeaps}};
constexpr layout_t kGloRinex2 = {"           GLONASS NAV DATA                        RINEX VERSION / TYPE\n",   kNameRinex2,     {kLeapCount}};
constexpr layout_t kGloRinex3 = {"           N: GNSS NAV DATA    R: GLONASS          RINEX VERSION / TYPE\n",   kNameRinex3,     {kLeapCount}};
constexpr layout_t kGalRinex3 = {"           N: GNSS NAV DATA    E: GALILEO          RINEX VERSION / TYPE\n",   kNameRinex3,     {kGalIon, kGalUtc}};
constexpr layout_t kBdsRinex2 = {"           N: BDS NAV DATA                         RINEX VERSION / TYPE\n",   kNameRinex2,     {kIonAlpha, kIonBeta}};
constexpr layout_t kBdsRinex3 = {"           N: GNSS NAV DATA    C: BeiDou           RINEX VERSION / TYPE\n",   kNameRinex3,     {kBdsA, kBdsB}};
constexpr layout_t kAllRinex3 = {"           NAVIGATION DATA     M (Mixed)           RINEX VERSION / TYPE\n",   kNameAllSystems, {kLeaps18}};
constexpr layout_t kNone = {nullptr, {}, {}};
// clang-format on

void put_program(text_t& out, const program_t& program, bool rinex3)
{
    const std::time_t now = std::time(nullptr);
    std::tm utc{};
    gmtime_r(&now, &utc);
    out.label(program.name, 40);
    if (rinex3) {
        out.integer(utc.tm_year + 1900, 4).integer(utc.tm_mon + 1, 2, '0').integer(utc.tm_mday, 2, '0').put(' ');
        out.integer(utc.tm_hour, 2, '0').integer(utc.tm_min, 2, '0').integer(utc.tm_sec, 2, '0');
    } else {
        out.integer(utc.tm_mday, 2).put('-').put(kMonths[utc.tm_mon]).put('-').integer(utc.tm_year % 100, 2, '0');
        out.put(' ').integer(utc.tm_hour, 2, program.clock_fill);
        out.put(':').integer(utc.tm_min, 2, program.clock_fill);
    }
    out.put(program.end);
}

void put_header(text_t& out, const layout_t& layout, bool rinex3, int version)
{
    out.header_number((rinex3 ? version : kVersions[0]) / 100.0, 9, 2).put(layout.title);
    put_program(out, layout.program, rinex3);
    for (const char* line : layout.lines) {
        if (line == kLeapCount) {
            out.blanks(4).header_integer(g_curleap, 2).blanks(53).put(" LEAP SECONDS\n");
        } else if (line != nullptr) {
            out.put(line);
        }
    }
    out.put(kEnd);
}

struct header_t {
    nav_system_t system;
    bool rewinds;
    layout_t rinex2, rinex3;
};

constexpr header_t kGps = {kNavGps, true, kGpsRinex2, kGpsRinex3};
constexpr header_t kQzs = {kNavQzs, true, kQzsRinex2, kQzsRinex3};
constexpr header_t kGlo = {kNavGlo, false, kGloRinex2, kGloRinex3};
constexpr header_t kBds = {kNavBds, false, kBdsRinex2, kBdsRinex3};
constexpr header_t kGalileo = {kNavGal, false, kNone, kGalRinex3};
constexpr header_t kAll = {kNavAll, true, kNone, kAllRinex3};

int write_header(std::FILE* fp, const rnx_t* opt, const header_t& header)
{
    if (fp == nullptr || opt == nullptr) return 0;
    if (header.rewinds) std::fseek(fp, 0, SEEK_SET);
    const bool rinex3 = header.system.is_rinex3(opt->version);
    const layout_t& layout = rinex3 ? header.rinex3 : header.rinex2;
    if (layout.title == nullptr) return 1;
    text_buffer_t<640> out;
    put_header(out, layout, rinex3, opt->version);
    out.write(fp);
    return 1;
}

}   // namespace

int WriteRinexGpsEphHeader(std::FILE* fp, const rnx_t* opt)
{
    return write_header(fp, opt, kGps);
}

int WriteRinexQzssEphHeader(std::FILE* fp, const rnx_t* opt)
{
    return write_header(fp, opt, kQzs);
}

int WriteRinexGloEphHeader(std::FILE* fp, const rnx_t* opt)
{
    return write_header(fp, opt, kGlo);
}

int WriteRinexGalEphHeader(std::FILE* fp, const rnx_t* opt)
{
    return write_header(fp, opt, kGalileo);
}

int WriteRinexBDsEphHeader(std::FILE* fp, const rnx_t* opt)
{
    return write_header(fp, opt, kBds);
}

int WriteRinexALLEphHeader(std::FILE* fp, const rnx_t* opt)
{
    return write_header(fp, opt, kAll);
}
