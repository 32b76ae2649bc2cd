#include "refused_frames.h"

#include <algorithm>

#include "gnss/foundation/wire.h"

using namespace device_frame;

namespace {

constexpr std::uint64_t kGoalStep = 256;
constexpr std::uint64_t kTidyStep = 32;

// What a header says, and the word that its checksum must be.
struct claim_t {
    std::uint64_t end;   // of what the checksum covers
    std::uint32_t word;
};

claim_t claim_at(const stretch_t& held, std::uint64_t at)
{
    const std::uint8_t* frame = held.at(at);
    const std::size_t payload = wire::u16(frame + kPayloadLength);
    return {at + frame[kHeaderLength] + payload, wire::u32(frame + kHeaderSize + payload)};
}

}   // namespace

void refused_frames_t::restart(std::uint64_t position)
{
    checksums_.restart(position);
    seen_ = tidy_ = goal_ = position;
    key_end_ = kNone;
    first_ = count_ = 0;
    ends_at_.reset();
    has_key_.reset();
}

// The checksum of a frame is the difference of those up to its ends, U(end) - U(at) * x^(8 * (end - at)). Zeros behind
// the bytes held move U on: U(held) * x^(8 * (end - held)). So it agrees while U(held) * x^(8 * (goal - held)) is its
// key: one comparison tells for each that waits.
bool refused_frames_t::agrees(const stretch_t& held, std::uint64_t at, std::size_t capacity)
{
    const auto [end, word] = claim_at(held, at);
    const std::uint32_t before = checksums_.up_to(held, at);
    if (end <= held.end) return (checksums_.up_to(held, end) ^ crc::moved_on(before, end - at)) == word;
    move_goal(held.end + kMaxHeaderLength);
    const std::uint32_t wanted = crc::moved_on(word, goal_ - end) ^ crc::moved_on(before, goal_ - at);
    if (wanted == key(held) && end - held.begin <= capacity) return true;
    remember(at, end, wanted);
    return false;
}

// Of what is held.
std::uint32_t refused_frames_t::key(const stretch_t& held)
{
    if (key_end_ != held.end) key_ = crc::moved_on(checksums_.up_to(held, held.end), goal_ - held.end);
    key_end_ = held.end;
    return key_;
}

void refused_frames_t::remember(std::uint64_t at, std::uint64_t end, std::uint32_t key)
{
    if (count_ == kMost) remove_settled();
    if (!any()) first_ = count_ = 0;
    if (count_ % kBlock == 0) {   // all of a block has values
        std::fill_n(keys_ + count_, kBlock, key);
        std::fill_n(ends_ + count_, kBlock, static_cast<std::uint32_t>(end));
    }
    keys_[count_] = key;
    ends_[count_] = static_cast<std::uint32_t>(end);
    starts_[count_] = static_cast<std::uint32_t>(at);
    ++count_;
    ends_at_[end % kAhead] = true;
    has_key_[key % kKeyMarks] = true;
}

// Whether a checksum ends in front of this position, behind the bytes seen.
bool refused_frames_t::ends_before(std::uint64_t now) const
{
    static_assert(kAhead > kMaxHeaderLength);
    if (now - seen_ > kAhead) return true;
    for (std::uint64_t end = seen_ + 1; end < now; ++end) {
        if (ends_at_[end % kAhead]) return true;
    }
    return false;
}

// With the bytes up to here all are refused.
void refused_frames_t::see(std::uint64_t now)
{
    if (now - seen_ >= kAhead) {
        ends_at_.reset();
        seen_ = now;
    }
    while (seen_ != now) ends_at_[++seen_ % kAhead] = false;
}

// Whether one of a block has the key, or came to its end between the bytes seen and those that are there now.
bool refused_frames_t::may_hit(std::size_t block, std::uint32_t key, std::uint32_t now) const
{
    const auto behind = static_cast<std::uint32_t>(seen_) + 1;
    std::uint32_t hits = 0;
    for (std::size_t i = 0; i < kBlock; ++i) {
        hits |= static_cast<std::uint32_t>(keys_[block + i] == key);
        hits |= static_cast<std::uint32_t>(ends_[block + i] - behind < now - behind);
    }
    return hits != 0;
}

std::uint64_t refused_frames_t::revived(const stretch_t& held, std::size_t capacity)
{
    if (any() && held.end != seen_) {
        if (held.end - tidy_ >= kTidyStep) remove_settled();
        const auto begin = static_cast<std::uint32_t>(held.begin), now = static_cast<std::uint32_t>(held.end);
        const std::uint32_t wanted = held.end < goal_ ? key(held) : 0;
        // One that ends right here is told by its key.
        const bool some = has_key_[wanted % kKeyMarks] || ends_before(held.end);
        for (std::size_t i = some ? first_ : count_; i < count_; ++i) {
            if (i % kBlock == 0 && !may_hit(i, wanted, now)) {
                i += kBlock - 1;
                continue;
            }
            const std::uint32_t left = ends_[i] - now, passed = ends_[i] - static_cast<std::uint32_t>(seen_);
            if (passed - 1 >= INT32_MAX) continue;   // settled
            const std::uint64_t at = position(held, starts_[i]);
            if (left <= kMaxHeaderLength ? keys_[i] == wanted && ends_[i] - begin <= capacity
                                         : agrees(held, at, capacity))
                return at;
        }
    }
    see(held.end);
    return kNone;
}

void refused_frames_t::leave(const stretch_t& held, std::uint64_t position_left)
{
    checksums_.leave(held, position_left);
    while (any() && first(held) < position_left) ++first_;
}

// Those that are known stay right: so many more zeros.
void refused_frames_t::move_goal(std::uint64_t goal)
{
    if (goal <= goal_) return;
    const std::uint64_t moved = goal - goal % kGoalStep + kGoalStep;
    if (any()) {
        remove_settled();
        for (std::size_t i = first_; i < count_; ++i) keys_[i] = crc::moved_on(keys_[i], moved - goal_);
        mark_keys();
    }
    goal_ = moved;
    key_end_ = kNone;
}

// A checksum that was refused with all of its bytes there stays so.
void refused_frames_t::remove_settled()
{
    std::size_t left = 0;
    for (std::size_t i = first_; i < count_; ++i) {
        if (static_cast<std::int32_t>(ends_[i] - static_cast<std::uint32_t>(seen_)) <= 0) continue;
        keys_[left] = keys_[i];
        ends_[left] = ends_[i];
        starts_[left++] = starts_[i];
    }
    first_ = 0;
    count_ = left;
    tidy_ = seen_;
    mark_keys();
}

void refused_frames_t::mark_keys()
{
    has_key_.reset();
    for (std::size_t i = first_; i < count_; ++i) has_key_[keys_[i] % kKeyMarks] = true;
}
