#include "host/header_patch.h"

#include <memory>
#include <new>
#include <vector>

#include "common/error.h"

namespace kvx {

namespace {
constexpr std::size_t kLongestHeader = 64 * 1024;   // bytes; what follows the header may be among them
}

void patch_header(output_file_t& file, const std::function<void(std::FILE*)>& patch)
{
    std::vector<char> text(kLongestHeader);
    file.seek(0);
    text.resize(std::fread(text.data(), 1, text.size(), file.stream()));
    if (text.empty() || std::ferror(file.stream()) != 0)
        throw error_t(file.path(), "reading back failed", "the header");
    std::FILE* memory = ::fmemopen(text.data(), text.size(), "r+");
    if (memory == nullptr) throw std::bad_alloc();
    patch(memory);
    if (std::fclose(memory) != 0) throw std::bad_alloc();
    file.seek(0);
    (void)std::fwrite(text.data(), 1, text.size(), file.stream());   // the stream keeps its error
}

}   // namespace kvx
