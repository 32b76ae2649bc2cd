// rtk_utils._core: what the package is made of. Its Python part gives it its shape.
#include <rtk_utils_version.h>

#include <exception>
#include <utility>

#include "common/error.h"
#include "rooms.h"
#include "source.h"

PYBIND11_MODULE(_core, module)
{
    pybind11::register_exception_translator([](std::exception_ptr thrown) {
        try {
            if (thrown) std::rethrow_exception(std::move(thrown));
        } catch (const kvx::error_t& error) {
            PyErr_SetObject(PyExc_OSError, rtk_python::text_with_path(error.what()).ptr());
        }
    });
    module.attr("version") = RTK_UTILS_VERSION;
    rtk_python::add_log(module);
    rtk_python::add_frames(module);
    rtk_python::add_dump(module);
}
