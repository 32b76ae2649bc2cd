/// @file output_file.h  Files that appear under their name only when they are whole.
#ifndef KVX_OUTPUT_FILE_H
#define KVX_OUTPUT_FILE_H

#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>

namespace kvx {

/// A file under a temporary name in its final folder. publish() gives it its name.
class output_file_t {
public:
    static constexpr std::size_t kBuffer = 256 * 1024;

    /// Removes what killed runs have left in the folder, too.
    /// @param buffer  of the stream (bytes); 0: what is written comes in blocks
    /// @throws error_t when the folder cannot be written
    explicit output_file_t(const std::string& folder, std::size_t buffer = kBuffer);
    ~output_file_t();   ///< removes what was not published
    output_file_t(const output_file_t&) = delete;
    output_file_t& operator=(const output_file_t&) = delete;

    std::FILE* stream() { return stream_; }   ///< open for reading and writing, until the file is closed
    const std::string& folder() const { return folder_; }
    const std::string& path() const { return path_; }

    /// Bytes that have reached the file.
    std::uint64_t size() const;

    /// Looks at the stream's error state, which a later close would hide.
    /// @throws error_t
    void check(const std::string& what);

    /// Goes to a place of the file, to read or write there.
    /// @param offset  bytes from its beginning
    /// @throws error_t also when what had been written could not reach the file
    void seek(std::int64_t offset);

    /// Closes the file, when it is whole and on the disk itself; a closed one stays so.
    /// @throws error_t
    void close(const std::string& what);

    /// Tells a closed file that it has a name now, under which it stays.
    void keep() { path_.clear(); }

private:
    std::string folder_, path_;
    int lock_ = -1;                    // a descriptor of its own: the file is locked until it has its name
    std::unique_ptr<char[]> buffer_;   // the stream's; with one of its own it would not take the size
    std::FILE* stream_ = nullptr;
};

/// Waits until what was written is on the disk. File systems that cannot wait are taken as they are.
/// @return false: it did not get there, errno tells why
bool is_on_disk(int fd);

/// True for what takes bytes but no other file in its place: character devices and pipes.
bool is_device(const std::string& path);

/// Lets the process have as many files open as the system grants it, which is more than it gives unasked.
void allow_many_files();

/// Creates the folder and its parents.
/// @throws error_t
void make_folder(const std::string& folder);

}   // namespace kvx

#endif
