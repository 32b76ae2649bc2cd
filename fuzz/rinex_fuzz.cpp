// RINEX files from their header to the last patch: whatever the record and the options hold, every line of the header
// keeps its columns, nothing but printable text comes out, and patches overwrite their lines and nothing else.
// Input: choices, pieces of the record and of the options; then epochs, each a piece of the record and a step of time,
// or satellites.
#include <rtk_gnss.h>

#include <string>

#include "fuzz.h"

namespace {

constexpr int kVersions[] = {211, 299, 300, 301, 302, 303, 304, 305};
constexpr double kRates[] = {0.0, 1.0, 0.1, 0.5, 5.0, 30.0, -3.0, 1e-300};
constexpr int kMostEpochs = 40, kMostSatellites = 8;

constexpr std::size_t kRecord = offsetof(raw_t, nbyte);   // bytes that the writers may read

// Overwrites a stretch of an object. Input: place, size, bytes.
void change(void* object, std::size_t object_size, bytes_t& input)
{
    const std::size_t place = take<std::uint16_t>(input) % object_size, size = take<std::uint8_t>(input);
    const auto bytes = input.first(std::min({size, input.size(), object_size - place}));
    std::copy(bytes.begin(), bytes.end(), static_cast<std::uint8_t*>(object) + place);
    input = input.subspan(bytes.size());
}

// A stream in memory.
class file_t {
public:
    file_t() : stream_(fmemopen(bytes_, sizeof bytes_, "w+")) {}
    ~file_t() { std::fclose(stream_); }
    operator std::FILE*() const { return stream_; }

