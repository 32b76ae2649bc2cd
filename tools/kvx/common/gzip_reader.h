/// @file gzip_reader.h  Compressed bytes on their way in.
#ifndef KVX_GZIP_READER_H
#define KVX_GZIP_READER_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <vector>

struct z_stream_s;
struct gz_header_s;

namespace kvx {

/// Expands the members of a gzip file, one behind the other. What has come is expanded at once, so that a sender who
/// flushes is read as he sends.
class gzip_reader_t {
public:
    /// Writes up to n bytes, as many as there are, and returns how many; 0 at the end.
    using source_t = std::function<std::size_t(std::uint8_t* to, std::size_t n)>;

    static constexpr std::uint8_t kMagic[] = {0x1F, 0x8B, 8};   ///< a member begins so

    /// @param head  bytes that have been read already, at most a few
    /// @throws std::bad_alloc
    gzip_reader_t(source_t source, std::span<const std::uint8_t> head);
    ~gzip_reader_t();
    gzip_reader_t(const gzip_reader_t&) = delete;
    gzip_reader_t& operator=(const gzip_reader_t&) = delete;

    /// At least one byte and at most n; 0 at the end of what can be expanded.
    std::size_t read_some(std::uint8_t* to, std::size_t n);

    /// What is wrong with the file, known at its end; empty: nothing. Zeros behind the members are padding.
    const std::string& damage() const { return damage_; }

    std::size_t in_hand() const;   ///< bytes taken from the source and not used up

private:
    bool refill();
    void begin_member();
    void inflate_some();
    void pass_rest(std::uint64_t bytes);
    void end(const std::string& damage);

    source_t source_;
    std::vector<std::uint8_t> input_;
    std::unique_ptr<z_stream_s> stream_;
    std::unique_ptr<gz_header_s> header_;   // of the member
    bool in_member_ = false, first_ = true, over_ = false;
    std::uint64_t taken_;   // from the source
    std::string damage_;
};

}   // namespace kvx

#endif
