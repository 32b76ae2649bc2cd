/// @file fuzz.h  What all fuzz targets share: values out of an input, an assertion, and streams cut in pieces.
#ifndef FUZZ_H
#define FUZZ_H

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <span>
#include <vector>

/// Holds in every build and stops the engine.
#define FUZZ_CHECK(condition)                                                             \
    do {                                                                                  \
        if (!(condition)) {                                                               \
            std::fprintf(stderr, "%s:%d: %s is false\n", __FILE__, __LINE__, #condition); \
            std::abort();                                                                 \
        }                                                                                 \
    } while (false)

using bytes_t = std::span<const std::uint8_t>;

/// Reads an object from the start of an input; behind its end everything is 0.
template <typename T>
T take(bytes_t& input)
{
    T value{};
    const auto bytes = input.first(std::min(sizeof value, input.size()));
    if (!bytes.empty()) std::memcpy(static_cast<void*>(&value), bytes.data(), bytes.size());
    input = input.subspan(bytes.size());
    return value;
}

/// Calls `each(data, size)` with pieces of a stream, 0: one piece, each in memory of its own, so that a read behind it
/// is seen.
template <class Each>
void in_pieces(bytes_t stream, std::size_t piece, const Each& each)
{
    while (!stream.empty()) {
        const auto first = stream.first(piece == 0 ? stream.size() : std::min(piece, stream.size()));
        const std::vector<std::uint8_t> own(first.begin(), first.end());
        each(own.data(), own.size());
        stream = stream.subspan(own.size());
    }
}

#endif
