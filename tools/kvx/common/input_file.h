/// @file input_file.h  Bytes of a log, a dump or a message: a file, a compressed file or standard input.
#ifndef KVX_INPUT_FILE_H
#define KVX_INPUT_FILE_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "common/expander.h"

namespace kvx {

/// Reads plain and compressed files (gzip, Zstandard) alike; "-" is standard input.
///
/// The data end where the file ends, where it can be read no further (damage() tells), or with an interrupt
/// (ended_by_signal() tells). What has been read by then is given in each case.
///
/// A file that is followed ends with an interrupt only: at its end more is waited for. When another one takes its name,
/// that one is read next; when it is cut, it is read from its beginning. Both are told on standard error.
class input_file_t {
public:
    /// @param follow  standard input has no name to follow: it ends as ever
    /// @throws error_t when the file cannot be opened or is a directory, interruption_t while a pipe has no writer
    explicit input_file_t(const std::string& path, bool follow = false);
    ~input_file_t();
    input_file_t(const input_file_t&) = delete;
    input_file_t& operator=(const input_file_t&) = delete;

    /// Up to n bytes; fewer only at the end of the data, 0 behind it.
    /// @throws error_t when not even the first byte can be read
    std::size_t read(std::uint8_t* to, std::size_t n);

    /// The same, but what is there is given without waiting for more: at least one byte, 0 at the end of the data.
    std::size_t read_some(std::uint8_t* to, std::size_t n);

    /// Up to n bytes from a place of a plain file, wherever reading is; 0 behind its end, and of what is no plain file.
    /// @throws error_t when not even the first byte can be read
    std::size_t read_at(std::uint64_t offset, std::uint8_t* to, std::size_t n);

    /// Why not all could be read; empty when nothing failed.
    const std::string& damage() const;

    /// What a read that failed has told; empty: none has. It may not fail the next time.
    const std::string& read_error() const { return read_error_; }

    bool ended_by_signal() const { return ended_by_signal_; }

    /// Whether the signal left something unread that will still be there; a recording that is read while it comes in
    /// just ends with it.
    bool cut_short() const { return ended_by_signal_ && !live_; }

    /// A pipe, a terminal, a serial line, a file that is followed: what may have to be waited for.
    bool live() const { return live_; }

    /// Whether its bytes are compressed; known after the first read.
    bool compressed() const { return expander_ != nullptr; }

    const std::string& name() const { return name_; }
    std::uint64_t size_on_disk() const { return size_; }   ///< bytes, 0: unknown
    std::uint64_t position_on_disk() const;                ///< bytes of it used up

private:
    void begin();
    std::size_t read_descriptor(std::uint8_t* to, std::size_t n);
    bool wait_for_growth();
    bool take_successor();

    std::string name_;
    int fd_;
    bool live_ = false, follow_;
    std::uint64_t size_ = 0, position_ = 0;
    std::array<std::uint8_t, kMostMagicBytes> head_{};   // tells what the file is
    std::size_t head_size_ = 0, head_used_ = 0;
    bool begun_ = false, at_end_ = false, ended_by_signal_ = false;
    std::unique_ptr<expander_t> expander_;   // none: plain
    std::string read_error_;
};

/// Asks for something that can be read more than once, without opening it; what is not there the opening will tell.
/// @throws error_t for a pipe and the like
void demand_file(const std::string& path);

}   // namespace kvx

#endif
