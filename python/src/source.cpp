#include "source.h"

#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

namespace rtk_python {

py::str text_with_path(const std::string& message)
{
    return py::reinterpret_steal<py::str>(
        PyUnicode_DecodeFSDefaultAndSize(message.data(), static_cast<py::ssize_t>(message.size())));
}

namespace {

[[noreturn]] void raise_from_errno(const std::string& path)
{
    const int error = errno;
    const py::str name = text_with_path(path);
    errno = error;
    PyErr_SetFromErrnoWithFilenameObject(PyExc_OSError, name.ptr());
    throw py::error_already_set();
}

}   // namespace

source_t::source_t(const py::object& input)
{
    if (PyUnicode_Check(input.ptr()) == 0 && PyObject_CheckBuffer(input.ptr()) != 0) {   // texts of NumPy are both
        take_bytes(py::reinterpret_borrow<py::buffer>(input));
    } else {
        take_path(input);
    }
}

// Looked at before it is opened: the readers would tell less of what is wrong.
void source_t::take_path(const py::object& path)
{
    PyObject* encoded = nullptr;
    if (PyUnicode_FSConverter(path.ptr(), &encoded) == 0) throw py::error_already_set();
    path_ = py::reinterpret_steal<py::bytes>(encoded);
    name_ = path_ == "-" ? "standard input" : path_;
    struct stat status {};
    if (path_ == "-") return;
    if (::stat(path_.c_str(), &status) != 0) raise_from_errno(path_);
    if (S_ISDIR(status.st_mode)) {
        errno = EISDIR;
        raise_from_errno(path_);
    }
    if (::access(path_.c_str(), R_OK) != 0) raise_from_errno(path_);
}

void source_t::take_bytes(const py::buffer& bytes)
{
    name_ = "<bytes>";
    Py_buffer view{};
    if (PyObject_GetBuffer(bytes.ptr(), &view, PyBUF_CONTIG_RO | PyBUF_FORMAT) != 0) throw py::error_already_set();
    const std::unique_ptr<Py_buffer, void (*)(Py_buffer*)> released(&view, PyBuffer_Release);
    if (view.itemsize != 1) throw py::type_error("a path or bytes, not elements of " + std::to_string(view.itemsize));
    const int fd = ::memfd_create("rtk_utils", MFD_CLOEXEC);
    if (fd < 0) raise_from_errno(name_);
    memory_ = std::shared_ptr<const int>(new int(fd), [](const int* descriptor) {
        ::close(*descriptor);
        delete descriptor;
    });
    path_ = "/proc/self/fd/" + std::to_string(fd);
    const auto* at = static_cast<const char*>(view.buf);
    for (py::ssize_t left = view.len; left > 0;) {
        const ssize_t written = ::write(fd, at, static_cast<std::size_t>(left));
        if (written < 0 && errno != EINTR) raise_from_errno(name_);
        if (written < 0) continue;
        at += written;
        left -= written;
    }
}

std::string source_t::told(std::string message) const
{
    if (memory_ && message.starts_with(path_)) message.replace(0, path_.size(), name_);
    return message;
}

}   // namespace rtk_python
