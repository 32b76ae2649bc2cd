#include "log_reader.h"

namespace kvx {

namespace {

constexpr std::size_t kBlockSize = 1 << 20;
constexpr int kCrcSize = 4;
constexpr int kDroppedHeader = 10;   // bytes read before a frame turns out to be too long
constexpr int kLongestFrame = sizeof raw_t::buff;

int u16_at(const std::uint8_t* p)
{
    return p[0] | p[1] << 8;
}

bool checksum_ok(const raw_t& raw)
{
    const std::uint8_t* sent = raw.buff + raw.len;
    const std::uint32_t crc = sent[0] | sent[1] << 8 | sent[2] << 16 | static_cast<std::uint32_t>(sent[3]) << 24;
    return crc32(raw.buff, raw.len) == crc;
}

}   // namespace

LogReader::LogReader(LogSource& source, raw_t& raw) : source_(source), raw_(raw), block_(kBlockSize) {}

bool LogReader::refill()
{
    at_ = 0;
    end_ = source_.read(block_.data(), block_.size());
    return end_ > 0;
}

void LogReader::skip(std::uint64_t n)
{
    losses_.skipped_bytes += n;
    losses_.skipped_runs += n > 0;
}

bool LogReader::next(frame_t& frame)
{
    while (at_ < end_ || refill()) {
        if (raw_.nbyte == 0) raw_.len = 0;   // tells a frame found from bytes merely searched
        int left = static_cast<int>(end_ - at_);
        const int before = left;
        const int result = input_korvexb(&raw_, block_.data() + at_, &left);
        at_ += static_cast<std::size_t>(before - left);
        offset_ += static_cast<std::size_t>(before - left);
        if (raw_.nbyte != 0 || raw_.len == 0) continue;

        const bool whole = raw_.len + kCrcSize <= kLongestFrame;
        const int size = whole ? raw_.len + kCrcSize : kDroppedHeader;
        skip(offset_ - frame_end_ - static_cast<std::uint64_t>(size));
        frame_end_ = offset_;
        if (!whole) {
            ++losses_.too_long;
            continue;
        }
        frame = {offset_ - static_cast<std::uint64_t>(size), size, u16_at(raw_.buff + 4), result, true};
        if (result == DECODE_REFUSED) {
            frame.checksum_ok = checksum_ok(raw_);
            ++(frame.checksum_ok ? losses_.refused : losses_.bad_checksum);
        }
        return true;
    }
    finish();
    return false;
}

void LogReader::finish()
{
    losses_.torn_bytes = raw_.nbyte;
    skip(offset_ - frame_end_ - raw_.nbyte);
    frame_end_ = offset_;
    raw_.nbyte = 0;
}

}   // namespace kvx
