#include "rinex_input.h"

#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include "fuzz_check.h"

namespace {

// A number of usual size most of the time, else any 64 bits.
double number(fuzz_input_t& input)
{
    const std::uint8_t kind = input.byte();
    if (kind < 16) return input.get<double>();
    if (kind < 32)
        return static_cast<double>(input.get<std::int64_t>() % 1'000'000'000'001) * 0.001;   // up to the widest field
    return input.get<std::int32_t>() * 0.001;
}

}   // namespace

rnx_t rinex_options(fuzz_input_t& input)
{
    constexpr int kVersions[] = {211, 299, 300, 301, 302, 303, 304, 304};
    constexpr int kKinds[] = {0, 1, 2, 5, 6, 9, 9, 3};
    constexpr const char* kBoards[] = {"",      "KV210",   "KV220",        "KV3A0",
                                       "KV4A0", "Trimble", "SEPT POLARX5", "KV3A0 KV4A0"};
    rnx_t opt{};
    Initial_Rnx(&opt);
    const std::uint8_t choice = input.byte();
    opt.version = kVersions[choice & 7];
    opt.rcvkind = kKinds[choice >> 3 & 7];
    const std::uint8_t systems = input.byte();
    opt.sys_gps = systems & 1;
    opt.sys_glo = systems >> 1 & 1;
    opt.sys_bds = systems >> 2 & 1;
    opt.sys_gal = systems >> 3 & 1;
    opt.sys_sbs = systems >> 4 & 1;
    if ((choice & 0x80) != 0) {   // texts
        for (char* text : {opt.prog, opt.runby, opt.marker, opt.markerno, opt.observer, opt.agency, opt.rectype,
                           opt.recno, opt.recver, opt.antno, opt.anttype, opt.antext}) {
            const std::size_t size = text == opt.marker || text == opt.markerno ? 64 : 32;
            for (std::size_t i = 0; i < size; ++i) text[i] = static_cast<char>(input.byte());
        }
    } else {
        std::strcpy(opt.rectype, kBoards[systems >> 5]);
    }
    if ((choice & 0x40) != 0) {   // numbers
        opt.interval = number(input);
        for (double& x : opt.apppos) x = number(input);
        for (double& x : opt.antdel) x = number(input);
    }
    return opt;
}

void fill_station(raw_t& raw, fuzz_input_t& input)
{
    for (double& x : raw.pos) x = number(input);
    raw.sng_flag = input.byte();
    raw.ant_word2 = input.get<std::uint32_t>();
    raw.glo_bias_mask = input.get<std::uint32_t>();
    input.fill(raw.glo_bias);
    input.fill(raw.sng_f);
    input.fill(raw.ant_type);
    input.fill(raw.rcv_text[0]);
}

void fill_epoch(raw_t& raw, fuzz_input_t& input)
{
    const std::uint8_t kind = input.byte();
    if ((kind & 0xF0) == 0xF0) {
        raw.week = input.get<std::uint16_t>();
        raw.tow = number(input);
    } else {
        raw.tow += (kind & 0x0F) * 0.1;   // an ordinary step
    }
    raw.nobs = static_cast<std::uint8_t>((kind & 0x80) != 0 ? input.byte() : kind >> 4);
    for (int i = 0; i < raw.nobs && i < kMaxObs && !input.empty(); ++i) {
        obsd_t& obs = raw.obs[i];
        obs.sat = input.byte();
        const std::uint8_t slots = input.byte();
        for (int slot = 0; slot < kNumSlots; ++slot) {
            if ((slots >> slot & 1) == 0) continue;
            obs.P[slot] = number(input);
            obs.L[slot] = number(input);
            obs.D[slot] = input.get<float>();
            obs.SNR[slot] = number(input);
            obs.LLI[slot] = input.byte();
            obs.code[slot] = input.byte();
        }
    }
}

std::FILE* memory_file()
{
    std::FILE* fp = fdopen(memfd_create("rinex", 0), "w+b");
    FUZZ_CHECK(fp != nullptr);
    return fp;
}

std::string content(std::FILE* fp)
{
    std::fflush(fp);
    struct stat info {};
    FUZZ_CHECK(fstat(fileno(fp), &info) == 0);
    std::string bytes(static_cast<std::size_t>(info.st_size), '\0');
    FUZZ_CHECK(pread(fileno(fp), bytes.data(), bytes.size(), 0) == info.st_size);
    return bytes;
}
