/// @file comm_func.h  Small functions that several programs of the device share.
#ifndef RTKCOMMON_COMM_FUNC_H
#define RTKCOMMON_COMM_FUNC_H

/// Shared functions.
class CCommFunc {
public:
    /// CRC-32 with initial value 0 and no final inversion.
    ///
    /// @param data  bytes; may be null when len is below 1
    /// @param len   number of bytes
    /// @param poly  reflected polynomial; 0xEDB88320 is the fast one
    /// @return checksum, 0 when len is below 1
    static unsigned int Crc32(const unsigned char* data, int len, unsigned int poly) noexcept;
};

#endif
