#pragma once

#include <cstddef>

struct CCommFunc {
    static unsigned long Crc32(const void* data, std::size_t len, unsigned long poly);
};
