#include "common/expander.h"

#include <algorithm>
#include <utility>

#include "common/gzip_reader.h"
#include "common/zstd_reader.h"

namespace kvx {

namespace {

template <typename Reader>
bool begins(std::span<const std::uint8_t> head)
{
    const std::size_t n = std::min(head.size(), std::size(Reader::kMagic));
    return std::equal(head.begin(), head.begin() + static_cast<std::ptrdiff_t>(n), Reader::kMagic);
}

template <typename Reader>
bool is(std::span<const std::uint8_t> head)
{
    return head.size() >= std::size(Reader::kMagic) && begins<Reader>(head);
}

}   // namespace

bool may_be_compressed(std::span<const std::uint8_t> head)
{
    return begins<gzip_reader_t>(head) || begins<zstd_reader_t>(head);
}

std::unique_ptr<expander_t> make_expander(expander_t::source_t source, std::span<const std::uint8_t> head)
{
    if (is<gzip_reader_t>(head)) return std::make_unique<gzip_reader_t>(std::move(source), head);
    if (is<zstd_reader_t>(head)) return std::make_unique<zstd_reader_t>(std::move(source), head);
    return nullptr;
}

}   // namespace kvx
