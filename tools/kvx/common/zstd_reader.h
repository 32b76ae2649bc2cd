/// @file zstd_reader.h  Bytes compressed by Zstandard on their way in.
#ifndef KVX_ZSTD_READER_H
#define KVX_ZSTD_READER_H

#include <vector>

#include "common/expander.h"

struct ZSTD_DCtx_s;

namespace kvx {

/// Expands the frames of a file, one behind the other. Their windows are 128 MB at most: more is refused as damage.
class zstd_reader_t : public expander_t {
public:
    static constexpr std::uint8_t kMagic[] = {0x28, 0xB5, 0x2F, 0xFD};   ///< a frame begins so

    /// @param head  bytes that have been read already, at most a few
    /// @throws std::bad_alloc
    zstd_reader_t(source_t source, std::span<const std::uint8_t> head);
    ~zstd_reader_t() override;

    std::size_t read_some(std::uint8_t* to, std::size_t n) override;
    std::size_t in_hand() const override { return end_ - at_; }

private:
    bool refill();
    void end(const std::string& damage);
    void judge_failure(std::size_t code);

    source_t source_;
    std::vector<std::uint8_t> input_;
    std::size_t at_ = 0, end_ = 0;   // unread part of the input
    ZSTD_DCtx_s* context_;
    bool in_frame_ = false, first_ = true, over_ = false;
    std::uint64_t taken_;   // from the source
};

}   // namespace kvx

#endif
