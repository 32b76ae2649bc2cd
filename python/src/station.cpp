#include "station.h"

#include <limits>

#include "position/geodetic.h"
#include "rinex/dates.h"
#include "rinex/observation_text.h"

namespace rtk_python {

namespace {

std::string_view kind_of(int flag)
{
    switch (flag) {
        case rinex::kStartMoving:
            return "moving";
        case rinex::kNewSite:
            return "site";
        default:
            return "mark";
    }
}

// The receiver may send any bytes.
py::str printable(const std::string& text)
{
    return py::reinterpret_steal<py::str>(
        PyUnicode_DecodeASCII(text.data(), static_cast<py::ssize_t>(text.size()), "replace"));
}

}   // namespace

int station_t::take(const kvx::message_t& m)
{
    const int result = messages_.take(m.id, m.sent, m.body, m.size);
    if (const auto& fix = messages_.fix(); fix && selection_.in_window(fix->time * rinex::kTicksPerMs)) {
        const position::geodetic_t place =
            position::geodetic_of({fix->position[0], fix->position[1], fix->position[2]});
        time_.add(nanoseconds_of_ticks(fix->time * rinex::kTicksPerMs));
        position_.add(fix->position);
        geodetic_.add({place.lat * position::kRadian, place.lon * position::kRadian, place.height});
        type_.add(static_cast<std::uint32_t>(fix->type));
        cartesian_.add(fix->cartesian);
        undulation_.add(fix->cartesian ? std::numeric_limits<double>::quiet_NaN() : fix->undulation);
    }
    if (const auto& event = messages_.event(); event && selection_.in_window(event->ticks)) {
        event_time_.add(nanoseconds_of_ticks(event->ticks));
        event_kind_.add(text_of<6>(kind_of(event->flag)));
    }
    return result;
}

py::dict station_t::positions()
{
    py::dict all;
    all["time"] = times_of(time_);
    all["position"] = position_.array(py::dtype::of<double>(), 3);
    all["geodetic"] = geodetic_.array(py::dtype::of<double>(), 3);
    all["type"] = type_.array();
    all["cartesian"] = cartesian_.array();
    all["undulation"] = undulation_.array();
    return all;
}

py::dict station_t::receiver() const
{
    const rinex::station_t& told = messages_.facts();
    py::dict all;
    all["type"] = printable(told.receiver_type);
    all["version"] = printable(told.receiver_version);
    all["number"] = printable(told.receiver_number);
    return all;
}

py::dict station_t::antenna() const
{
    py::dict all;
    all["type"] = printable(messages_.facts().antenna_type);
    all["height"] = messages_.facts().delta[0];
    return all;
}

py::dict station_t::events()
{
    py::dict all;
    all["time"] = times_of(event_time_);
    all["kind"] = array_of(event_kind_);
    return all;
}

}   // namespace rtk_python
