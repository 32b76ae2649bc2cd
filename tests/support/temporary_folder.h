/// @file temporary_folder.h  A folder of a test's own, gone with it, and whole files.
#ifndef TEMPORARY_FOLDER_H
#define TEMPORARY_FOLDER_H

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

class TemporaryFolder {
public:
    TemporaryFolder()
    {
        if (mkdtemp(m_path.data()) == nullptr) std::abort();
    }
    ~TemporaryFolder() { std::filesystem::remove_all(m_path); }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    const std::string& path() const { return m_path; }
    std::string file(const std::string& name) const { return m_path + "/" + name; }

private:
    std::string m_path = std::filesystem::temp_directory_path() / "rtk_utils.XXXXXX";
};

inline std::string contents_of(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

inline void write_file(const std::string& path, const std::string& contents)
{
    std::ofstream(path, std::ios::binary) << contents;
}

#endif
