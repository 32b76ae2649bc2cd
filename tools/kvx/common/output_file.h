/// @file output_file.h  Files that appear under their name only when they are whole.
#ifndef KVX_OUTPUT_FILE_H
#define KVX_OUTPUT_FILE_H

#include <cstdio>
#include <string>

namespace kvx {

/// A file under a temporary name in its final folder.
class output_file_t {
public:
    /// @throws error_t when the folder cannot be written
    explicit output_file_t(const std::string& folder);
    ~output_file_t();   ///< removes what was not published
    output_file_t(const output_file_t&) = delete;
    output_file_t& operator=(const output_file_t&) = delete;

    std::FILE* stream() { return stream_; }   ///< open for reading and writing
    const std::string& path() const { return path_; }

    /// Looks at the stream's error state, which a later close would hide.
    /// @throws error_t
    void check(const std::string& what);

    /// Closes the file and gives it its name; an older file of that name is replaced, one that this run
    /// or a process forked from it has made is not.
    /// @return path of the file
    /// @throws error_t
    std::string publish(const std::string& name);

private:
    std::string folder_, path_;
    std::FILE* stream_ = nullptr;
};

/// True for what takes bytes but no other file in its place: character devices and pipes.
bool is_device(const std::string& path);

/// Creates the folder and its parents.
/// @throws error_t
void make_folder(const std::string& folder);

}   // namespace kvx

#endif
