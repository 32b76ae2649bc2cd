// Completes the headers of navigation files when ionosphere and leap seconds are known.
#include <cmath>

#include "gnss/rinex/nav_number.h"
#include "gnss/rinex/nav_record.h"
#include "gnss/rinex/patch.h"
#include "rtk_gnss.h"

namespace {

using namespace rinex;

constexpr char kPatchedBehind[] = "PGM / RUN BY / DATE";
constexpr std::size_t kCoefficientWidth = 12;

// What does not fit its columns is printed as 0: the patched lines keep their length.
void put_coefficient(text_t& out, double value)
{
    text_buffer_t<40> field;
    field.put(' ');
    put_nav_number(field, value, kIonosphereDigits);
    if (field.size() <= kCoefficientWidth) {
        out.put(field.view());
    } else {
        out.put(' ');
        put_nav_number(out, 0.0, kIonosphereDigits);
    }
}

struct ionosphere_lines_t {
    const char* begin[2];
    const char* end[2];
};

// Deliberate: in RINEX 3 the lines run two columns into the end of the header.
constexpr ionosphere_lines_t kRinex3Lines = {{"GPSA ", "GPSB "},
                                             {"       IONOSPHERIC CORR \n", "       IONOSPHERIC CORR \n"}};
constexpr ionosphere_lines_t kRinex2Lines = {{"    ", "    "},
                                             {"        ION ALPHA           \n", "        ION BETA            "}};

}   // namespace

int WriteRinexGpsEphIonPara(std::FILE* fp, double* ion, const rnx_t* opt)
{
    if (fp == nullptr || opt == nullptr) return 0;
    const ionosphere_lines_t& lines = kNavGps.is_rinex3(opt->version) ? kRinex3Lines : kRinex2Lines;
    text_buffer_t<256> out;
    for (int half = 0; half < 2; ++half) {
        out.put(lines.begin[half]);
        for (int i = 0; i < 4; ++i) put_coefficient(out, ion[4 * half + i]);
        out.put(lines.end[half]);
    }
    patch_after(fp, kPatchedBehind, out);
    std::fseek(fp, 0, SEEK_END);
    return 1;
}

int WriteRinexGloEphCurleap(std::FILE* fp)
{
    if (fp == nullptr) return 0;
    text_buffer_t<128> out;   // Deliberate: one column further right than in the header as first written.
    out.blanks(5).header_integer(g_curleap, 2).blanks(52).put(" LEAP SECONDS");
    patch_after(fp, kPatchedBehind, out);
    std::fseek(fp, 0, SEEK_END);
    return 1;
}
