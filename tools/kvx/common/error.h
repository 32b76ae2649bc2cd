/// @file error.h  Failures that end a command: what happened, to which file, and where.
#ifndef KVX_ERROR_H
#define KVX_ERROR_H

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <new>
#include <stdexcept>
#include <string>

namespace kvx {

/// Printed by the program as `kvx: error: <file>: <what> (<where>)`.
class error_t : public std::runtime_error {
public:
    error_t(const std::string& file, const std::string& what, const std::string& where)
        : std::runtime_error(file + ": " + what + (where.empty() ? "" : " (" + where + ")"))
    {}
};

/// The failure that errno names.
inline error_t system_error(const std::string& file, const std::string& where)
{
    return {file, std::strerror(errno), where};
}

/// Prints why the work on one of several files failed; needs no memory.
inline void print_failure(const std::exception& failure, const std::string& file)
{
    if (dynamic_cast<const std::bad_alloc*>(&failure) != nullptr)
        std::fprintf(stderr, "kvx: error: %s: out of memory\n", file.c_str());
    else
        std::fprintf(stderr, "kvx: error: %s\n", failure.what());
}

}   // namespace kvx

#endif
