/// @file log_reader.h  Frames of a log, one after the other, with an account of every byte.
#ifndef KVX_LOG_READER_H
#define KVX_LOG_READER_H

#include <rtk_gnss.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

#include "common/input_file.h"

namespace kvx {

/// One frame of the log.
struct frame_t {
    int size;     ///< bytes, with the checksum
    int id;       ///< message
    int result;   ///< decode_result_t
    bool checksum_ok;
    std::uint64_t offset;   ///< of its first byte in the log
};

/// What became of the bytes of the log, and what was lost. Each byte is in exactly one of the counts of bytes.
struct losses_t {
    std::uint64_t good_bytes = 0;      ///< of frames with a right checksum
    std::uint64_t skipped_bytes = 0;   ///< bytes between frames
    std::uint64_t skipped_runs = 0;
    std::uint64_t bad_checksum = 0;   ///< frames
    std::uint64_t bad_checksum_bytes = 0;
    std::uint64_t refused = 0;    ///< frames with a right checksum and wrong contents; counted by the summary
    std::uint64_t too_long = 0;   ///< headers that announce more than a frame holds
    std::uint64_t too_long_bytes = 0;
    std::uint64_t torn_bytes = 0;   ///< of the frame that the end of the log cuts off

    std::uint64_t bytes() const { return skipped_bytes + bad_checksum_bytes + too_long_bytes + torn_bytes; }
    bool any() const { return skipped_bytes + bad_checksum + refused + too_long + torn_bytes != 0; }

    losses_t& operator+=(const losses_t& other)
    {
        good_bytes += other.good_bytes;
        skipped_bytes += other.skipped_bytes;
        skipped_runs += other.skipped_runs;
        bad_checksum += other.bad_checksum;
        bad_checksum_bytes += other.bad_checksum_bytes;
        refused += other.refused;
        too_long += other.too_long;
        too_long_bytes += other.too_long_bytes;
        torn_bytes += other.torn_bytes;
        return *this;
    }
};

/// A place where the log is not as it was sent.
struct damage_t {
    std::uint64_t offset, bytes;
    const char* cause;
};

/// Reads a log block by block.
class log_reader_t {
public:
    /// @param source, raw  must outlive the reader
    /// @param decode       into the record; else it holds nothing but the frames, and their results say whether the
    ///                     checksum is right
    /// @param block        bytes read at once
    log_reader_t(input_file_t& source, raw_t& raw, bool decode = true, std::size_t block = 1 << 18);

    /// Called each time before more of a log that comes in live is waited for.
    void before_waiting(std::function<void()> act) { before_waiting_ = std::move(act); }

    /// Makes a frame that the end of the log cuts off whole; empty: its rest is not there.
    using complete_t = std::function<std::vector<std::uint8_t>(const std::uint8_t* half, std::size_t size)>;

    /// Before the first frame: the log is one of several of a session.
    /// @param belong_to_other  bytes at its beginning, of a frame of another log
    void is_one_of_several(std::uint64_t belong_to_other, complete_t complete);

    /// Reads up to the next complete frame.
    /// @return false at the end of the log
    bool next(frame_t& frame);

    std::uint64_t bytes() const { return offset_ - borrowed_; }   ///< read so far
    const losses_t& losses() const { return losses_; }

    /// Where bytes were lost, in order; the first places of them.
    static constexpr std::size_t kMostPlaces = 1000;
    const std::vector<damage_t>& damage() const { return damage_; }

private:
    int take(int& left);
    bool refill();
    bool complete_torn();
    void skip(std::uint64_t n);
    void name(std::uint64_t offset, std::uint64_t bytes, const char* cause);
    void count(frame_t& frame);
    void finish();

    input_file_t& source_;
    raw_t& raw_;
    bool decode_;
    std::size_t block_size_;
    std::unique_ptr<std::uint8_t[]> block_;   // of which a small log never touches the rest
    std::size_t at_ = 0, end_ = 0;            // unread part of the block
    std::uint64_t offset_ = 0;                // of block_[at_] in the log
    std::uint64_t frame_end_ = 0;             // where the last frame or dropped header ended
    complete_t complete_;
    std::uint64_t borrowed_ = 0;   // bytes of its last frame that stand in another log
    std::function<void()> before_waiting_;
    losses_t losses_;
    std::vector<damage_t> damage_;
};

}   // namespace kvx

#endif
