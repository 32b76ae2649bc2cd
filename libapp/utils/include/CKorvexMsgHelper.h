/// @file CKorvexMsgHelper.h  Packs and parses the device's own framed messages.
///
/// A frame is, little-endian: AA 44 CC, header length 16, message ID (u16), extra word (u16), payload length N (u16),
/// six zero bytes, N bytes of payload, CRC-32 of all that. docs/formats/device-frame.md has the whole of it
/// (installed: share/doc/librtk-utils-dev/formats).
#ifndef CKORVEXMSGHELPER_H
#define CKORVEXMSGHELPER_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "rtk_utils_api.h"

/// Parser of one stream and packer of frames. One object and one thread per stream; never throws, never logs.
///
///     while (read(port, piece, &size))
///         for (bool found = helper.Parse(piece, size, id, &payload, n); found;
///              found = helper.Parse(nullptr, 0, id, &payload, n))
///             handle(id, payload, n);
class RTK_UTILS_API CKorvexMsgHelper {
public:
    /// Room for 4096 bytes.
    CKorvexMsgHelper() noexcept;
    ~CKorvexMsgHelper();
    CKorvexMsgHelper(const CKorvexMsgHelper&) = delete;
    CKorvexMsgHelper& operator=(const CKorvexMsgHelper&) = delete;

    /// Checksum of the frames: CRC-32 of polynomial 0xEDB88320, reflected, as the device's common library computes it.
    ///
    /// @param data  bytes
    /// @param len   number of bytes
    /// @return checksum
    unsigned int Crc32(const unsigned char* data, int len) noexcept;

    /// Builds one frame.
    ///
    /// @param data      payload; null: the frame's payload is len zero bytes, and the checksum stands before them
    /// @param len       payload length in bytes, below 65536. The header and the checksum cover the low 16 bits of a
    ///                  greater one only, and no parser takes such a frame
    /// @param msgId     message ID
    /// @param msgExtra  extra word, for the host to use
    /// @param out       the frame, len + 20 bytes; data may point into it
    /// @return true; false when there is no memory for the frame, and out is as it was
    bool Pack(const unsigned char* data, unsigned int len, unsigned short msgId, unsigned short msgExtra,
              std::string& out) noexcept;

    /// `Pack` with an extra word of 0.
    ///
    /// @param data   payload
    /// @param len    payload length in bytes, below 65536
    /// @param msgId  message ID
    /// @param out    the frame
    /// @return true; false when there is no memory for the frame, and out is as it was
    bool Pack(const unsigned char* data, unsigned int len, unsigned short msgId, std::string& out) noexcept;

    /// Takes in bytes of the stream and looks for the first whole frame.
    ///
    /// @param data        bytes received, in pieces of any size; null or len 0: only look among those held. May point
    ///                    into the payload returned last
    /// @param len         number of bytes
    /// @param msgId       out: message ID
    /// @param payload     out: payload, null when it is empty; inside this object, valid until the next call
    /// @param payloadLen  out: length of the payload in bytes
    /// @return true: a frame was found, call again without data for the next; false: none is complete, and nothing
    ///         was written to the arguments
    /// @note Bytes leave only with a valid frame behind them, so that a stream without one is kept whole in memory.
    ///       Bytes for which there is no memory are not taken in; RejectedBytes() tells of them.
    bool Parse(const unsigned char* data, unsigned int len, unsigned short& msgId, unsigned char** payload,
               unsigned int& payloadLen) noexcept;

    /// Tells whether the parser has lost bytes.
    ///
    /// @return bytes that `Parse` has not taken in since the object was made, because there was no memory for them or
    ///         4 GiB were held: while it is 0, every byte of the stream is looked at
    std::uint64_t RejectedBytes() const noexcept;

private:
    unsigned char* front() const noexcept { return m_pBuf.get() + m_nFront; }
    RTK_UTILS_LOCAL void discardUsed() noexcept;
    RTK_UTILS_LOCAL bool append(const unsigned char* data, unsigned int len) noexcept;
    RTK_UTILS_LOCAL bool relocate(std::size_t room, bool for_refused) noexcept;
    RTK_UTILS_LOCAL bool isFrame(std::size_t at) const noexcept;
    RTK_UTILS_LOCAL std::size_t findFrame() noexcept;
    RTK_UTILS_LOCAL std::size_t searchFrame() noexcept;
    RTK_UTILS_LOCAL bool becomesCostly(std::size_t covered) noexcept;
    struct state_t;
    RTK_UTILS_LOCAL state_t& state() const noexcept;

    std::unique_ptr<unsigned char[]> m_pBuf;   // the bytes held start m_nFront bytes into it, zeros follow them
    unsigned int m_nBufSize = 0;               // capacity that the checksum of a frame may reach into
    unsigned int m_nDataLen = 0;               // bytes held
    unsigned int m_nUsedLen = 0;               // bytes of them that the next call discards
    unsigned int m_nScanned = 0;               // no frame starts, or will ever start, in that many bytes held
    unsigned int m_nFront = 0;
    unsigned int m_nRoom = 0;        // bytes that the buffer has room for, before the zeros
    std::uint64_t m_nRejected = 0;   // bytes not taken in
};

#endif
