#include "common/gzip_reader.h"

#include <zlib.h>

#include <algorithm>
#include <cstring>
#include <limits>
#include <new>

namespace kvx {

namespace {

constexpr int kWindow = 15 + 16;   // the largest, in the form of gzip
constexpr std::size_t kPiece = 64 * 1024;

bool all_zero(const std::uint8_t* bytes, std::size_t n)
{
    return n == 0 || (*bytes == 0 && std::memcmp(bytes, bytes + 1, n - 1) == 0);
}

}   // namespace

gzip_reader_t::gzip_reader_t(source_t source, std::span<const std::uint8_t> head)
    : source_(std::move(source)),
      input_(kPiece),
      stream_(std::make_unique<z_stream>()),
      header_(std::make_unique<gz_header>()),
      taken_(head.size())
{
    if (inflateInit2(stream_.get(), kWindow) != Z_OK) throw std::bad_alloc();
    std::copy(head.begin(), head.end(), input_.begin());
    stream_->next_in = input_.data();
    stream_->avail_in = static_cast<uInt>(head.size());
}

gzip_reader_t::~gzip_reader_t()
{
    inflateEnd(stream_.get());
}

std::size_t gzip_reader_t::in_hand() const
{
    return stream_->avail_in;
}

bool gzip_reader_t::refill()
{
    stream_->next_in = input_.data();
    stream_->avail_in = static_cast<uInt>(source_(input_.data(), input_.size()));
    taken_ += stream_->avail_in;
    return stream_->avail_in > 0;
}

std::size_t gzip_reader_t::read_some(std::uint8_t* to, std::size_t n)
{
    const auto room = static_cast<uInt>(std::min<std::size_t>(n, std::numeric_limits<uInt>::max()));
    stream_->next_out = to;
    stream_->avail_out = room;
    while (!over_ && stream_->avail_out == room && room > 0) {
        if (in_member_) {
            inflate_some();   // even without input it may hold what had no room last time
        } else if (stream_->avail_in > 0) {
            begin_member();
        }
        if (over_ || stream_->avail_out < room) break;
        if (stream_->avail_in == 0 && !refill()) end(in_member_ ? "the compressed file ends too early" : "");
    }
    return room - stream_->avail_out;
}

void gzip_reader_t::begin_member()
{
    if (*stream_->next_in != kMagic[0]) return pass_rest(0);
    inflateReset(stream_.get());
    inflateGetHeader(stream_.get(), header_.get());
    in_member_ = true;
}

void gzip_reader_t::inflate_some()
{
    switch (inflate(stream_.get(), Z_SYNC_FLUSH)) {
        case Z_STREAM_END:
            in_member_ = first_ = false;
            break;
        case Z_OK:
        case Z_BUF_ERROR:   // wants more
            break;
        case Z_MEM_ERROR:
            throw std::bad_alloc();
        default:
            if (first_ || header_->done == 1) {
                return end("the compressed data are damaged at byte " + std::to_string(taken_ - in_hand()));
            }
            pass_rest(stream_->total_in);   // it was no member
            break;
    }
}

// Goes to the end of the file; `bytes` of what is no member have been used up.
void gzip_reader_t::pass_rest(std::uint64_t bytes)
{
    bool padding = bytes == 0;
    do {
        padding = padding && all_zero(stream_->next_in, stream_->avail_in);
        bytes += stream_->avail_in;
    } while (refill());
    end(padding ? "" : std::to_string(bytes) + " bytes behind the compressed data were not read");
}

void gzip_reader_t::end(const std::string& damage)
{
    damage_ = damage;
    over_ = true;
}

}   // namespace kvx
