/// @file input_file.h  Bytes of a log, a dump or a message: a file, a compressed file or standard input.
#ifndef KVX_INPUT_FILE_H
#define KVX_INPUT_FILE_H

#include <cstddef>
#include <cstdint>
#include <string>

struct gzFile_s;

namespace kvx {

/// Reads plain and gzip-compressed files alike; "-" is standard input.
class input_file_t {
public:
    /// @throws error_t when the file cannot be opened or is a directory
    explicit input_file_t(const std::string& path);
    ~input_file_t();
    input_file_t(const input_file_t&) = delete;
    input_file_t& operator=(const input_file_t&) = delete;

    /// Up to n bytes; fewer only at the end of the file, 0 behind it. An interrupt is such an end: what has been read
    /// by then is still given.
    /// @throws error_t when reading fails
    std::size_t read(std::uint8_t* to, std::size_t n);

    /// What is left unread after a compressed file broke off; empty when all was read.
    const std::string& damage() const { return damage_; }

    /// Whether its bytes are compressed; known after the first read.
    bool compressed() const;

    const std::string& name() const { return name_; }
    std::uint64_t size_on_disk() const { return size_; }   ///< bytes, 0: unknown
    std::uint64_t position_on_disk() const;                ///< bytes of it used up

private:
    std::size_t read_plain(std::uint8_t* to, std::size_t n);

    std::string name_;
    int fd_ = -1;   // that of file_
    gzFile_s* file_;
    bool begun_ = false, plain_ = false;
    std::uint64_t size_ = 0;
    std::string damage_;
};

}   // namespace kvx

#endif
