#include "convert/foresight.h"

#include <algorithm>

#include "gnss/log/frame.h"
#include "gnss/log/framing.h"
#include "log/message_time.h"
#include "rinex/dates.h"

namespace kvx {

namespace {

constexpr std::uint64_t kWorthALook = 1 << 17;   // bytes: the files of a smaller log are copied in a moment
constexpr std::uint64_t kStride = 1 << 16;       // bytes between samples, at least
constexpr std::size_t kPiece = 1 << 14;          // bytes; a sample is as many as it takes to a range message
constexpr int kMostPieces = 4;

}   // namespace

foresight_t::foresight_t(const convert_options_t& options, const selection_t& selection)
    : frame_(std::make_unique_for_overwrite<raw_t>()),
      piece_(kPiece),
      selection_(selection),
      ranges_(options.names, ledger_, [this](auto& epoch) { on_epoch(*epoch); }),
      text_(options.version(), options.names, ledger_),
      epoch_text_(rinex::observation_text_t::kLongestEpoch)
{}

void foresight_t::look_at(input_file_t& log, std::uint64_t most_samples)
{
    if (log.size_on_disk() < kWorthALook) return;
    looked_ = true;
    const std::uint64_t samples = std::clamp<std::uint64_t>(log.size_on_disk() / kStride, 1, most_samples);
    for (std::uint64_t i = 0; i < samples; ++i) sample(log, log.size_on_disk() / samples * i);
}

void foresight_t::sample(input_file_t& log, std::uint64_t offset)
{
    Initial_raw(frame_.get(), 1);   // framing needs no more
    bool found = false;
    for (int n = 0; n < kMostPieces && !found; ++n, offset += kPiece) {
        const std::size_t size = log.read_at(offset, piece_.data(), piece_.size());
        if (size == 0) break;
        found = search(static_cast<int>(size));
    }
    ranges_.flush();
}

// Whether a range message was there.
bool foresight_t::search(int left)
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

bool foresight_t::take()
{
    if (!korvex::checksum_agrees(frame_->buff, frame_->len)) return false;
    const korvex::header_t header = korvex::read_header(frame_->buff);
    const auto time = time_of(header);
    if (!time || !is_range(header.id)) return false;
    return ranges_.add(*time, frame_->buff + korvex::kHeaderSize, header.body_size, header.id == MSG_RANGE_COMPRESSED);
}

void foresight_t::on_epoch(rinex::epoch_t& epoch)
{
    if (!selection_.in_window(epoch.time * rinex::kTicksPerMs)) return;
    selection_.apply(epoch, ledger_);
    rinex::text_t out(epoch_text_.data(), epoch_text_.size());
    text_.epoch(epoch, out);
}

}   // namespace kvx
