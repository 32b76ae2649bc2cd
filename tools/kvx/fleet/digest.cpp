#include "fleet/digest.h"

#include <fcntl.h>
#include <nettle/base16.h>
#include <nettle/sha2.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdint>

#include "common/error.h"

namespace kvx {

namespace {

struct descriptor_t {
    int fd;
    ~descriptor_t() { ::close(fd); }
};

}   // namespace

std::string sha256_of(const std::string& path)
{
    const descriptor_t file{::open(path.c_str(), O_RDONLY | O_CLOEXEC)};
    if (file.fd < 0) throw system_error(path, "taking its checksum");
    sha256_ctx state;
    sha256_init(&state);
    std::array<std::uint8_t, 65536> piece;
    for (;;) {
        const ssize_t n = ::read(file.fd, piece.data(), piece.size());
        if (n < 0 && errno == EINTR) continue;
        if (n < 0) throw system_error(path, "taking its checksum");
        if (n == 0) break;
        sha256_update(&state, static_cast<std::size_t>(n), piece.data());
    }
    std::array<std::uint8_t, SHA256_DIGEST_SIZE> digest;
    sha256_digest(&state, digest.size(), digest.data());
    std::string digits(BASE16_ENCODE_LENGTH(SHA256_DIGEST_SIZE), '\0');
    base16_encode_update(digits.data(), digest.size(), digest.data());
    return digits;
}

}   // namespace kvx
