// Turns a log of the receiver board into a RINEX 3 observation file: the host's loop in its shortest whole form.
//   example_convert_log survey.log survey.rnx
#include <rtk_gnss.h>

#include <cmath>
#include <cstdio>
#include <cstring>
#include <memory>

// The receiver may send an epoch in several messages, which the record gathers. Only the next epoch's first message
// tells that it was whole, so a copy waits until then.
class EpochWriter {
public:
    explicit EpochWriter(std::FILE* obs) : obs_(obs)
    {
        Initial_Rnx(&options_);
        options_.version = 304;
        options_.rcvkind = 9;
        std::strcpy(options_.rectype, "KV4A0");
    }

    void add(const raw_t& raw)
    {
        if (pending_ && !continues(raw)) write();
        *epoch_ = raw;
        pending_ = true;
    }

    // Writes the last epoch and completes the header. Returns the number of epochs.
    int finish(const raw_t& raw)
    {
        if (pending_) write();
        WriteRinexObsApppos(obs_, &raw, &options_);
        WriteRinexObsLastEpoch(obs_, &options_);   // the interval and the time of the last epoch among others
        return epochs_;
    }

private:
    bool continues(const raw_t& raw) const
    {
        const bool same_time = raw.week == epoch_->week && std::fabs(timediff(raw.obs_tow, epoch_->obs_tow)) < 0.0015;
        return same_time && raw.nobs >= epoch_->nobs && raw.obs[0].sat == epoch_->obs[0].sat;
    }

    void write()
    {
        if (epochs_ == 0) WriteRinexObsHeader(obs_, epoch_.get(), &options_);
        const double step = (epoch_->week - options_.lastweek) * 604800.0 + epoch_->tow - options_.lasttow;
        if (epochs_ == 1 || (epochs_ > 1 && step < options_.interval)) options_.interval = step;
        // Rate 0.0: every epoch. Any other thins the output to whole multiples of it in the minute.
        epochs_ += WriteRinexObsRec(obs_, epoch_.get(), &options_, 0.0) == 1;
        pending_ = false;
    }

    std::FILE* obs_;
    rnx_t options_{};
    std::unique_ptr<raw_t> epoch_ = std::make_unique<raw_t>();   // 130 KB: not for the stack
    bool pending_ = false;
    int epochs_ = 0;
};

int main(int argc, char** argv)
{
    std::FILE* log = argc == 3 ? std::fopen(argv[1], "rb") : nullptr;
    std::FILE* obs = argc == 3 ? std::fopen(argv[2], "w+b") : nullptr;   // update mode: headers are patched
    if (log == nullptr || obs == nullptr) {
        std::fprintf(stderr, "usage: example_convert_log LOG RINEX\n");
        return 2;
    }

    EpochWriter epochs(obs);
    auto raw = std::make_unique<raw_t>();
    Initial_raw(raw.get(), 0);
    for (int kind; (kind = input_korvexf(raw.get(), log, 0)) != DECODE_EOF;)
        if (kind == DECODE_OBS) epochs.add(*raw);
    const int written = epochs.finish(*raw);

    const bool good = std::ferror(obs) == 0 && std::fclose(obs) == 0;   // in this order: a close hides errors
    std::fclose(log);
    std::printf("%d epochs\n", written);
    return good && written > 0 ? 0 : 1;
}
