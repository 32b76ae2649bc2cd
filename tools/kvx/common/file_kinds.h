/// @file file_kinds.h  Files that are taken for logs and are something else.
#ifndef KVX_FILE_KINDS_H
#define KVX_FILE_KINDS_H

#include <string>

namespace kvx {

/// What a file is by its first bytes: "a PDF document", "a RINEX file". Empty: nobody knows, or it cannot be read
/// again.
std::string foreign_kind(const std::string& path);

}   // namespace kvx

#endif
