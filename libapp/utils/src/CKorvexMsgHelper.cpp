#include "CKorvexMsgHelper.h"

#include <rtkcommon/comm_func.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <functional>
#include <new>
#include <utility>

#include "device_frame.h"
#include "gnss/foundation/wire.h"
#include "refused_frames.h"

using namespace device_frame;

namespace {

constexpr unsigned int kFirstCapacity = 4096;
constexpr unsigned int kPolynomial = 0xEDB88320;   // of the checksum, reflected

// The checksum of a frame may reach this far behind the bytes held, where it has to find zeros.
constexpr std::size_t kZeros = kMaxHeaderLength;

// Refused candidates may cost this many bytes more than are held before they are remembered.
constexpr std::uint64_t kPatience = 4096;

void put_u16(char* p, unsigned int value)
{
    p[0] = static_cast<char>(value & 0xFF);
    p[1] = static_cast<char>(value >> 8 & 0xFF);
}

// Resizes to zero bytes; a text that cannot be had leaves false.
bool make_zeros(std::string& text, std::size_t size) noexcept
try {
    text.assign(size, '\0');
    return true;
} catch (...) {
    return false;
}

unsigned int checksum(const unsigned char* data, std::size_t len) noexcept
{
    return CCommFunc::Crc32(data, static_cast<int>(len), kPolynomial);
}

// Where the state lies in a buffer with this much room: behind the zeros.
std::size_t state_offset(std::size_t room) noexcept
{
    constexpr std::size_t kAlignment = alignof(std::max_align_t);
    return (room + kZeros + kAlignment - 1) / kAlignment * kAlignment;
}

}   // namespace

// What the parser knows of its stream; refused_frames_t lies behind it when there is room for one.
struct CKorvexMsgHelper::state_t {
    std::uint64_t position = 0;   // of the first byte held in the stream
    std::uint64_t judged = 0;     // bytes that had come when the cost was told last
    std::uint64_t cost = 0;       // bytes summed up for candidates that were refused, beyond those that came
    bool has_room = false;        // for them
    bool remembers = false;       // them

    refused_frames_t& refused() { return *reinterpret_cast<refused_frames_t*>(this + 1); }

    stretch_t stretch(const unsigned char* front, std::size_t held) const { return {front, position, position + held}; }

    void judge(std::uint64_t received, std::size_t added)
    {
        cost -= std::min(cost, received - judged);
        cost += added;
        judged = received;
    }
};

unsigned int CKorvexMsgHelper::Crc32(const unsigned char* data, int len) noexcept
{
    return CCommFunc::Crc32(data, len, kPolynomial);
}

// ---- packing ----

bool CKorvexMsgHelper::Pack(const unsigned char* data, unsigned int len, unsigned short msgId, unsigned short msgExtra,
                            std::string& out) noexcept
{
    std::string frame;   // not `out` itself, the payload may lie in there
    if (!make_zeros(frame, len + kOverhead)) return false;
    std::memcpy(frame.data(), kSync, sizeof kSync);
    frame[kHeaderLength] = static_cast<char>(kHeaderSize);
    put_u16(&frame[kId], msgId);
    put_u16(&frame[kExtra], msgExtra);
    put_u16(&frame[kPayloadLength], len);

    const std::size_t copied = data == nullptr ? 0 : len;
    if (copied != 0) std::memcpy(&frame[kHeaderSize], data, copied);
    // Deliberate: the checksum stops where the 16-bit length says, its place is behind the whole payload.
    const unsigned int crc =
        checksum(reinterpret_cast<const unsigned char*>(frame.data()), (len & 0xFFFF) + kHeaderSize);
    put_u16(&frame[kHeaderSize + copied], crc);
    put_u16(&frame[kHeaderSize + copied + 2], crc >> 16);
    out.swap(frame);
    return true;
}

bool CKorvexMsgHelper::Pack(const unsigned char* data, unsigned int len, unsigned short msgId,
                            std::string& out) noexcept
{
    return Pack(data, len, msgId, 0, out);
}

