/// @file framing_model.h  What a log consists of, told from the whole log at once: places are searched, nothing is kept
/// from byte to byte.
#ifndef TESTS_FRAMING_MODEL_H
#define TESTS_FRAMING_MODEL_H

#include <zlib.h>

#include <cstdint>
#include <string_view>
#include <vector>

struct model_frame_t {
    std::string_view bytes;   // with the checksum
    int id;
    bool intact;
};

struct framing_model_t {
    std::vector<model_frame_t> frames;
    std::uint64_t between = 0, stretches_between = 0, announces_too_much = 0, torn = 0;   // bytes, but the middle two
};

inline unsigned u16_at(std::string_view s, std::size_t at)
{
    return static_cast<std::uint8_t>(s[at]) | static_cast<std::uint8_t>(s[at + 1]) << 8;
}

inline framing_model_t framing_of(std::string_view log)
{
    constexpr std::size_t kHeader = 28, kSizeKnown = 10, kMost = 8188, kChecksum = 4;
    framing_model_t told;
    for (std::string_view left = log; !left.empty();) {
        const std::size_t sync = left.find("\xAA\x44\x12");
        told.between += sync < left.size() ? sync : left.size();
        told.stretches_between += sync > 0;
        if (sync == left.npos) break;
        left.remove_prefix(sync);
        const std::size_t covered = left.size() < kSizeKnown ? left.size() : u16_at(left, 8) + kHeader;
        if (left.size() >= kSizeKnown && covered > kMost) {
            ++told.announces_too_much;
            left.remove_prefix(kSizeKnown);
        } else if (left.size() < kSizeKnown || left.size() < covered + kChecksum) {
            told.torn = left.size();
            break;
        } else {
            // zlib's checksum begins and ends with all bits turned.
            const auto* bytes = reinterpret_cast<const Bytef*>(left.data());
            const unsigned long crc = ~::crc32(0xFFFFFFFF, bytes, static_cast<uInt>(covered)) & 0xFFFFFFFF;
            const unsigned long sent = u16_at(left, covered) | static_cast<unsigned long>(u16_at(left, covered + 2))
                                                                   << 16;
            told.frames.push_back(
                {left.substr(0, covered + kChecksum), static_cast<int>(u16_at(left, 4)), crc == sent});
            left.remove_prefix(covered + kChecksum);
        }
    }
    return told;
}

#endif
