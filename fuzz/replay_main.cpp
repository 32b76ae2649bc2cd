// Runs a fuzz target on saved inputs: each argument is a file or a folder of files.
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

namespace fs = std::filesystem;

void run_file(const fs::path& path)
{
    std::ifstream file(path, std::ios::binary);
    const std::vector<char> bytes((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    std::fprintf(stderr, "%s\n", path.c_str());   // the last one named is the one that failed
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
}

int run(const fs::path& path)
{
    if (!fs::is_directory(path)) {
        run_file(path);
        return 1;
    }
    int files = 0;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(path)) {
        if (!entry.is_regular_file()) continue;
        run_file(entry.path());
        ++files;
    }
    return files;
}

}   // namespace

int main(int argc, char** argv)
{
    LLVMFuzzerTestOneInput(nullptr, 0);
    int files = 0;
    for (int i = 1; i < argc; ++i) files += run(argv[i]);
    std::printf("%d inputs\n", files);
    return files > 0 ? 0 : 1;   // a corpus that is not there is a fault
}
