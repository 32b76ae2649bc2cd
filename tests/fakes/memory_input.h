/// @file memory_input.h  The tool's input out of memory: takes the place of common/input_file.cpp, once in a program.
#ifndef TESTS_MEMORY_INPUT_H
#define TESTS_MEMORY_INPUT_H

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <span>

#include "common/input_file.h"

/// What the input gives, and how much of it at once.
inline std::span<const std::uint8_t> memory_input;
inline std::size_t memory_input_piece = SIZE_MAX;

kvx::input_file_t::input_file_t(const std::string& /*path*/, bool /*follow*/) {}
kvx::input_file_t::~input_file_t() = default;

std::size_t kvx::input_file_t::read_some(std::uint8_t* to, std::size_t n)
{
    n = std::min({n, memory_input_piece, memory_input.size()});
    if (n != 0) std::memcpy(to, memory_input.data(), n);
    memory_input = memory_input.subspan(n);
    return n;
}

#endif