// ---- the bytes held ----

CKorvexMsgHelper::CKorvexMsgHelper() noexcept
{
    if (relocate(kFirstCapacity, false)) m_nBufSize = kFirstCapacity;
}

CKorvexMsgHelper::~CKorvexMsgHelper() = default;

CKorvexMsgHelper::state_t& CKorvexMsgHelper::state() const noexcept
{
    return *reinterpret_cast<state_t*>(m_pBuf.get() + state_offset(m_nRoom));
}

// Moves the bytes held to the front of a new buffer with so much room, or as much as there can be, and the state there.
bool CKorvexMsgHelper::relocate(std::size_t room, bool for_refused) noexcept
{
    room = std::min<std::size_t>(room, UINT32_MAX);
    state_t moved;
    if (m_pBuf != nullptr) moved = state();
    const bool copies = moved.has_room;
    moved.has_room |= for_refused;
    const std::size_t states = sizeof(state_t) + (moved.has_room ? sizeof(refused_frames_t) : 0);
    std::unique_ptr<unsigned char[]> buffer(new (std::nothrow) unsigned char[state_offset(room) + states]);
    if (buffer == nullptr) return false;
    if (m_nDataLen != 0) std::memcpy(buffer.get(), front(), m_nDataLen);
    std::memset(buffer.get() + m_nDataLen, 0, kZeros);
    auto* const place = new (buffer.get() + state_offset(room)) state_t(moved);
    if (copies) std::memcpy(static_cast<void*>(&place->refused()), &state().refused(), sizeof(refused_frames_t));
    m_pBuf = std::move(buffer);
    m_nFront = 0;
    m_nRoom = static_cast<unsigned int>(room);
    return true;
}

void CKorvexMsgHelper::discardUsed() noexcept
{
    if (m_nUsedLen == 0) return;
    if (state().remembers) state().refused().leave(state().stretch(front(), m_nDataLen), state().position + m_nUsedLen);
    state().position += m_nUsedLen;
    m_nDataLen -= m_nUsedLen;
    m_nFront = m_nDataLen == 0 ? 0 : m_nFront + m_nUsedLen;
    m_nScanned -= std::min(m_nScanned, m_nUsedLen);
    m_nUsedLen = 0;
}

// The bytes held are moved only when at least as many have left, and room grows by doubling, so that every byte is
// moved a bounded number of times. m_nBufSize grows to what is needed and no more: results depend on it.
bool CKorvexMsgHelper::append(const unsigned char* data, unsigned int len) noexcept
{
    if (len > UINT32_MAX - m_nDataLen) return false;
    const std::size_t needed = std::size_t{m_nDataLen} + len;
    const bool own = !std::less<>{}(data, m_pBuf.get()) && std::less<>{}(data, m_pBuf.get() + m_nRoom);

    bool moved = false;
    std::unique_ptr<unsigned char[]> source;   // bytes of this object, which may move
    if (own) {
        source.reset(new (std::nothrow) unsigned char[len]);
        if (source == nullptr) return false;
        std::memcpy(source.get(), data, len);
        data = source.get();
    }
    if (m_nFront + needed > m_nRoom) {
        if (needed <= m_nRoom && m_nFront >= m_nDataLen) {
            std::memcpy(m_pBuf.get(), front(), m_nDataLen);
            m_nFront = 0;
            moved = true;
        } else if (!relocate(2 * needed, false) && !relocate(needed, false)) {
            return false;
        }
    }
    std::memcpy(front() + m_nDataLen, data, len);
    const std::size_t zeros = m_nDataLen == 0 || moved ? 0 : kZeros - std::min<std::size_t>(kZeros, len);
    m_nDataLen += len;
    std::memset(front() + m_nDataLen + zeros, 0, kZeros - zeros);   // the first of them are there
    m_nBufSize = std::max(m_nBufSize, m_nDataLen);
    return true;
}

std::uint64_t CKorvexMsgHelper::RejectedBytes() const noexcept
{
    return m_nRejected;
}

