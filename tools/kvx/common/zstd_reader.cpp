#include "common/zstd_reader.h"

#include <zstd.h>
#include <zstd_errors.h>

#include <algorithm>
#include <new>
#include <utility>

namespace kvx {

zstd_reader_t::zstd_reader_t(source_t source, std::span<const std::uint8_t> head)
    : source_(std::move(source)),
      input_(ZSTD_DStreamInSize()),
      end_(head.size()),
      context_(ZSTD_createDCtx()),
      taken_(head.size())
{
    if (context_ == nullptr) throw std::bad_alloc();
    std::copy(head.begin(), head.end(), input_.begin());
}

zstd_reader_t::~zstd_reader_t()
{
    ZSTD_freeDCtx(context_);
}

bool zstd_reader_t::refill()
{
    at_ = 0;
    end_ = source_(input_.data(), input_.size());
    taken_ += end_;
    return end_ > 0;
}

std::size_t zstd_reader_t::read_some(std::uint8_t* to, std::size_t n)
{
    ZSTD_outBuffer out{to, n, 0};
    while (!over_ && out.pos == 0 && n > 0) {
        ZSTD_inBuffer in{input_.data() + at_, end_ - at_, 0};
        if (in_frame_ || in.size > 0) {   // even without input it may hold what had no room last time
            const std::size_t result = ZSTD_decompressStream(context_, &out, &in);
            at_ += in.pos;
            if (ZSTD_isError(result) != 0) {
                judge_failure(result);
                break;
            }
            in_frame_ = result != 0;
            first_ &= in_frame_;
        }
        if (out.pos == 0 && at_ == end_ && !refill()) end(in_frame_ ? "the compressed file ends too early" : "");
    }
    return out.pos;
}

// Behind a whole frame it is no frame that begins, and no fault of the data before.
void zstd_reader_t::judge_failure(std::size_t code)
{
    if (ZSTD_getErrorCode(code) == ZSTD_error_memory_allocation) throw std::bad_alloc();
    if (first_ || in_frame_)
        return end("the compressed data are damaged at byte " + std::to_string(taken_ - in_hand()));
    std::uint64_t rest = end_ - at_;
    while (refill()) rest += end_;
    at_ = end_;
    end(std::to_string(rest) + " bytes behind the compressed data were not read");
}

void zstd_reader_t::end(const std::string& damage)
{
    damage_ = damage;
    over_ = true;
}

}   // namespace kvx
