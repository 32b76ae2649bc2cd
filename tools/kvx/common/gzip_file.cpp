#include "common/gzip_file.h"

#include <zlib.h>

#include <array>
#include <new>
#include <vector>

#include "common/error.h"
#include "common/output_file.h"

namespace kvx {

namespace {
constexpr int kWindow = 15 + 16;   // the largest, in the form of gzip; its header then has neither name nor time
constexpr int kMemory = 8;
constexpr std::size_t kPiece = 64 * 1024;
}   // namespace

gzip_writer_t::gzip_writer_t(std::FILE* to, int level) : to_(to), stream_(std::make_unique<z_stream>())
{
    if (deflateInit2(stream_.get(), level, Z_DEFLATED, kWindow, kMemory, Z_DEFAULT_STRATEGY) != Z_OK)
        throw std::bad_alloc();
}

gzip_writer_t::~gzip_writer_t()
{
    deflateEnd(stream_.get());
}

void gzip_writer_t::deflate(std::string_view bytes, bool last)
{
    std::array<char, kPiece> packed;
    do {
        const std::string_view piece = bytes.substr(0, kPiece);
        bytes.remove_prefix(piece.size());
        stream_->next_in = reinterpret_cast<z_const Bytef*>(const_cast<char*>(piece.data()));
        stream_->avail_in = static_cast<uInt>(piece.size());
        do {
            stream_->next_out = reinterpret_cast<Bytef*>(packed.data());
            stream_->avail_out = kPiece;
            ::deflate(stream_.get(), last && bytes.empty() ? Z_FINISH : Z_NO_FLUSH);
            std::fwrite(packed.data(), 1, kPiece - stream_->avail_out, to_);
        } while (stream_->avail_out == 0);
    } while (!bytes.empty());
}

void gzip(output_file_t& from, output_file_t& to, int level)
{
    from.check("a file to be compressed");
    from.seek(0);
    gzip_writer_t writer(to.stream(), level);
    std::vector<char> piece(kPiece);
    for (std::size_t got = kPiece; got == kPiece;) {
        got = std::fread(piece.data(), 1, piece.size(), from.stream());
        writer.write({piece.data(), got});
    }
    if (std::ferror(from.stream()) != 0) throw system_error(from.path(), "reading it to compress it");
    writer.finish();
}

}   // namespace kvx
