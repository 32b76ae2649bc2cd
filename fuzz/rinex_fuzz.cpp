// RINEX files from their header to the last patch: whatever the record and the options hold, every line of the header
// keeps its columns, nothing but printable text comes out, and patches overwrite their lines and nothing else.
// Input: choices, options, record, then fields of further epochs.
#include <rtk_gnss.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>

#include "fuzz.h"

namespace {

constexpr int kVersions[] = {211, 299, 300, 301, 302, 303, 304, 305};
constexpr double kRates[] = {0.0, 1.0, 0.1, 0.5, 5.0, 30.0, -3.0, 1e-300};

std::string content(std::FILE* file)
{
    std::fflush(file);
    struct stat info {};
    FUZZ_CHECK(fstat(fileno(file), &info) == 0);
    std::string bytes(static_cast<std::size_t>(info.st_size), '\0');
    FUZZ_CHECK(pread(fileno(file), bytes.data(), bytes.size(), 0) == info.st_size);
    return bytes;
}

// Lines of the header: 80 columns, those of leap seconds and ionosphere are other. @return its size
std::size_t check_header(const std::string& text)
{
    std::size_t at = 0;
    for (bool end = false; !end;) {
        const std::size_t next = text.find('\n', at);
        FUZZ_CHECK(next != text.npos);
        const std::string line = text.substr(at, next - at);
        FUZZ_CHECK(line.size() == (line.compare(60, 12, "LEAP SECONDS") == 0 ? 72 : 80));
        end = line.compare(60, 13, "END OF HEADER") == 0;
        at = next + 1;
    }
    return at;
}

void check_characters(const std::string& text)
{
    for (const char c : text) FUZZ_CHECK(c == '\n' || (static_cast<unsigned char>(c) >= 0x20 && c != 0x7F));
}

// In the text of a header line a label that patches look for leads a patch astray.
bool has_stray_label(const std::string& header)
{
    for (const char* label :
         {"OBSERVER / AGENCY", "ANTENNA: DELTA H/E/N", "TIME OF FIRST OBS", "LEAP SECONDS", "END OF HEADER"}) {
        const std::size_t first = header.find(label);
        if (first == header.npos || header.find(label, first + 1) != header.npos) return true;
    }
    return false;
}

std::FILE* memory_file()
{
    return fdopen(memfd_create("rinex", 0), "w+b");
}

void observation_file(raw_t& raw, rnx_t& opt, std::uint8_t choice, bytes_t epochs)
{
    auto* const write = (choice & 8) != 0 ? WriteRinexObsRec_2 : WriteRinexObsRec;
    std::FILE* file = memory_file();
    FUZZ_CHECK(WriteRinexObsHeader(file, &raw, &opt) == 1);
    const std::size_t header = check_header(content(file));
    for (int i = 0; i < 60 && (i == 0 || !epochs.empty()); ++i) {
        const int result = write(file, &raw, &opt, kRates[choice & 7]);
        FUZZ_CHECK(result >= -1 && result <= 1);
        raw.obs[take<std::uint8_t>(epochs) % kMaxObs] = take<obsd_t>(epochs);
        raw.tow += take<std::uint8_t>(epochs) * 0.1;
    }
    FUZZ_CHECK(WriteStopAndGoInfo(file, &raw, &opt) == 1);
    const std::string before = content(file);
    check_characters(before);
    const bool astray = has_stray_label(before.substr(0, header));
    FUZZ_CHECK(WriteRinexObsApppos(file, &raw, &opt) == 1 && WriteRinexObsLastEpoch(file, &opt) == 1);
    const std::string after = content(file);
    if (!astray) FUZZ_CHECK(check_header(after) == header && after.substr(header) == before.substr(header));
    FUZZ_CHECK(WriteBestxyzFile(file, &raw) == 1);
    std::fclose(file);
}

void navigation_file(raw_t& raw, const rnx_t& opt)
{
    std::FILE* file = memory_file();
    for (auto* write : {WriteRinexALLEphHeader, WriteRinexGpsEphHeader, WriteRinexQzssEphHeader, WriteRinexGloEphHeader,
                        WriteRinexGalEphHeader, WriteRinexBDsEphHeader})
        write(file, &opt);
    for (int sat = 0; sat < 200; ++sat) {
        raw.eph_sat = static_cast<std::uint16_t>(sat);
        for (auto* write : {WriteRinexGpsEphRec, WriteRinexQzssEphRec, WriteRinexGloEphRec, WriteRinexGalEphRec,
                            WriteRinexSBASEphRec})
            write(file, &raw, &opt);
        WriteRinexBDsEphRec(file, &raw, &opt, static_cast<signed char>(sat));
    }
    WriteRinexGpsEphIonPara(file, raw.ion_gps, &opt);
    WriteRinexGloEphCurleap(file);
    check_characters(content(file));
    std::fclose(file);
}

}   // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    bytes_t input(data, size);
    const auto choice = take<std::uint8_t>(input), kinds = take<std::uint8_t>(input);
    static raw_t raw;
    raw = take<raw_t>(input);
    auto opt = take<rnx_t>(input);
    opt.version = kVersions[kinds & 7];
    opt.rcvkind = kinds >> 3 & 15;
    if ((choice & 0x80) != 0) raw.nobs %= kMaxObs + 1;

    if ((choice & 0x40) != 0) navigation_file(raw, opt);
    observation_file(raw, opt, choice, input);
    return 0;
}
