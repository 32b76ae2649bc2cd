// Device messages in pieces: CKorvexMsgHelper sees what the plain form of its rules sees.
#include <CKorvexMsgHelper.h>

#include <cstdint>
#include <cstring>
#include <vector>

#include "fuzz_check.h"
#include "support/plain_message_parser.h"

namespace {

// Gives every frame its checksum, or the fuzzer would never find one.
void repair(std::vector<std::uint8_t>& stream)
{
    for (std::size_t at = 0; at + 20 <= stream.size(); ++at) {
        std::uint8_t* frame = stream.data() + at;
        if (frame[0] != 0xAA || frame[1] != 0x44 || frame[2] != 0xCC) continue;
        const std::size_t payload = frame[8] | frame[9] << 8;
        if (at + payload + 20 > stream.size() || at + frame[3] + payload > stream.size()) continue;
        const unsigned crc = bitwise_crc32(frame, static_cast<int>(frame[3] + payload));
        for (int k = 0; k < 4; ++k) frame[16 + payload + k] = static_cast<std::uint8_t>(crc >> 8 * k & 0xFF);
        at += payload + 19;
    }
}

}   // namespace

// Byte 0: size of the pieces, 0 for one piece; byte 1: whether checksums are repaired; then the stream.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size < 2) return 0;
    std::vector<std::uint8_t> stream(data + 2, data + size);
    if ((data[1] & 1) != 0) repair(stream);
    const std::size_t piece = data[0] == 0 ? stream.size() + 1 : data[0];

    CKorvexMsgHelper helper;
    PlainMessageParser<> plain;
    for (std::size_t at = 0; at < stream.size(); at += piece) {
        const std::size_t n = std::min(piece, stream.size() - at);
        const std::vector<std::uint8_t> bytes(stream.begin() + static_cast<std::ptrdiff_t>(at),
                                              stream.begin() + static_cast<std::ptrdiff_t>(at + n));
        const std::uint8_t* given = bytes.data();
        for (auto len = static_cast<unsigned>(n);; given = nullptr, len = 0) {
            unsigned short id = 0, plain_id = 0;
            unsigned char *payload = nullptr, *plain_payload = nullptr;
            unsigned length = 0, plain_length = 0;
            const bool found = helper.Parse(given, len, id, &payload, length);
            FUZZ_CHECK(found == plain.Parse(given, len, plain_id, &plain_payload, plain_length));
            if (!found) break;
            FUZZ_CHECK(id == plain_id && length == plain_length && (payload == nullptr) == (length == 0));
            FUZZ_CHECK(length == 0 || std::memcmp(payload, plain_payload, length) == 0);
        }
    }
    return 0;
}
