// An observation file from its header to the last patch: whatever the record and the options hold, every line keeps its
// columns. Input: options, writer and rate, station, epochs.
#include <cmath>
#include <sstream>
#include <string_view>
#include <vector>

#include "fuzz_check.h"
#include "rinex_input.h"

namespace {

constexpr std::string_view kLabels[] = {
    "RINEX VERSION / TYPE", "PGM / RUN BY / DATE ", "MARKER NAME         ", "MARKER NUMBER       ",
    "OBSERVER / AGENCY   ", "REC # / TYPE / VERS ", "ANT # / TYPE        ", "APPROX POSITION XYZ ",
    "ANTENNA: DELTA H/E/N", "INTERVAL            ", "SYS / # / OBS TYPES ", "# / TYPES OF OBSERV ",
    "WAVELENGTH FACT L1/2", "TIME OF FIRST OBS   ", "TIME OF LAST OBS    ", "LEAP SECONDS",
    "GLONASS COD/PHS/BIS ", "END OF HEADER       ", "COMMENT             ",
};

// Labels that patches look for; in the text of a header line they lead a patch astray.
constexpr std::string_view kSearched[] = {"OBSERVER / AGENCY", "ANTENNA: DELTA H/E/N", "TIME OF FIRST OBS",
                                          "LEAP SECONDS", "END OF HEADER"};

bool has_label(std::string_view line)
{
    if (line.size() <= 60) return false;
    return std::find(std::begin(kLabels), std::end(kLabels), line.substr(60)) != std::end(kLabels);
}

void check_characters(std::string_view line)
{
    for (const char c : line) FUZZ_CHECK(static_cast<unsigned char>(c) >= 0x20 && c != 0x7F);
}

// Fields of 16: 14 with the point three digits before the end, or blank; a digit or a blank; a blank.
void check_fields(std::string_view fields)
{
    FUZZ_CHECK(fields.size() % 16 == 0);
    for (; !fields.empty(); fields.remove_prefix(16)) {
        const std::string_view value = fields.substr(0, 14);
        FUZZ_CHECK(value == std::string_view("              ") || value[10] == '.');
        FUZZ_CHECK(value.find_first_not_of(" -.0123456789") == value.npos);
        FUZZ_CHECK((fields[14] == ' ' || (fields[14] >= '0' && fields[14] <= '9')) && fields[15] == ' ');
    }
}

// The one value that is wider than its columns, by rounding: the check counts it as one that fits.
std::string without_wide_values(std::string line)
{
    constexpr std::string_view kWide = "-1000000000.000", kFits = "-999999999.999";
    for (std::size_t at; (at = line.find(kWide)) != line.npos;) line.replace(at, kWide.size(), kFits);
    return line;
}

void check_body_line(std::string_view line, bool rinex3)
{
    if (has_label(line)) return;   // of an event
    if (!rinex3) {
        FUZZ_CHECK(line.size() <= 80);
    } else if (line.starts_with('>')) {
        FUZZ_CHECK(line.size() == 56);
    } else if (!line.empty()) {
        FUZZ_CHECK(std::string_view("GREJCS").find(line[0]) != std::string_view::npos && line.size() >= 3);
        check_fields(line.substr(3));
    }
}

void check_lines(const std::string& text, bool rinex3, bool sane_times)
{
    std::istringstream stream(text);
    std::string line;
    bool header = true;
    while (std::getline(stream, line)) {
        check_characters(line);
        if (header) {
            FUZZ_CHECK(has_label(line));
            header = !line.ends_with(kLabels[17]);
        } else if (sane_times) {
            check_body_line(without_wide_values(line), rinex3);
        }
    }
    FUZZ_CHECK(!header && (text.back() == '\n' || !sane_times));
}

std::vector<std::string> header_labels(const std::string& header)
{
    std::istringstream stream(header);
    std::vector<std::string> labels;
    for (std::string line; std::getline(stream, line);) labels.push_back(line.substr(60));
    return labels;
}

bool leads_patches_astray(const std::string& header)
{
    std::istringstream stream(header);
    for (std::string line; std::getline(stream, line);) {
        for (const std::string_view label : kSearched) {
            if (line.find(label) < 60) return true;
        }
    }
    return false;
}

}   // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    constexpr double kRates[] = {0.0, 1.0, 0.1, 0.5, 5.0, 30.0, -3.0, 1e-300};
    constexpr int kMostEpochs = 60;
    fuzz_input_t input(data, size);
    rnx_t opt = rinex_options(input);
    const std::uint8_t choice = input.byte();
    const bool two = (choice & 8) != 0;
    auto* const write = two ? WriteRinexObsRec_2 : WriteRinexObsRec;
    static raw_t raw;
    Initial_raw(&raw, 0);
    raw.week = 2305;
    raw.tow = 43200.0;
    raw.opt_nosigmap = choice >> 4 & 1;
    if ((choice & 0x20) != 0) fill_station(raw, input);

    std::FILE* fp = memory_file();
    FUZZ_CHECK(WriteRinexObsHeader(fp, &raw, &opt) == 1);
    const std::string header = content(fp);
    bool sane_times = true;
    for (int i = 0; i < kMostEpochs && !input.empty(); ++i) {
        fill_epoch(raw, input);
        sane_times = sane_times && raw.tow >= 0.0 && raw.tow <= 604800.0;
        const int result = write(fp, &raw, &opt, kRates[choice & 7]);
        FUZZ_CHECK(result >= -1 && result <= 1);
    }
    // Version 300 has epochs in RINEX 3 form but events in that of RINEX 2.
    if (opt.version != 300) FUZZ_CHECK(WriteStopAndGoInfo(fp, &raw, &opt) == 1);
    const std::string text = content(fp);
    check_lines(text, opt.version > 299, sane_times);

    FUZZ_CHECK(WriteRinexObsApppos(fp, &raw, &opt) == 1);
    const bool astray = leads_patches_astray(header) || leads_patches_astray(content(fp).substr(0, header.size()));
    FUZZ_CHECK(WriteRinexObsLastEpoch(fp, &opt) == 1);
    if (!astray) {
        const std::string patched = content(fp);
        check_lines(patched, opt.version > 299, sane_times);
        FUZZ_CHECK(patched.substr(header.size()) == text.substr(header.size()));
        FUZZ_CHECK(header_labels(patched.substr(0, header.size())) == header_labels(header));
    }
    FUZZ_CHECK(WriteBestxyzFile(fp, &raw) == 1);
    std::fclose(fp);
    return 0;
}
