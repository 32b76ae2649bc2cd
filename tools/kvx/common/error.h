/// @file error.h  Failures that end a command: what happened, to which file, and where.
#ifndef KVX_ERROR_H
#define KVX_ERROR_H

#include <cerrno>
#include <cstring>
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

}   // namespace kvx

#endif
