/// @file folder.h  What is in a folder.
#ifndef KVX_FOLDER_H
#define KVX_FOLDER_H

#include <filesystem>
#include <string>
#include <vector>

namespace kvx {

/// Names of all that is in a folder, in order, hidden ones, too. Unlike the iterators of the standard library's it
/// survives a lack of memory.
/// @param fault  gets errno when the folder cannot be read to its end, 0 otherwise
std::vector<std::string> names_in(const std::string& folder, int& fault);

/// Whether a path that is put behind that of a folder stays in it.
bool lies_below(const std::filesystem::path& path);

}   // namespace kvx

#endif
