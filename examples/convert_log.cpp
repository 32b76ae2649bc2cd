// Turns a log of the receiver board into a RINEX 3 observation file: the host's loop in its shortest whole form.
//   example_convert_log survey.log survey.rnx
#include <CEpochCollector.h>
#include <rtk_gnss.h>

#include <cstdio>
#include <cstring>
#include <memory>

// An observation file in its making.
class RinexFile {
public:
    explicit RinexFile(std::FILE* obs) : obs_(obs)
    {
        Initial_Rnx(&options_);
        options_.version = 304;
        options_.rcvkind = 9;
        std::strcpy(options_.rectype, "KV4A0");
    }

    void write(const raw_t& epoch)
    {
        if (epochs_ == 0) WriteRinexObsHeader(obs_, &epoch, &options_);
        const double step = (epoch.week - options_.lastweek) * 604800.0 + epoch.tow - options_.lasttow;
        if (epochs_ == 1 || (epochs_ > 1 && step < options_.interval)) options_.interval = step;
        // Rate 0.0: every epoch. Any other thins the output to whole multiples of it in the minute.
        epochs_ += WriteRinexObsRec(obs_, &epoch, &options_, 0.0) == 1;
    }

    // Completes the header. Returns the number of epochs.
    int finish(const raw_t& raw)
    {
        WriteRinexObsApppos(obs_, &raw, &options_);
        WriteRinexObsLastEpoch(obs_, &options_);   // the interval and the time of the last epoch among others
        return epochs_;
    }

private:
    std::FILE* obs_;
    rnx_t options_{};
    int epochs_ = 0;
};

int main(int argc, char** argv)
{
    std::FILE* log = argc == 3 ? std::fopen(argv[1], "rb") : nullptr;
    std::FILE* obs = log != nullptr ? std::fopen(argv[2], "w+b") : nullptr;   // update mode: headers are patched
    if (obs == nullptr) {
        if (argc != 3) return std::fprintf(stderr, "usage: example_convert_log LOG RINEX\n"), 2;
        std::perror(log == nullptr ? argv[1] : argv[2]);
        return 1;
    }

    RinexFile file(obs);
    CEpochCollector epochs;                 // an epoch may come in several messages: each is written once, whole
    auto raw = std::make_unique<raw_t>();   // 130 KB: not for the stack
    Initial_raw(raw.get(), 0);
    for (int kind; (kind = input_korvexf(raw.get(), log, 0)) != DECODE_EOF;)
        if (const raw_t* epoch = epochs.Add(raw.get(), kind)) file.write(*epoch);
    if (const raw_t* epoch = epochs.Flush()) file.write(*epoch);
    const int written = file.finish(*raw);

    const bool good = std::ferror(obs) == 0 && std::fclose(obs) == 0;   // in this order: a close hides errors
    std::fclose(log);
    std::printf("%d epochs\n", written);
    return good && written > 0 ? 0 : 1;
}
