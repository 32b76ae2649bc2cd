// The patches of an observation file on a file of any content: they overwrite so many bytes at most, never shorten the
// file, and leave one alone that has neither their labels nor an end of header. Input: options, station, file.

#include "fuzz_check.h"
#include "rinex_input.h"

namespace {

constexpr std::size_t kLine = 81;   // with its newline

std::size_t changed_bytes(const std::string& before, const std::string& after)
{
    std::size_t changed = after.size() - before.size();
    for (std::size_t i = 0; i < before.size(); ++i) changed += before[i] != after[i];
    return changed;
}

bool has_place(const std::string& file)
{
    for (const char* label :
         {"OBSERVER / AGENCY", "ANTENNA: DELTA H/E/N", "TIME OF FIRST OBS", "LEAP SECONDS", "END OF HEADER"}) {
        if (file.find(label) != file.npos) return true;
    }
    return false;
}

template <typename Patch>
void check_patch(std::FILE* fp, std::size_t lines, Patch patch)
{
    const std::string before = content(fp);
    FUZZ_CHECK(patch() == 1);
    const std::string after = content(fp);
    FUZZ_CHECK(after.size() >= before.size());
    FUZZ_CHECK(changed_bytes(before, after) <= (has_place(before) ? lines * kLine : 0));
}

}   // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    fuzz_input_t input(data, size);
    rnx_t opt = rinex_options(input);
    opt.lastweek = input.get<std::int32_t>();
    opt.lasttow = input.get<double>();
    static raw_t raw;
    Initial_raw(&raw, 0);
    fill_station(raw, input);

    std::FILE* fp = memory_file();
    const auto file = input.rest();
    if (!file.empty()) std::fwrite(file.data(), 1, file.size(), fp);
    const long position = static_cast<long>(file.size() / 2);
    std::fseek(fp, position, SEEK_SET);

    check_patch(fp, 5, [&] { return WriteRinexObsApppos(fp, &raw, &opt); });
    FUZZ_CHECK(std::ftell(fp) == position);
    check_patch(fp, 3, [&] { return WriteRinexObsLastEpoch(fp, &opt); });
    FUZZ_CHECK(std::ftell(fp) == std::ssize(content(fp)));
    std::fclose(fp);
    return 0;
}
