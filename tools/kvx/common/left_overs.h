/// @file left_overs.h  Temporary files: made under a lock, and removed when the run that made them was killed.
#ifndef KVX_LEFT_OVERS_H
#define KVX_LEFT_OVERS_H

#include <string>

namespace kvx {

/// Makes a temporary file. Where the file system knows locks it is locked for as long as the descriptor, or one
/// duplicated from it, is open.
/// @param path  gets its path: folder/.kvx- and six letters or digits
/// @return descriptor, open for reading and writing
/// @throws error_t when the folder cannot be written
int make_temporary(const std::string& folder, std::string& path);

/// Removes the temporary files of a folder that no run holds locked. What cannot be told or removed stays.
void remove_left_overs(const std::string& folder);

/// The same, the first time that this run asks it for the folder.
void remove_left_overs_once(const std::string& folder);

}   // namespace kvx

#endif
