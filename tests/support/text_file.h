/// @file text_file.h  Streams in memory of the test, their contents as text, and golden files.
#ifndef TESTS_TEXT_FILE_H
#define TESTS_TEXT_FILE_H

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

struct CloseFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using FilePtr = std::unique_ptr<std::FILE, CloseFile>;

inline FilePtr new_file()
{
    return FilePtr(std::tmpfile());
}

/// Everything in the stream, whose position is kept.
inline std::string contents(std::FILE* file)
{
    const long position = std::ftell(file);
    std::rewind(file);
    std::string text;
    char block[4096];
    std::size_t n = 0;
    while ((n = std::fread(block, 1, sizeof block, file)) > 0) text.append(block, n);
    std::fseek(file, position, SEEK_SET);
    return text;
}

inline std::vector<std::string> lines(const std::string& text)
{
    std::vector<std::string> out;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) out.push_back(line);
    return out;
}

/// Compares with tests/data/<name>; with RTK_UTILS_UPDATE_GOLDEN=1 writes it instead.
inline void expect_golden(const std::string& name, const std::string& text)
{
    const std::string path = std::string(RTK_UTILS_TEST_DATA) + "/" + name;
    if (std::getenv("RTK_UTILS_UPDATE_GOLDEN") != nullptr) std::ofstream(path, std::ios::binary) << text;
    std::ifstream file(path, std::ios::binary);
    std::stringstream golden;
    golden << file.rdbuf();
    EXPECT_EQ(golden.str(), text) << path;
}

#endif
