#include "gnss/log/framing.h"

#include <algorithm>
#include <cstring>

#include "gnss/log/frame.h"

namespace korvex {

namespace {

constexpr int kSearchLimit = 4097;   // bytes that one call on a file reads in search of a frame

// While no frame is in hand, the start of the frame buffer holds the last three bytes seen.
bool sync_completed_by(raw_t* raw, std::uint8_t byte)
{
    raw->buff[0] = raw->buff[1];
    raw->buff[1] = raw->buff[2];
    raw->buff[2] = byte;
    if (std::memcmp(raw->buff, kSync, kSyncSize) != 0) return false;
    raw->nbyte = kSyncSize;
    return true;
}

// The body size has arrived. Bytes of a refused frame are not searched again.
framing_t check_length(raw_t* raw)
{
    raw->len = wire::u16(raw->buff + kAtBodySize) + kHeaderSize;
    if (raw->len <= kMaxLen) return framing_t::kMore;
    raw->nbyte = 0;
    return framing_t::kTooLong;
}

framing_t complete(raw_t* raw)
{
    raw->nbyte = 0;
    return framing_t::kComplete;
}

// Looks at the frame in hand after it has grown.
framing_t check_progress(raw_t* raw)
{
    if (raw->nbyte < kLengthKnown) return framing_t::kMore;
    if (raw->nbyte == kLengthKnown) return check_length(raw);
    return raw->nbyte < raw->len + kCrcSize ? framing_t::kMore : complete(raw);
}

// Searches a block for the sync, which may have begun in the block before. Returns the bytes used up.
int hunt(raw_t* raw, const std::uint8_t* data, int n)
{
    for (int i = 0; i < std::min(n, kSyncSize - 1); ++i) {
        if (sync_completed_by(raw, data[i])) return i + 1;
    }
    if (n < kSyncSize) return n;

    const std::uint8_t* const last = data + n - kSyncSize;   // last place where a whole sync fits
    for (const std::uint8_t* p = data; p <= last; ++p) {
        p = static_cast<const std::uint8_t*>(std::memchr(p, kSync[0], static_cast<std::size_t>(last - p) + 1));
        if (p == nullptr) break;
        if (p[1] != kSync[1] || p[2] != kSync[2]) continue;
        std::memcpy(raw->buff, p, kSyncSize);
        raw->nbyte = kSyncSize;
        return static_cast<int>(p - data) + kSyncSize;
    }
    std::memcpy(raw->buff, last, kSyncSize);
    return n;
}

// Copies what the frame in hand still needs: up to its body size first, then up to its end.
int collect(raw_t* raw, const std::uint8_t* data, int n)
{
    const int goal = raw->nbyte < kLengthKnown ? kLengthKnown : raw->len + kCrcSize;
    const int take = std::clamp(goal - raw->nbyte, 0, n);
    std::memcpy(raw->buff + raw->nbyte, data, static_cast<std::size_t>(take));
    raw->nbyte = static_cast<std::uint16_t>(raw->nbyte + take);
    return take;
}

framing_t hunt_in_file(std::uint32_t& last_three, std::FILE* file)
{
    constexpr std::uint32_t kWanted = kSync[0] << 16 | kSync[1] << 8 | kSync[2];
    for (int i = 0; i < kSearchLimit; ++i) {
        const int byte = getc_unlocked(file);
        if (byte == EOF) return framing_t::kEndOfFile;
        last_three = (last_three << 8 | static_cast<std::uint32_t>(byte)) & 0xFFFFFF;
        if (last_three == kWanted) return framing_t::kComplete;
    }
    return framing_t::kMore;
}

// The file is left right behind the sync, and may be a pipe: bytes are taken one at a time. Those of the frame buffer
// would wait for each other in memory.
framing_t hunt_in_file(raw_t* raw, std::FILE* file)
{
    auto last_three = static_cast<std::uint32_t>(raw->buff[0] << 16 | raw->buff[1] << 8 | raw->buff[2]);
    const framing_t found = hunt_in_file(last_three, file);
    for (int i = 0; i < kSyncSize; ++i) raw->buff[i] = static_cast<std::uint8_t>(last_three >> (16 - 8 * i));
    return found;
}

bool read_exactly(std::FILE* file, std::uint8_t* to, int n)
{
    return std::fread(to, static_cast<std::size_t>(n), 1, file) == 1;
}

}   // namespace

framing_t frame_byte(raw_t* raw, std::uint8_t byte)
{
    if (raw->nbyte == 0) {
        sync_completed_by(raw, byte);
        return framing_t::kMore;
    }
    raw->buff[raw->nbyte++] = byte;
    return check_progress(raw);
}

framing_t frame_block(raw_t* raw, const std::uint8_t* data, int& n)
{
    while (n > 0) {
        const bool hunting = raw->nbyte == 0;
        const int used = hunting ? hunt(raw, data, n) : collect(raw, data, n);
        data += used;
        n -= used;
        if (hunting) continue;
        const framing_t state = check_progress(raw);
        if (state != framing_t::kMore) return state;
    }
    return framing_t::kMore;
}

framing_t frame_file(raw_t* raw, std::FILE* file)
{
    if (raw->nbyte == 0) {
        const framing_t found = hunt_in_file(raw, file);
        raw->nbyte = 0;   // until the header is whole: after a short read the search starts anew
        if (found != framing_t::kComplete) return found;
    }
    if (!read_exactly(file, raw->buff + kSyncSize, kLengthKnown - kSyncSize)) return framing_t::kEndOfFile;
    raw->nbyte = kLengthKnown;
    if (check_length(raw) == framing_t::kTooLong) return framing_t::kTooLong;
    if (!read_exactly(file, raw->buff + kLengthKnown, raw->len + kCrcSize - kLengthKnown)) return framing_t::kEndOfFile;
    return complete(raw);
}

}   // namespace korvex
