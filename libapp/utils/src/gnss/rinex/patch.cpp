#include "gnss/rinex/patch.h"

#include <fcntl.h>
#include <stdio_ext.h>

#include <cstring>

namespace rinex {

namespace {

constexpr int kMostLines = 10000;   // of a header; a device such as /dev/full has lines without an end

// Leaves the stream behind the line with the label or the end of the header.
bool find_line(std::FILE* fp, const char* label)
{
    char line[100];
    if (std::fseek(fp, 0, SEEK_SET) != 0) return false;
    for (int n = 0; n < kMostLines && std::fgets(line, sizeof line, fp) != nullptr; ++n) {
        if (std::strstr(line, "END OF HEADER") != nullptr || std::strstr(line, label) != nullptr) return true;
    }
    return false;
}

}   // namespace

bool appends_only(std::FILE* fp)
{
    const int flags = fcntl(fileno(fp), F_GETFL);
    return flags != -1 && (flags & O_APPEND) != 0;
}

void patch_after(std::FILE* fp, const char* label, const text_t& text)
{
    if (appends_only(fp) || __freadable(fp) == 0 || !find_line(fp, label)) return;   // a failed read would mark it
    if (std::fseek(fp, std::ftell(fp), SEEK_SET) != 0) return;   // a stream wants one between reading and writing
    text.write(fp);
}

}   // namespace rinex