    std::string content() const
    {
        const long position = std::ftell(stream_);
        FUZZ_CHECK(std::fseek(stream_, 0, SEEK_END) == 0);
        const std::string content(bytes_, static_cast<std::size_t>(std::ftell(stream_)));
        FUZZ_CHECK(std::fseek(stream_, position, SEEK_SET) == 0 && std::ferror(stream_) == 0);
        return content;
    }

private:
    static inline char bytes_[1 << 21];
    std::FILE* stream_;
};

// Lines of the header: 80 columns, those of leap seconds and ionosphere are other. @return its size
std::size_t check_header(std::string_view text)
{
    std::size_t at = 0;
    for (bool end = false; !end;) {
        const std::size_t next = text.find('\n', at);
        FUZZ_CHECK(next != text.npos);
        const std::string_view line = text.substr(at, next - at);
        FUZZ_CHECK(line.size() == (line.substr(60).starts_with("LEAP SECONDS") ? 72 : 80));
        end = line.substr(60).starts_with("END OF HEADER");
        at = next + 1;
    }
    return at;
}

void check_characters(std::string_view text)
{
    for (const char c : text) FUZZ_CHECK(c == '\n' || (static_cast<unsigned char>(c) >= 0x20 && c != 0x7F));
}

// In the text of a header line a label that patches look for leads a patch astray.
bool is_astray(std::string_view header, std::initializer_list<const char*> labels)
{
    return std::any_of(labels.begin(), labels.end(), [&](const char* label) {
        const std::size_t first = header.find(label);
        return first == header.npos || header.find(label, first + 1) != header.npos;
    });
}

void observation_file(raw_t& raw, rnx_t& opt, std::uint8_t choice, bytes_t epochs)
{
    auto* const write = (choice & 8) != 0 ? WriteRinexObsRec_2 : WriteRinexObsRec;
    const file_t file;
    FUZZ_CHECK(WriteRinexObsHeader(file, &raw, &opt) == 1);
    const std::size_t header = check_header(file.content());
    for (int i = 0; i < kMostEpochs && (i == 0 || !epochs.empty()); ++i) {
        const int result = write(file, &raw, &opt, kRates[choice & 7]);
        FUZZ_CHECK(result >= -1 && result <= 1);
        change(&raw, kRecord, epochs);
        raw.tow += take<std::uint8_t>(epochs) * 0.1;
    }
    FUZZ_CHECK(WriteStopAndGoInfo(file, &raw, &opt) == 1);
    const std::string before = file.content();
    check_characters(before);
    const bool astray =
        is_astray(std::string_view(before).substr(0, header),
                  {"OBSERVER / AGENCY", "ANTENNA: DELTA H/E/N", "TIME OF FIRST OBS", "LEAP SECONDS", "END OF HEADER"});
    FUZZ_CHECK(WriteRinexObsApppos(file, &raw, &opt) == 1 && WriteRinexObsLastEpoch(file, &opt) == 1);
    const std::string after = file.content();
    check_characters(after);
    if (!astray) FUZZ_CHECK(check_header(after) == header && after.substr(header) == before.substr(header));
    FUZZ_CHECK(WriteBestxyzFile(file, &raw) == 1);
    check_characters(file.content());
}

// What a patch has changed lies in that many bytes behind the line with the label.
void check_patch(const std::string& before, const std::string& after, std::ptrdiff_t bytes)
{
    constexpr char kLabel[] = "PGM / RUN BY / DATE";
    const auto place = static_cast<std::ptrdiff_t>(before.find('\n', before.find(kLabel)) + 1);
    FUZZ_CHECK(after.size() == before.size());
    const auto first = std::mismatch(before.begin(), before.end(), after.begin()).first - before.begin();
    const auto behind = std::mismatch(before.rbegin(), before.rend(), after.rbegin()).first - before.rbegin();
    const auto size = static_cast<std::ptrdiff_t>(before.size());
    FUZZ_CHECK(first == size || (first >= place && size - behind <= place + bytes));
}

void navigation_file(raw_t& raw, const rnx_t& opt, std::uint8_t choice, bytes_t satellites)
{
    constexpr int (*kHeaders[])(std::FILE*, const rnx_t*) = {WriteRinexALLEphHeader,  WriteRinexGpsEphHeader,
                                                             WriteRinexQzssEphHeader, WriteRinexGloEphHeader,
                                                             WriteRinexGalEphHeader,  WriteRinexBDsEphHeader};
    auto* const header = kHeaders[choice % std::size(kHeaders)];
    const file_t file;
    FUZZ_CHECK(header(file, &opt) == 1);
    for (int i = 0; i < kMostSatellites && !satellites.empty(); ++i) {
        const auto sat = take<std::uint8_t>(satellites);
        raw.eph_sat = sat;
        for (auto* write : {WriteRinexGpsEphRec, WriteRinexQzssEphRec, WriteRinexGloEphRec, WriteRinexGalEphRec,
                            WriteRinexSBASEphRec})
            write(file, &raw, &opt);
        WriteRinexBDsEphRec(file, &raw, &opt, static_cast<signed char>(sat));
    }
    const std::string written = file.content();
    WriteRinexGpsEphIonPara(file, raw.ion_gps, &opt);
    const std::string patched = file.content();
    if (header == WriteRinexGpsEphHeader) check_patch(written, patched, opt.version >= 300 ? 2 * 78 : 2 * 81 - 1);
    WriteRinexGloEphCurleap(file);
    if (header == WriteRinexGloEphHeader) check_patch(patched, file.content(), 72);
    check_characters(file.content());
}

}   // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    bytes_t input(data, size);
    const auto choice = take<std::uint8_t>(input), kinds = take<std::uint8_t>(input),
               pieces = take<std::uint8_t>(input);
    static raw_t raw;
    std::memset(static_cast<void*>(&raw), 0, kRecord);
    rnx_t opt{};
    for (int i = 0; i < pieces % 16; ++i) change(&raw, kRecord, input);
    for (int i = 0; i < pieces / 16; ++i) change(&opt, sizeof opt, input);
    opt.version = kVersions[kinds & 7];
    opt.rcvkind = kinds >> 3 & 15;
    if ((choice & 0x80) != 0) raw.nobs %= kMaxObs + 1;
    (choice & 0x40) != 0 ? navigation_file(raw, opt, choice & 0x3F, input) : observation_file(raw, opt, choice, input);
    return 0;
}
