/// @file unique_buffer.h  Private copy of a dump record's payload.
#ifndef RTK_UNIQUE_BUFFER_H
#define RTK_UNIQUE_BUFFER_H

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>

/// Bytes that the caller who copied them and the task that writes them share; one allocation, a zero behind the last.
struct unique_buffer {
    unique_buffer(const unsigned char* data, std::uint32_t size)
        : m_pData(std::make_shared_for_overwrite<unsigned char[]>(std::size_t{size} + 1)), m_nSize(size)
    {
        std::memcpy(m_pData.get(), data, size);
        m_pData[size] = 0;
    }

    std::shared_ptr<unsigned char[]> m_pData;
    std::uint32_t m_nSize;
    std::uint32_t m_nPos = 0;
};

#endif
