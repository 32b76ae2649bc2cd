#include "common/compressor.h"

#include <zlib.h>
#include <zstd.h>

#include <array>
#include <new>
#include <vector>

#include "common/error.h"
#include "common/output_file.h"

namespace kvx {

namespace {

constexpr std::size_t kPiece = 64 * 1024;

// One member, whose header has neither name nor time.
class gzip_compressor_t : public compressor_t {
public:
    explicit gzip_compressor_t(std::FILE* to) : to_(to)
    {
        constexpr int kLevel = 6, kWindow = 15 + 16, kMemory = 8;   // the largest window, in the form of gzip
        if (deflateInit2(&stream_, kLevel, Z_DEFLATED, kWindow, kMemory, Z_DEFAULT_STRATEGY) != Z_OK)
            throw std::bad_alloc();
    }
    ~gzip_compressor_t() override { deflateEnd(&stream_); }

    void write(std::string_view bytes) override { deflate(bytes, false); }
    void finish() override { deflate({}, true); }

private:
    void deflate(std::string_view bytes, bool last)
    {
        std::array<char, kPiece> packed;
        do {
            const std::string_view piece = bytes.substr(0, kPiece);
            bytes.remove_prefix(piece.size());
            stream_.next_in = reinterpret_cast<z_const Bytef*>(const_cast<char*>(piece.data()));
            stream_.avail_in = static_cast<uInt>(piece.size());
            do {
                stream_.next_out = reinterpret_cast<Bytef*>(packed.data());
                stream_.avail_out = kPiece;
                ::deflate(&stream_, last && bytes.empty() ? Z_FINISH : Z_NO_FLUSH);
                std::fwrite(packed.data(), 1, kPiece - stream_.avail_out, to_);
            } while (stream_.avail_out == 0);
        } while (!bytes.empty());
    }

    std::FILE* to_;
    z_stream stream_{};
};

// One frame, with a checksum of its contents.
class zstd_compressor_t : public compressor_t {
public:
    explicit zstd_compressor_t(std::FILE* to) : to_(to), context_(ZSTD_createCCtx())
    {
        if (context_ == nullptr) throw std::bad_alloc();
        constexpr int kLevel = 9;
        ZSTD_CCtx_setParameter(context_, ZSTD_c_compressionLevel, kLevel);
        ZSTD_CCtx_setParameter(context_, ZSTD_c_checksumFlag, 1);
    }
    ~zstd_compressor_t() override { ZSTD_freeCCtx(context_); }

    void write(std::string_view bytes) override { compress(bytes, ZSTD_e_continue); }
    void finish() override { compress({}, ZSTD_e_end); }

private:
    void compress(std::string_view bytes, ZSTD_EndDirective directive)
    {
        std::array<char, kPiece> packed;
        ZSTD_inBuffer in{bytes.data(), bytes.size(), 0};
        for (std::size_t left = 1; left != 0;) {
            ZSTD_outBuffer out{packed.data(), packed.size(), 0};
            left = ZSTD_compressStream2(context_, &out, &in, directive);
            if (ZSTD_isError(left) != 0) throw std::bad_alloc();   // what else could fail was set above
            std::fwrite(packed.data(), 1, out.pos, to_);
            if (directive == ZSTD_e_continue) left = in.size - in.pos;
        }
    }

    std::FILE* to_;
    ZSTD_CCtx* context_;
};

}   // namespace

std::unique_ptr<compressor_t> make_compressor(std::string_view name, std::FILE* to)
{
    if (name.ends_with(".gz")) return std::make_unique<gzip_compressor_t>(to);
    if (name.ends_with(".zst")) return std::make_unique<zstd_compressor_t>(to);
    return nullptr;
}

void compress(output_file_t& from, output_file_t& to, std::string_view ending,
              const std::function<void(std::uint64_t)>& on_read)
{
    from.check("a file to be compressed");
    from.seek(0);
    const std::unique_ptr<compressor_t> compressor = make_compressor(ending, to.stream());
    std::vector<char> piece(kPiece);
    std::uint64_t done = 0;
    for (std::size_t got = kPiece; got == kPiece;) {
        got = std::fread(piece.data(), 1, piece.size(), from.stream());
        compressor->write({piece.data(), got});
        if (on_read) on_read(done += got);
    }
    if (std::ferror(from.stream()) != 0) throw system_error(from.path(), "reading it to compress it");
    compressor->finish();
}

}   // namespace kvx
