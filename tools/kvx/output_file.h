/// @file output_file.h  Files that appear under their name only when they are whole.
#ifndef KVX_OUTPUT_FILE_H
#define KVX_OUTPUT_FILE_H

#include <cstdio>
#include <string>

namespace kvx {

/// A file under a temporary name in its final folder.
class OutputFile {
public:
    /// @throws Error when the folder cannot be written
    explicit OutputFile(const std::string& folder);
    ~OutputFile();   ///< removes what was not published
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    std::FILE* stream() { return stream_; }   ///< open for reading and writing
    const std::string& path() const { return path_; }

    /// Looks at the stream's error state, which a later close would hide.
    /// @throws Error
    void check(const std::string& what);

    /// Closes the file and gives it its name; an older file of that name is replaced, one that this run
    /// or a process forked from it has made is not.
    /// @return path of the file
    /// @throws Error
    std::string publish(const std::string& name);

private:
    std::string folder_, path_;
    std::FILE* stream_ = nullptr;
};

/// True for what takes bytes but no other file in its place: character devices and pipes.
bool is_device(const std::string& path);

/// Creates the folder and its parents.
/// @throws Error
void make_folder(const std::string& folder);

}   // namespace kvx

#endif
