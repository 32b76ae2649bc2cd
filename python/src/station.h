/// @file station.h  Positions and events of the receiver as columns.
#ifndef RTK_PYTHON_STATION_H
#define RTK_PYTHON_STATION_H

#include "column.h"
#include "convert/convert_options.h"
#include "convert/selection.h"
#include "convert/station_messages.h"
#include "log/message_time.h"

namespace rtk_python {

class station_t {
public:
    /// @param selection  must outlive it
    explicit station_t(const kvx::selection_t& selection) : selection_(selection) {}

    /// Takes a message that may tell a position or an event; gives what it was worth (decode_result_t).
    int take(const kvx::message_t& message);

    py::dict positions();   ///< columns by name, as sent: one time may have two of them
    py::dict events();
    py::dict receiver() const;   ///< type, version, number as told last
    py::dict antenna() const;    ///< type, height (m)

private:
    const kvx::selection_t& selection_;
    kvx::convert_options_t usual_;
    kvx::station_messages_t messages_{usual_};

    column_t<std::int64_t> time_;
    column_t<std::array<double, 3>> position_, geodetic_;
    column_t<std::uint32_t> type_;
    column_t<bool> cartesian_;
    column_t<double> undulation_;
    column_t<std::int64_t> event_time_;
    column_t<text_t<6>> event_kind_;
};

}   // namespace rtk_python

#endif
