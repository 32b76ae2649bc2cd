// Turns a log of the receiver board into a RINEX 3 observation file: the host's loop in its shortest form.
//   example_convert_log survey.log survey.rnx
#include <rtk_gnss.h>

#include <cstdio>
#include <cstring>
#include <memory>

int main(int argc, char** argv)
{
    std::FILE* log = argc == 3 ? std::fopen(argv[1], "rb") : nullptr;
    std::FILE* obs = argc == 3 ? std::fopen(argv[2], "w+b") : nullptr;   // update mode: headers are patched
    if (log == nullptr || obs == nullptr) {
        std::fprintf(stderr, "usage: example_convert_log LOG RINEX\n");
        return 2;
    }

    const auto raw = std::make_unique<raw_t>();   // 130 KB: not for the stack
    Initial_raw(raw.get(), 0);
    rnx_t options{};
    Initial_Rnx(&options);
    options.version = 304;
    options.rcvkind = 9;
    std::strcpy(options.rectype, "KV4A0");

    int epochs = 0;
    for (int kind; (kind = input_korvexf(raw.get(), log, 0)) != DECODE_EOF;) {
        if (kind != DECODE_OBS) continue;
        if (epochs == 0) WriteRinexObsHeader(obs, raw.get(), &options);
        epochs += WriteRinexObsRec(obs, raw.get(), &options, 1.0) == 1;   // one epoch per call
    }
    WriteRinexObsApppos(obs, raw.get(), &options);
    WriteRinexObsLastEpoch(obs, &options);

    const bool written = std::ferror(obs) == 0 && std::fclose(obs) == 0;   // in this order: a close hides errors
    std::fclose(log);
    std::printf("%d epochs\n", epochs);
    return written && epochs > 0 ? 0 : 1;
}