// ---- parsing ----

// A whole frame is held at this place; does its checksum agree? Deliberate: the checksum covers as many bytes as the
// header-length byte says, but stands where a header of 16 bytes puts it.
bool CKorvexMsgHelper::isFrame(std::size_t at) const noexcept
{
    if (state().remembers)
        return state().refused().agrees(state().stretch(front(), m_nDataLen), state().position + at, m_nBufSize);
    const unsigned char* frame = front() + at;
    const std::size_t payload = wire::u16(frame + kPayloadLength);
    const std::size_t covered = frame[kHeaderLength] + payload;
    return at + covered <= m_nBufSize && checksum(frame, covered) == wire::u32(frame + kHeaderSize + payload);
}

// Position of the first frame with a right checksum, m_nDataLen if there is none.
std::size_t CKorvexMsgHelper::findFrame() noexcept
{
    if (m_pBuf == nullptr || !state().remembers) return searchFrame();
    const std::uint64_t at = state().refused().revived(state().stretch(front(), m_nDataLen), m_nBufSize);
    if (at != refused_frames_t::kNone) return at - state().position;
    state().judge(state().position + m_nDataLen, 0);
    state().remembers = state().cost != 0 || state().refused().any();
    return searchFrame();
}

// What was refused once is not looked at again, unless its checksum reached beyond the bytes held: it may fit those
// that come.
std::size_t CKorvexMsgHelper::searchFrame() noexcept
{
    std::size_t at = m_nScanned;
    std::size_t open = SIZE_MAX;   // first candidate refused for the time being, and not remembered
    for (; at + kHeaderSize < m_nDataLen; ++at) {
        const std::size_t end = m_nDataLen - kHeaderSize;
        const void* sync = std::memchr(front() + at, kSync[0], end - at);
        at = sync == nullptr ? end : static_cast<const unsigned char*>(sync) - front();
        if (sync == nullptr) break;

        const unsigned char* frame = front() + at;
        if (frame[1] != kSync[1] || frame[2] != kSync[2]) continue;
        const std::size_t payload = wire::u16(frame + kPayloadLength);
        if (at + payload + kOverhead > m_nDataLen) break;   // incomplete: what follows has to wait
        if (isFrame(at)) return at;
        const std::size_t covered = frame[kHeaderLength] + payload;
        if (at + covered > m_nDataLen && !state().remembers) open = std::min(open, at);
        if (becomesCostly(covered)) {
            m_nScanned = static_cast<unsigned int>(std::min(open, at));
            return searchFrame();
        }
    }
    m_nScanned = static_cast<unsigned int>(std::min(open, at));
    return m_nDataLen;
}

// A candidate was refused. Remembers them from now on when they have come to cost too much; without memory for that
// results are the same, only late.
bool CKorvexMsgHelper::becomesCostly(std::size_t covered) noexcept
{
    const std::uint64_t limit = m_nDataLen + kPatience;
    state().judge(state().position + m_nDataLen, covered);
    const bool costly = state().cost > limit;
    if (costly) state().cost = limit;
    if (!costly || state().remembers) return false;
    if (!state().has_room && !relocate(m_nRoom, true)) return false;
    state().refused().restart(state().position);
    return state().remembers = true;
}

bool CKorvexMsgHelper::Parse(const unsigned char* data, unsigned int len, unsigned short& msgId,
                             unsigned char** payload, unsigned int& payloadLen) noexcept
{
    discardUsed();
    if (data != nullptr && len != 0 && !append(data, len)) m_nRejected += len;
    const std::size_t at = findFrame();
    if (at == m_nDataLen) return false;

    unsigned char* frame = front() + at;
    msgId = wire::u16(frame + kId);
    payloadLen = wire::u16(frame + kPayloadLength);
    *payload = payloadLen == 0 ? nullptr : frame + kHeaderSize;
    m_nUsedLen = static_cast<unsigned int>(at + kOverhead + payloadLen);
    return true;
}
