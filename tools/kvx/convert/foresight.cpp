#include "convert/foresight.h"

#include <algorithm>
#include <memory>
#include <vector>

#include "gnss/log/frame.h"
#include "gnss/log/framing.h"
#include "log/message_time.h"
#include "rinex/dates.h"
#include "rinex/observation_text.h"
#include "rinex/ranges.h"

namespace kvx {

namespace {

constexpr std::uint64_t kWorthALook = 1 << 19;   // bytes: the files of a smaller log are copied in a moment
constexpr std::uint64_t kStride = 1 << 16;       // bytes between samples, at least
constexpr std::uint64_t kMostSamples = 128;
constexpr std::size_t kPiece = 1 << 14;   // bytes; a sample is as many as it takes to a range message
constexpr int kMostPieces = 4;

class sampler_t {
public:
    sampler_t(input_file_t& log, const convert_options_t& options, const selection_t& selection)
        : log_(log),
          frame_(std::make_unique_for_overwrite<raw_t>()),
          piece_(kPiece),
          selection_(selection),
          ranges_(options.names, ledger_, [this](auto& epoch) { on_epoch(*epoch); }),
          text_(options.version(), options.names, ledger_),
          epoch_text_(rinex::observation_text_t::kLongestEpoch)
    {}

    const rinex::columns_t& columns() const { return text_.columns(); }

    void sample(std::uint64_t offset)
    {
        Initial_raw(frame_.get(), 1);   // framing needs no more
        bool found = false;
        for (int n = 0; n < kMostPieces && !found; ++n, offset += kPiece) {
            const std::size_t size = log_.read_at(offset, piece_.data(), piece_.size());
            if (size == 0) break;
            found = search(static_cast<int>(size));
        }
        ranges_.flush();
    }

private:
    // @return whether a range message was there
    bool search(int left)
    {
        const std::uint8_t* at = piece_.data();
        while (left > 0) {
            const int before = left;
            const korvex::framing_t framing = korvex::frame_block(frame_.get(), at, left);
            at += before - left;
            if (framing == korvex::framing_t::kComplete && take()) return true;
        }
        return false;
    }

    bool take()
    {
        if (!korvex::checksum_agrees(frame_->buff, frame_->len)) return false;
        const korvex::header_t header = korvex::read_header(frame_->buff);
        const auto time = time_of(header);
        if (!time || !is_range(header.id)) return false;
        return ranges_.add(*time, frame_->buff + korvex::kHeaderSize, header.body_size,
                           header.id == MSG_RANGE_COMPRESSED);
    }

    void on_epoch(rinex::epoch_t& epoch)
    {
        if (!selection_.in_window(epoch.time * rinex::kTicksPerMs)) return;
        selection_.apply(epoch, ledger_);
        rinex::text_t out(epoch_text_.data(), epoch_text_.size());
        text_.epoch(epoch, out);
    }

    input_file_t& log_;
    std::unique_ptr<raw_t> frame_;
    std::vector<std::uint8_t> piece_;
    const selection_t& selection_;
    rinex::ledger_t ledger_;   // of no concern
    rinex::range_collector_t ranges_;
    rinex::observation_text_t text_;
    std::vector<char> epoch_text_;   // of no concern either
};

}   // namespace

std::optional<rinex::columns_t> sampled_columns(input_file_t& log, const convert_options_t& options,
                                                const selection_t& selection)
{
    if (log.size_on_disk() < kWorthALook) return std::nullopt;
    const std::uint64_t samples = std::min(log.size_on_disk() / kStride, kMostSamples);
    sampler_t sampler(log, options, selection);
    for (std::uint64_t i = 0; i < samples; ++i) sampler.sample(log.size_on_disk() / samples * i);
    return sampler.columns();
}

}   // namespace kvx
