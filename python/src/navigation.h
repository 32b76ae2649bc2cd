/// @file navigation.h  Ephemerides as columns, in the units of RINEX files and their order.
#ifndef RTK_PYTHON_NAVIGATION_H
#define RTK_PYTHON_NAVIGATION_H

#include <vector>

#include "column.h"
#include "convert/navigation_messages.h"
#include "convert/selection.h"
#include "log/message_time.h"

namespace rtk_python {

/// Each data set once.
class navigation_t {
public:
    /// @param selection  must outlive it
    explicit navigation_t(const kvx::selection_t& selection) : selection_(selection) {}

    /// Takes a message that may be one with navigation data; gives what it was worth (decode_result_t).
    int take(const kvx::message_t& message);

    /// Columns by name: time, reference, satellite, message, issue, health and the 31 numbers behind the epoch.
    py::dict arrays();

    /// Klobuchar coefficients, alpha and beta (two by four); None: not told.
    py::object ionosphere() const;
    py::object leap_seconds() const;

private:
    const kvx::selection_t& selection_;
    kvx::navigation_messages_t messages_;
    std::vector<rinex::ephemeris_record_t> records_;
};

}   // namespace rtk_python

#endif
