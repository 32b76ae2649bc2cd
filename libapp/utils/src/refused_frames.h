/// @file refused_frames.h  Device message frames in a stream that is full of false ones.
#ifndef RTK_REFUSED_FRAMES_H
#define RTK_REFUSED_FRAMES_H

#include <bitset>
#include <cstddef>
#include <cstdint>

#include "device_frame.h"
#include "stretch_checksums.h"

/// Refuses false frames in constant time each, and looks again in hardly any at those that were refused for the time
/// being: their checksums reach behind the bytes held, which count as zeros until they come. A plain object of some
/// 300 KB: it may be copied byte by byte.
class refused_frames_t {
public:
    static constexpr std::uint64_t kNone = UINT64_MAX;

    /// Forgets everything; the bytes held begin here.
    void restart(std::uint64_t position);

    /// Does the checksum of the whole frame at this position agree? If it is refused for the time being only, it is
    /// remembered. They come in order, after revived() has found nothing.
    /// @param capacity  bytes, counted from the first one held, that a checksum may reach into
    bool agrees(const stretch_t& held, std::uint64_t at, std::size_t capacity);

    /// Position of the first of them that has become a frame with what is held now, or kNone.
    std::uint64_t revived(const stretch_t& held, std::size_t capacity);

    /// The bytes before this position are about to go.
    void leave(const stretch_t& held, std::uint64_t position);

    /// Whether any may still be revived, and the position of the first.
    bool any() const { return first_ != count_; }
    std::uint64_t first(const stretch_t& held) const { return position(held, starts_[first_]); }

private:
    // As many as can wait at once: a sync each before the longest frame, with the longest header, ends.
    static constexpr std::size_t kReach = UINT16_MAX + device_frame::kMaxHeaderLength;
    static constexpr std::size_t kBlock = 16;   // looked at together
    static constexpr std::size_t kMost = (kReach / sizeof device_frame::kSync + kBlock) / kBlock * kBlock;

    static std::uint64_t position(const stretch_t& held, std::uint32_t low)
    {
        return held.begin + static_cast<std::uint32_t>(low - static_cast<std::uint32_t>(held.begin));
    }
    std::uint32_t key(const stretch_t& held);
    void remember(std::uint64_t at, std::uint64_t end, std::uint32_t key);
    bool may_hit(std::size_t block, std::uint32_t key, std::uint32_t now) const;
    bool ends_before(std::uint64_t now) const;
    void see(std::uint64_t now);
    void move_goal(std::uint64_t goal);
    void remove_settled();
    void mark_keys();

    stretch_checksums_t<nullptr, 16, 8192> checksums_;
    std::uint64_t seen_;   // end of the bytes held with which all were refused
    std::uint64_t goal_;   // a position that no checksum reaches
    std::uint64_t key_end_;
    std::uint32_t key_;    // of what is held, when it ends there
    std::uint64_t tidy_;   // end of the bytes held when those that are settled were removed
    std::size_t first_, count_;
    // What the checksum of all up to the end of the bytes held has to be for a frame, when both are moved on to the
    // goal.
    std::uint32_t keys_[kMost];
    std::uint32_t ends_[kMost];     // where their checksums end, low bits of the position
    std::uint32_t starts_[kMost];   // ascending, low bits

    // What all of them have to be looked through for: of so many positions where checksums may end next, those where
    // one does, and of the low bits of keys those that one has.
    static constexpr std::size_t kAhead = 512, kKeyMarks = 4096;
    std::bitset<kAhead> ends_at_;
    std::bitset<kKeyMarks> has_key_;
};

#endif
