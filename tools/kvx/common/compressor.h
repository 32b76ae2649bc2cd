/// @file compressor.h  Bytes compressed on their way out.
#ifndef KVX_COMPRESSOR_H
#define KVX_COMPRESSOR_H

#include <cstdint>
#include <cstdio>
#include <functional>
#include <memory>
#include <string_view>

namespace kvx {

class output_file_t;

/// Compresses into a stream, without name and time, so that the same bytes make the same file. What cannot be written
/// is told by the stream's error state.
class compressor_t {
public:
    compressor_t() = default;
    virtual ~compressor_t() = default;
    compressor_t(const compressor_t&) = delete;
    compressor_t& operator=(const compressor_t&) = delete;

    virtual void write(std::string_view bytes) = 0;
    virtual void finish() = 0;   ///< nothing may be written after it
};

/// What makes files with such an ending, ".gz" or ".zst".
/// @param to  open for writing; it must outlive the compressor
/// @return nullptr for other names
/// @throws std::bad_alloc
std::unique_ptr<compressor_t> make_compressor(std::string_view name, std::FILE* to);

/// Compresses all of a file that is still unpublished into another one.
/// @param ending  ".gz" or ".zst"
/// @param on_read  told how many bytes have been read so far
/// @throws error_t when the file cannot be read
void compress(output_file_t& from, output_file_t& to, std::string_view ending,
              const std::function<void(std::uint64_t bytes)>& on_read = {});

}   // namespace kvx

#endif
