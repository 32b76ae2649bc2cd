#include "text_format.h"

#include <cstdarg>
#include <cstdio>

namespace kvx {

std::string text(const char* format, ...)
{
    char out[256];
    va_list values;
    va_start(values, format);
    std::vsnprintf(out, sizeof out, format, values);
    va_end(values);
    return out;
}

}   // namespace kvx
