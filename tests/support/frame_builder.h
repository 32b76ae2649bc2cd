/// @file frame_builder.h  Frames of the receiver log for tests: a test states only the fields it is about.
#ifndef TESTS_FRAME_BUILDER_H
#define TESTS_FRAME_BUILDER_H

#include <rtk_gnss.h>

#include <cstring>
#include <memory>

#include "sky/range_messages.h"

using Bytes = std::vector<std::uint8_t>;

inline Bytes operator+(Bytes a, const Bytes& b)
{
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

/// A frame of week 2200, second 1000, time known; the checksum is made when the bytes are asked for.
class FrameBuilder {
public:
    FrameBuilder(int id, std::size_t body_bytes) : FrameBuilder(made(id, body_bytes)) {}

    /// A frame as it stands, to be changed.
    explicit FrameBuilder(const Bytes& frame) : m_bytes(frame.begin(), frame.end() - 4) {}

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

    Bytes bytes() const
    {
        Bytes out = m_bytes;
        const std::uint32_t crc = crc32(out.data(), static_cast<int>(out.size()));
        for (int i = 0; i < 4; ++i) out.push_back(static_cast<std::uint8_t>(crc >> 8 * i));
        return out;
    }

private:
    static Bytes made(int id, std::size_t body_bytes)
    {
        Bytes frame;
        sky::frame_t(static_cast<std::uint16_t>(id), body_bytes).append_to(frame, 2200, 1000000);
        return frame;
    }
    Bytes m_bytes;
};

/// A signal that is locked, its parity known. System of the tracking status: 0 GPS, 1 GLONASS, 2 SBAS, 3 Galileo,
/// 4 BeiDou, 5 QZSS.
inline sky::range_t signal(unsigned system, unsigned type, int prn)
{
    return {prn, 0, 2.2e7, 1.0e8, -1234.5, 45.25, 100.0, 7u << 10 | system << 16 | type << 21};
}

inline FrameBuilder range_frame(const std::vector<sky::range_t>& signals, sky::range_form_t form = sky::kFullRange)
{
    Bytes frame;
    sky::append_ranges(frame, form, signals, 2200, 1000000);
    return FrameBuilder(frame);
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
