/// @file source.h  What Python names as an input: a path, or the bytes themselves.
#ifndef RTK_PYTHON_SOURCE_H
#define RTK_PYTHON_SOURCE_H

#include <pybind11/pybind11.h>

#include <memory>
#include <string>

namespace rtk_python {

namespace py = pybind11;

/// A message that may hold a path, whose bytes need be no UTF-8.
py::str text_with_path(const std::string& message);

/// An input as the readers take it. Bytes lie in a file of memory that goes with the last source that names it.
class source_t {
public:
    /// @param input  str, bytes-like or os.PathLike; "-" is standard input
    /// @throws an exception of Python when it is none of these or cannot be opened
    explicit source_t(const py::object& input);

    const std::string& path() const { return path_; }
    const std::string& name() const { return name_; }   ///< for messages

    /// A message of the readers, with the name that the caller knows.
    std::string told(std::string message) const;

private:
    void take_path(const py::object& path);
    void take_bytes(const py::buffer& bytes);

    std::string path_, name_;
    std::shared_ptr<const int> memory_;   // descriptor
};

}   // namespace rtk_python

#endif
