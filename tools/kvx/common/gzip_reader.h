/// @file gzip_reader.h  Bytes compressed by gzip on their way in.
#ifndef KVX_GZIP_READER_H
#define KVX_GZIP_READER_H

#include <vector>

#include "common/expander.h"

struct z_stream_s;
struct gz_header_s;

namespace kvx {

/// Expands the members of a file, one behind the other. Zeros behind them are padding.
class gzip_reader_t : public expander_t {
public:
    static constexpr std::uint8_t kMagic[] = {0x1F, 0x8B, 8};   ///< a member begins so

    /// @param head  bytes that have been read already, at most a few
    /// @throws std::bad_alloc
    gzip_reader_t(source_t source, std::span<const std::uint8_t> head);
    ~gzip_reader_t() override;

    std::size_t read_some(std::uint8_t* to, std::size_t n) override;
    std::size_t in_hand() const override;

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
};

}   // namespace kvx

#endif
