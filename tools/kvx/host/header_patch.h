/// @file header_patch.h  Patches of the library in the header of a file that must tell every failure.
#ifndef KVX_HEADER_PATCH_H
#define KVX_HEADER_PATCH_H

#include <functional>

#include "common/output_file.h"

namespace kvx {

/// Lets the library patch a header in memory, as its patches say nothing of a seek that fails, and writes it back.
/// @param patch  replaces text of the stream by text of the same length
/// @throws error_t
void patch_header(output_file_t& file, const std::function<void(std::FILE*)>& patch);

}   // namespace kvx

#endif
