/// @file losses.h  What a log lost, and what became of its observations.
#ifndef RTK_PYTHON_LOSSES_H
#define RTK_PYTHON_LOSSES_H

#include "log_source.h"

namespace rtk_python {

/// Arguments of Python's class Losses by name; complete at the end of the log.
py::dict losses_of(log_source_t& log);

}   // namespace rtk_python

#endif
