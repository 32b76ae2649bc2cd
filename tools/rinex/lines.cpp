#include "rinex/lines.h"

#include <cstring>

namespace rinex {

namespace {
constexpr std::size_t kBlock = 1 << 18;
static_assert(kBlock > byte_lines_t::kLongest);
}   // namespace

byte_lines_t::byte_lines_t(read_t read) : read_(std::move(read)), block_(kBlock) {}

// Keeps what is unread of the block and fills up the rest.
bool byte_lines_t::refill()
{
    if (over_) return false;
    std::memmove(block_.data(), block_.data() + at_, end_ - at_);
    end_ -= at_;
    before_ += at_;
    at_ = 0;
    const std::size_t got = read_(block_.data() + end_, block_.size() - end_);
    over_ = got < block_.size() - end_;
    end_ += got;
    return got > 0;
}

bool byte_lines_t::next(std::string_view& line)
{
    const void* lf = nullptr;
    do {
        lf = std::memchr(block_.data() + at_, '\n', end_ - at_);
    } while (lf == nullptr && end_ - at_ < kLongest && refill());
    const std::size_t stop =
        lf != nullptr ? static_cast<std::size_t>(static_cast<const char*>(lf) - block_.data()) : end_;
    if (stop == at_ && lf == nullptr) return false;
    line = {block_.data() + at_, stop - at_};
    position_ = before_ + at_;
    cut_ = line.size() > kLongest || (lf == nullptr && !over_);
    unended_ = lf == nullptr && !cut_;
    if (line.size() > kLongest) line = line.substr(0, kLongest);
    at_ = cut_ ? at_ + line.size() : stop + (lf != nullptr);
    if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
    return true;
}

}   // namespace rinex
