/// @file plain_message_parser.h  The parser's rules in their plainest form, to compare results and speed with.
#ifndef PLAIN_MESSAGE_PARSER_H
#define PLAIN_MESSAGE_PARSER_H

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <vector>

inline unsigned bitwise_crc32(const unsigned char* data, int len)
{
    unsigned crc = 0;
    for (int i = 0; i < len; ++i) {
        crc ^= data[i];
        for (int bit = 0; bit < 8; ++bit) crc = (crc & 1) != 0 ? crc >> 1 ^ 0xEDB88320 : crc >> 1;
    }
    return crc;
}

/// Discards at once, appends with exact growth, searches all that is held from its start at every call.
template <unsigned (*Crc)(const unsigned char*, int) = bitwise_crc32>
class PlainMessageParser {
public:
    bool Parse(const unsigned char* data, unsigned len, unsigned short& id, unsigned char** payload, unsigned& n)
    {
        if (m_used != 0) {
            std::memmove(m_buffer.data(), m_buffer.data() + m_used, m_held - m_used);
            m_held -= m_used;
            std::fill(m_buffer.begin() + m_held, m_buffer.end(), 0);
            m_used = 0;
        }
        if (data != nullptr && len != 0) {
            if (m_held + len > m_buffer.size() - 1) {
                std::vector<unsigned char> bigger(m_held + len + 1);
                std::copy_n(m_buffer.begin(), m_held, bigger.begin());
                m_buffer = bigger;
            }
            std::memcpy(m_buffer.data() + m_held, data, len);
            m_held += len;
        }
        for (std::size_t i = 0; m_held > i + 16; ++i) {
            unsigned char* p = m_buffer.data() + i;
            if (p[0] != 0xAA || p[1] != 0x44 || p[2] != 0xCC) continue;
            const unsigned length = p[8] | p[9] << 8;
            if (i + length + 20 > m_held) break;
            if (i + p[3] + length > m_buffer.size() - 1) continue;   // the checksum would leave the buffer
            const unsigned char* crc = p + 16 + length;
            if (Crc(p, static_cast<int>(p[3] + length)) !=
                (crc[0] | crc[1] << 8 | crc[2] << 16 | static_cast<unsigned>(crc[3]) << 24))
                continue;
            id = static_cast<unsigned short>(p[4] | p[5] << 8);
            n = length;
            *payload = length == 0 ? nullptr : p + 16;
            m_used = i + length + 20;
            return true;
        }
        return false;
    }

private:
    std::vector<unsigned char> m_buffer = std::vector<unsigned char>(4097);
    std::size_t m_held = 0;
    std::size_t m_used = 0;
};

#endif
