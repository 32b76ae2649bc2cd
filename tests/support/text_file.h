/// @file text_file.h  Streams in memory of the test, their contents as text, and golden files.
#ifndef TESTS_TEXT_FILE_H
#define TESTS_TEXT_FILE_H

#include <gtest/gtest.h>

#include <cstdio>
#include <memory>
#include <sstream>
#include <vector>

#include "support/temporary_folder.h"

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
    std::fseek(file, 0, SEEK_END);
    std::string text(static_cast<std::size_t>(std::ftell(file)), '\0');
    std::rewind(file);
    EXPECT_EQ(text.size(), std::fread(text.data(), 1, text.size(), file));
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
    if (std::getenv("RTK_UTILS_UPDATE_GOLDEN") != nullptr) write_file(path, text);
    EXPECT_EQ(contents_of(path), text) << path;
}

#endif
