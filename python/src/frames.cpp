// The device's framed messages.
#include <CKorvexMsgHelper.h>
#include <pybind11/pybind11.h>

#include <algorithm>
#include <cstdint>
#include <new>
#include <string>

#include "device_frame.h"
#include "rooms.h"

namespace rtk_python {

namespace py = pybind11;

namespace {

constexpr unsigned kMostPayload = 65535;
constexpr std::size_t kPiece = 1 << 20;   // bytes that the parser takes at once

/// Bytes of an object while they are looked at.
class bytes_t {
public:
    explicit bytes_t(const py::object& object)
    {
        if (PyObject_GetBuffer(object.ptr(), &view_, PyBUF_SIMPLE) != 0) throw py::error_already_set();
    }
    ~bytes_t() { PyBuffer_Release(&view_); }
    bytes_t(const bytes_t&) = delete;
    bytes_t& operator=(const bytes_t&) = delete;

    const unsigned char* data() const { return static_cast<const unsigned char*>(view_.buf); }
    std::size_t size() const { return static_cast<std::size_t>(view_.len); }

private:
    Py_buffer view_{};
};

// Numbers that no field holds are errors of their own: conversions would tell of types.
unsigned short word(const char* what, const py::object& value)
{
    const auto integer = py::reinterpret_steal<py::object>(PyNumber_Index(value.ptr()));
    if (!integer) throw py::error_already_set();
    const long number = PyLong_AsLong(integer.ptr());
    const bool failed = number == -1 && PyErr_Occurred() != nullptr;
    if (failed) PyErr_Clear();
    if (failed || number < 0 || number > 65535)
        throw py::value_error(std::string(what) + " is not between 0 and 65535");
    return static_cast<unsigned short>(number);
}

py::bytes pack_frame(const py::object& id, const py::object& payload, const py::object& extra)
{
    const bytes_t bytes(payload);
    if (bytes.size() > kMostPayload) throw py::value_error("a payload has at most 65535 bytes");
    CKorvexMsgHelper helper;
    std::string frame;
    if (!helper.Pack(bytes.data(), static_cast<unsigned>(bytes.size()), word("id", id), word("extra", extra), frame))
        throw std::bad_alloc();
    return frame;
}

class parser_t {
public:
    py::list feed(const py::object& data)
    {
        const bytes_t bytes(data);
        py::list found;
        std::size_t at = 0;
        do {
            const std::size_t n = std::min(kPiece, bytes.size() - at);
            take(bytes.data() + at, static_cast<unsigned>(n), found);
            at += n;
            bytes_ += n;
        } while (at < bytes.size());
        return found;
    }

    std::uint64_t lost() const { return bytes_ - framed_; }

private:
    void take(const unsigned char* data, unsigned n, py::list& found)
    {
        unsigned short id = 0;
        unsigned char* payload = nullptr;
        unsigned size = 0;
        const std::uint64_t rejected = helper_.RejectedBytes();
        for (bool more = helper_.Parse(data, n, id, &payload, size); more;
             more = helper_.Parse(nullptr, 0, id, &payload, size)) {
            found.append(py::make_tuple(id, py::bytes(reinterpret_cast<const char*>(payload), size)));
            framed_ += size + device_frame::kOverhead;
        }
        if (helper_.RejectedBytes() != rejected) throw std::bad_alloc();
    }

    CKorvexMsgHelper helper_;
    std::uint64_t bytes_ = 0, framed_ = 0;
};

}   // namespace

void add_frames(py::module_& module)
{
    module.def("pack_frame", pack_frame);
    py::class_<parser_t>(module, "FrameParser")
        .def(py::init<>())
        .def("feed", &parser_t::feed)
        .def_property_readonly("unframed_bytes", &parser_t::lost);
}

}   // namespace rtk_python
