// Runs a fuzz target on saved inputs: the argument is a folder of files.
#include <filesystem>
#include <fstream>
#include <iterator>

#include "fuzz.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

int main(int, char** argv)
{
    LLVMFuzzerTestOneInput(nullptr, 0);
    int files = 0;
    for (const auto& entry : std::filesystem::directory_iterator(argv[1])) {
        std::fprintf(stderr, "%s\n", entry.path().c_str());   // the last one named is the one that failed
        std::ifstream file(entry.path(), std::ios::binary);
        const std::vector<char> bytes((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
        LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
        ++files;
    }
    return files > 0 ? 0 : 1;   // a corpus that is not there is a fault
}
