#include "log/log_reader.h"

#include <algorithm>

#include "gnss/log/frame.h"
#include "gnss/log/framing.h"

namespace kvx {

log_reader_t::log_reader_t(input_file_t& source, raw_t& raw, bool decode, std::size_t block)
    : source_(source),
      raw_(raw),
      decode_(decode),
      block_size_(block),
      block_(std::make_unique_for_overwrite<std::uint8_t[]>(block))
{}

// Takes bytes of the block up to the end of a frame.
int log_reader_t::take(int& left)
{
    const std::uint8_t* const data = block_.get() + at_;
    if (decode_) {
        const int result = input_korvexb(&raw_, data, &left);
        // Of an SBAS satellite behind the last one of its table nothing is kept.
        return result == DECODE_EPH && (raw_.eph_sat == 0 || raw_.eph_sat > kMaxSat) ? DECODE_REFUSED : result;
    }
    const bool whole = korvex::frame_block(&raw_, data, left) == korvex::framing_t::kComplete;
    return whole && !korvex::checksum_agrees(raw_.buff, raw_.len) ? DECODE_REFUSED : DECODE_NOTHING;
}

bool log_reader_t::refill()
{
    if (source_.live() && before_waiting_) before_waiting_();
    at_ = 0;
    end_ = source_.read_some(block_.get(), block_size_);
    return end_ > 0;
}

void log_reader_t::is_one_of(const std::string& name, torn_frames_t& torn)
{
    torn_ = &torn;
    std::uint64_t n = torn.open(name);
    offset_ = frame_end_ = n;
    while (n > 0) {
        const std::size_t got = source_.read(block_.get(), std::min<std::uint64_t>(n, block_size_));
        if (got == 0) break;
        n -= got;
    }
}

// A frame that the end of the log cuts off comes whole once its rest is found in another log.
bool log_reader_t::complete_torn()
{
    if (torn_ == nullptr || raw_.nbyte == 0) return false;
    const std::size_t half = raw_.nbyte;
    const auto whole = torn_->completed(raw_.buff, half);
    if (!whole) return false;
    borrowed_ = whole->size() - half;
    std::copy(whole->begin(), whole->end(), block_.get());
    at_ = 0;
    end_ = whole->size();
    offset_ -= half;
    raw_.nbyte = 0;
    return true;
}

void log_reader_t::name(std::uint64_t offset, std::uint64_t bytes, const char* cause)
{
    if (damage_.size() < kMostPlaces) damage_.push_back({offset, bytes, cause});
}

// Behind the last frame or dropped header.
void log_reader_t::skip(std::uint64_t n)
{
    if (n == 0) return;
    losses_.skipped_bytes += n;
    ++losses_.skipped_runs;
    name(frame_end_, n, "bytes between frames");
}

bool log_reader_t::next(frame_t& frame)
{
    while (at_ < end_ || refill() || complete_torn()) {
        if (raw_.nbyte == 0) raw_.len = 0;   // tells a frame found from bytes merely searched
        int left = static_cast<int>(end_ - at_);
        const int before = left;
        const int result = take(left);
        at_ += static_cast<std::size_t>(before - left);
        offset_ += static_cast<std::size_t>(before - left);
        if (raw_.nbyte != 0 || raw_.len == 0) continue;

        const bool whole = raw_.len <= korvex::kMaxLen;
        const int size = whole ? raw_.len + korvex::kCrcSize : korvex::kLengthKnown;
        skip(offset_ - frame_end_ - static_cast<std::uint64_t>(size));
        frame_end_ = offset_;
        if (!whole) {
            name(frame_end_ - korvex::kLengthKnown, korvex::kLengthKnown, "header of more than a frame can hold");
            ++losses_.too_long;
            losses_.too_long_bytes += korvex::kLengthKnown;
            continue;
        }
        frame = {size, korvex::read_header(raw_.buff).id, result, true, offset_ - static_cast<std::uint64_t>(size)};
        count(frame);
        return true;
    }
    finish();
    return false;
}

// Finds out whether a refused frame was refused for its checksum.
void log_reader_t::count(frame_t& frame)
{
    if (frame.result == DECODE_REFUSED) {
        frame.checksum_ok = decode_ && korvex::checksum_agrees(raw_.buff, raw_.len);
        losses_.bad_checksum += !frame.checksum_ok;
        if (!frame.checksum_ok)
            name(frame.offset, static_cast<std::uint64_t>(frame.size), "frame with a wrong checksum");
    }
    (frame.checksum_ok ? losses_.good_bytes : losses_.bad_checksum_bytes) += static_cast<std::uint64_t>(frame.size);
}

void log_reader_t::finish()
{
    losses_.torn_bytes = raw_.nbyte;
    skip(offset_ - frame_end_ - raw_.nbyte);
    if (raw_.nbyte > 0) name(offset_ - raw_.nbyte, raw_.nbyte, "frame that the end of the log cuts off");
    frame_end_ = offset_;
    raw_.nbyte = 0;
}

}   // namespace kvx
