// Device messages in pieces: CKorvexMsgHelper sees what the plain form of its rules sees.
// Input: size of the pieces, silence before the stream, which takes it to the ends of buffers; stream.
#include <CKorvexMsgHelper.h>
#include <rtk_gnss.h>

#include "fuzz.h"
#include "support/plain_message_parser.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    bytes_t input(data, size);
    const auto piece = take<std::uint8_t>(input), silence = take<std::uint8_t>(input);
    CKorvexMsgHelper helper;
    PlainMessageParser<crc32> plain;
    const auto give = [&](const std::uint8_t* given, std::size_t n) {
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
    };
    const std::vector<std::uint8_t> zeros(silence < 0xE0 ? 0 : (silence - 0xE0) * 160);
    in_pieces(zeros, 0, give);
    in_pieces(input, piece == 0 ? 0 : std::max<std::size_t>(piece, input.size() / 64),
              give);   // the plain form is slow
    return 0;
}
