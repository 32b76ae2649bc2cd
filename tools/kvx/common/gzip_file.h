/// @file gzip_file.h  Files compressed on their way out.
#ifndef KVX_GZIP_FILE_H
#define KVX_GZIP_FILE_H

#include <cstdio>
#include <memory>
#include <string_view>

struct z_stream_s;

namespace kvx {

class output_file_t;

/// Compresses into a stream: one gzip member without name and time, so that the same bytes make the same file. What
/// cannot be written is told by the stream's error state.
class gzip_writer_t {
public:
    static constexpr int kUsualLevel = 6;

    /// @param to    open for writing; it must outlive the writer
    /// @param level from 1, fast, to 9, small
    /// @throws std::bad_alloc
    explicit gzip_writer_t(std::FILE* to, int level = kUsualLevel);
    ~gzip_writer_t();
    gzip_writer_t(const gzip_writer_t&) = delete;
    gzip_writer_t& operator=(const gzip_writer_t&) = delete;

    void write(std::string_view bytes) { deflate(bytes, false); }
    void finish() { deflate({}, true); }   ///< ends the member; nothing may be written after it

private:
    void deflate(std::string_view bytes, bool last);

    std::FILE* to_;
    std::unique_ptr<z_stream_s> stream_;
};

/// Compresses all of a file that is still unpublished into another one.
/// @throws error_t when the file cannot be read
void gzip(output_file_t& from, output_file_t& to, int level = gzip_writer_t::kUsualLevel);

}   // namespace kvx

#endif
