/// @file digest.h  Checksums of files: SHA-256, as `sha256sum` prints it.
#ifndef KVX_DIGEST_H
#define KVX_DIGEST_H

#include <string>

namespace kvx {

/// @return 64 hexadecimal digits
/// @throws error_t when the file cannot be read to its end
std::string sha256_of(const std::string& path);

}   // namespace kvx

#endif
