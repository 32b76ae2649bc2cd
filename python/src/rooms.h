/// @file rooms.h  What each source adds to the module.
#ifndef RTK_PYTHON_ROOMS_H
#define RTK_PYTHON_ROOMS_H

#include <pybind11/pybind11.h>

namespace rtk_python {

void add_log(pybind11::module_& module);
void add_frames(pybind11::module_& module);
void add_dump(pybind11::module_& module);

}   // namespace rtk_python

#endif
