/// @file frame_builder.h  Frames of the receiver log for tests: a test states only the fields it is about.
#ifndef TESTS_FRAME_BUILDER_H
#define TESTS_FRAME_BUILDER_H

#include <rtk_gnss.h>

#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <memory>
#include <vector>

using Bytes = std::vector<std::uint8_t>;

inline Bytes operator+(Bytes a, const Bytes& b)
{
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

/// A frame of week 2200, second 1000, time known; the checksum is made when the bytes are asked for.
class FrameBuilder {
public:
    FrameBuilder(int id, int body_bytes) : m_bytes(28 + body_bytes)
    {
        m_bytes[0] = 0xAA;
        m_bytes[1] = 0x44;
        m_bytes[2] = 0x12;
        m_bytes[3] = 28;
        at<std::uint16_t>(4, static_cast<std::uint16_t>(id));
        at<std::uint16_t>(8, static_cast<std::uint16_t>(body_bytes));
        week(2200).ms(1000000);
    }

    template <typename T>
    FrameBuilder& at(int offset, T value)
    {
        std::memcpy(&m_bytes[offset], &value, sizeof value);
        return *this;
    }
    template <typename T>
    FrameBuilder& body(int offset, T value)
    {
        return at(28 + offset, value);
    }

    FrameBuilder& week(int w) { return at<std::uint16_t>(14, static_cast<std::uint16_t>(w)); }
    FrameBuilder& ms(std::uint32_t t) { return at<std::uint32_t>(16, t); }
    FrameBuilder& time_status(int s) { return at<std::uint8_t>(13, static_cast<std::uint8_t>(s)); }
    FrameBuilder& type(int t) { return at<std::uint8_t>(6, static_cast<std::uint8_t>(t)); }
    FrameBuilder& corrupt()
    {
        m_corrupt = true;
        return *this;
    }

    Bytes bytes() const
    {
        Bytes out = m_bytes;
        const std::uint32_t crc = crc32(out.data(), static_cast<int>(out.size())) ^ (m_corrupt ? 1u : 0u);
        for (int i = 0; i < 4; ++i) out.push_back(static_cast<std::uint8_t>(crc >> 8 * i));
        return out;
    }

private:
    Bytes m_bytes;
    bool m_corrupt = false;
};

/// One signal of a range message; the status says locked, parity known.
struct Signal {
    int system;   ///< of the tracking status: 0 GPS, 1 GLONASS, 2 SBAS, 3 Galileo, 4 BeiDou, 5 QZSS
    int type;
    int prn;
    double pseudorange = 2.2e7;
    double adr = -1.0e8;
    float locktime = 100.0f;
    std::uint32_t flags = 1u << 10 | 1u << 11 | 1u << 12;   ///< phase lock, parity known, code lock
    int channel = 0;
    float doppler = -1234.5f;
    float cn0 = 45.25f;

    std::uint32_t status() const
    {
        return flags | static_cast<std::uint32_t>(system) << 16 | static_cast<std::uint32_t>(type) << 21;
    }
};

inline FrameBuilder range_frame(const std::vector<Signal>& signals)
{
    FrameBuilder frame(43, 4 + 44 * static_cast<int>(signals.size()));
    frame.body<std::uint32_t>(0, static_cast<std::uint32_t>(signals.size()));
    int p = 4;
    for (const Signal& s : signals) {
        frame.body<std::uint16_t>(p, static_cast<std::uint16_t>(s.prn));
        frame.body<std::uint16_t>(p + 2, static_cast<std::uint16_t>(s.channel + 7));
        frame.body(p + 4, s.pseudorange).body(p + 16, s.adr).body(p + 28, s.doppler).body(p + 32, s.cn0);
        frame.body(p + 36, s.locktime).body(p + 40, s.status());
        p += 44;
    }
    return frame;
}

inline FrameBuilder compressed_frame(const std::vector<Signal>& signals)
{
    FrameBuilder frame(140, 4 + 24 * static_cast<int>(signals.size()));
    frame.body<std::uint32_t>(0, static_cast<std::uint32_t>(signals.size()));
    int p = 4;
    for (const Signal& s : signals) {
        const auto range = static_cast<std::uint64_t>(s.pseudorange * 128.0);
        const auto doppler = static_cast<std::uint32_t>(static_cast<std::int32_t>(s.doppler * 256.0f)) & 0xFFFFFFF;
        frame.body(p, s.status());
        frame.body<std::uint32_t>(p + 7, static_cast<std::uint32_t>(range << 4));
        frame.body<std::uint8_t>(p + 11, static_cast<std::uint8_t>(range >> 28));
        frame.body<std::uint32_t>(p + 4, doppler | static_cast<std::uint32_t>(range & 0xF) << 28);
        frame.body(p + 12, static_cast<std::int32_t>(std::int64_t(s.adr * 256.0)));
        frame.body<std::uint8_t>(p + 17, static_cast<std::uint8_t>(s.prn));
        const auto cn0 = static_cast<std::uint32_t>(s.cn0) - 20;
        frame.body<std::uint32_t>(p + 18, static_cast<std::uint32_t>(s.locktime * 32.0f) | cn0 << 21 |
                                              static_cast<std::uint32_t>(s.channel + 7) << 26);
        p += 24;
    }
    return frame;
}

inline std::unique_ptr<raw_t> new_record()
{
    auto raw = std::make_unique<raw_t>();
    Initial_raw(raw.get(), 0);
    return raw;
}

/// Feeds a block that holds one frame at most.
inline int feed(raw_t* raw, const Bytes& bytes)
{
    int n = static_cast<int>(bytes.size());
    return input_korvexb(raw, bytes.data(), &n);
}
inline int feed(raw_t* raw, const FrameBuilder& frame)
{
    return feed(raw, frame.bytes());
}

#endif
