#include "positions/track_formats.h"

#include <array>
#include <cmath>

#include "common/gps_time.h"
#include "common/text_format.h"
#include "rinex/dates.h"

namespace kvx {

namespace {

using position::kRadian;

rinex::calendar_t utc_of(std::int64_t ms)
{
    const double seconds = static_cast<double>(ms) / 1000.0;
    return rinex::calendar_of((ms - 1000LL * rinex::leap_seconds(seconds)) * rinex::kTicksPerMs);
}

// "2024-03-10T11:59:42.000Z"
std::string utc_text(std::int64_t ms)
{
    const rinex::calendar_t c = utc_of(ms);
    return text("%04d-%02d-%02dT%02d:%02d:%02d.%03dZ", c.year, c.month, c.day, c.hour, c.minute, c.second,
                static_cast<int>(c.fraction / rinex::kTicksPerMs));
}

// What maps call the height: above the geoid where it is known, else above the ellipsoid.
double map_height(const track_point_t& p)
{
    return p.at.height - static_cast<double>(p.undulation.value_or(0.0F));
}

std::string escaped(std::string_view raw)
{
    std::string out;
    for (const char c : raw) {
        if (c == '&')
            out += "&amp;";
        else if (c == '<')
            out += "&lt;";
        else if (c == '>')
            out += "&gt;";
        else if (static_cast<unsigned char>(c) >= ' ')
            out += c;
    }
    return out;
}

std::string json_quoted(std::string_view raw)
{
    std::string out = "\"";
    for (const char c : raw) {
        if (c == '"' || c == '\\') out += '\\';
        if (static_cast<unsigned char>(c) >= ' ') out += c;
    }
    return out + "\"";
}

std::string csv_row(std::int64_t time, const track_point_t& p, const std::string& what)
{
    std::string row = date_text(static_cast<double>(time) / 1000.0) +
                      text(",%.9f,%.9f,%.4f,", p.at.lat * kRadian, p.at.lon * kRadian, p.at.height);
    if (p.undulation) row += text("%.3f", static_cast<double>(*p.undulation));
    row += p.satellites > 0 ? text(",%d,%.2f,", p.satellites, static_cast<double>(p.hdop)) : ",,,";
    return row + what + "\n";
}

std::string csv(const track_t& track)
{
    std::string out = "gps_time,latitude,longitude,ellipsoidal_height,geoid_undulation,satellites,hdop,what\n";
    for (const track_point_t& p : track.points) out += csv_row(p.time, p, track.source);
    for (const waypoint_t& w : track.waypoints) out += csv_row(w.time, w.at, w.name);
    return out;
}

std::string coordinates(const track_point_t& p)
{
    return text("%.9f,%.9f,%.3f", p.at.lon * kRadian, p.at.lat * kRadian, p.at.height);
}

// RFC 7946, whose heights are those above the ellipsoid.
std::string geojson(const track_t& track)
{
    std::string line, times;
    for (const track_point_t& p : track.points) {
        line += (line.empty() ? "[" : ",[") + coordinates(p) + "]";
        times += (times.empty() ? "\"" : ",\"") + utc_text(p.time) + "\"";
    }
    std::string out = R"({"type":"FeatureCollection","features":[)";
    if (track.points.size() > 1)
        out += R"({"type":"Feature","geometry":{"type":"LineString","coordinates":[)" + line +
               R"(]},"properties":{"name":)" + json_quoted(track.name) + R"(,"source":)" + json_quoted(track.source) +
               R"(,"coordTimes":[)" + times + "]}}";
    else if (!track.points.empty())
        out += R"({"type":"Feature","geometry":{"type":"Point","coordinates":)" + line + R"(},"properties":{"name":)" +
               json_quoted(track.name) + R"(,"time":)" + times + "}}";
    for (const waypoint_t& w : track.waypoints)
        out += R"(,{"type":"Feature","geometry":{"type":"Point","coordinates":[)" + coordinates(w.at) +
               R"(]},"properties":{"name":)" + json_quoted(w.name) + R"(,"time":")" + utc_text(w.time) + "\"}}";
    return out + "]}\n";
}

std::string gpx_point(const char* element, const track_point_t& p, std::int64_t time, const std::string& name)
{
    std::string out = text("<%s lat=\"%.9f\" lon=\"%.9f\"><ele>%.3f</ele><time>%s</time>", element, p.at.lat * kRadian,
                           p.at.lon * kRadian, map_height(p), utc_text(time).c_str());
    if (p.undulation) out += text("<geoidheight>%.3f</geoidheight>", static_cast<double>(*p.undulation));
    if (!name.empty()) out += "<name>" + escaped(name) + "</name>";
    if (p.satellites > 0) out += text("<sat>%d</sat><hdop>%.2f</hdop>", p.satellites, static_cast<double>(p.hdop));
    return out + "</" + element + ">\n";
}

std::string gpx(const track_t& track)
{
    std::string out =
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
        "<gpx version=\"1.1\" creator=\"kvx\" xmlns=\"http://www.topografix.com/GPX/1/1\">\n";
    for (const waypoint_t& w : track.waypoints) out += gpx_point("wpt", w.at, w.time, w.name);
    out += "<trk><name>" + escaped(track.name) + "</name><src>" + escaped(track.source) + "</src><trkseg>\n";
    for (const track_point_t& p : track.points) out += gpx_point("trkpt", p, p.time, "");
    return out + "</trkseg></trk>\n</gpx>\n";
}

std::string kml_coordinates(const track_point_t& p, char apart)
{
    return text("%.9f%c%.9f%c%.3f", p.at.lon * kRadian, apart, p.at.lat * kRadian, apart, map_height(p));
}

std::string kml(const track_t& track)
{
    std::string out =
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<kml xmlns=\"http://www.opengis.net/kml/2.2\" "
        "xmlns:gx=\"http://www.google.com/kml/ext/2.2\">\n<Document><name>" +
        escaped(track.name) + "</name>\n";
    for (const waypoint_t& w : track.waypoints)
        out += "<Placemark><name>" + escaped(w.name) + "</name><TimeStamp><when>" + utc_text(w.time) +
               "</when></TimeStamp><Point><altitudeMode>absolute</altitudeMode><coordinates>" +
               kml_coordinates(w.at, ',') + "</coordinates></Point></Placemark>\n";
    out += "<Placemark><name>" + escaped(track.source) + "</name><gx:Track><altitudeMode>absolute</altitudeMode>\n";
    for (const track_point_t& p : track.points) out += "<when>" + utc_text(p.time) + "</when>\n";
    for (const track_point_t& p : track.points) out += "<gx:coord>" + kml_coordinates(p, ' ') + "</gx:coord>\n";
    return out + "</gx:Track></Placemark>\n</Document></kml>\n";
}

// NMEA 0183: everything between $ and * is in the checksum.
std::string sentence(const std::string& body)
{
    unsigned sum = 0;
    for (const char c : body) sum ^= static_cast<unsigned char>(c);
    return "$" + body + text("*%02X\r\n", sum);
}

// Degrees and minutes: "3112.0000000,N".
std::string angle(double degrees, int width, const char* hemispheres)
{
    constexpr long long kPerMinute = 10'000'000;
    const long long units = std::llround(std::fabs(degrees) * 60.0 * kPerMinute), minute = units / kPerMinute;
    return text("%0*lld%02lld.%07lld,%c", width, minute / 60, minute % 60, units % kPerMinute,
                hemispheres[degrees < 0.0]);
}

std::string nmea(const track_t& track)
{
    std::string out;
    for (const track_point_t& p : track.points) {
        const rinex::calendar_t c = utc_of(p.time);
        const std::string time = text("%02d%02d%02d.%02d", c.hour, c.minute, c.second,
                                      static_cast<int>(c.fraction / (10 * rinex::kTicksPerMs)));
        const std::string place = angle(p.at.lat * kRadian, 2, "NS") + "," + angle(p.at.lon * kRadian, 3, "EW");
        std::string fix = text("GNGGA,%s,%s,1,", time.c_str(), place.c_str());
        fix += p.satellites > 0 ? text("%02d,%.2f", p.satellites, static_cast<double>(p.hdop)) : ",";
        fix += text(",%.3f,M,", map_height(p));
        fix += p.undulation ? text("%.3f,M,,", static_cast<double>(*p.undulation)) : ",M,,";
        out += sentence(fix);
        out += sentence(
            text("GNRMC,%s,A,%s,,,%02d%02d%02d,,,A", time.c_str(), place.c_str(), c.day, c.month, c.year % 100));
    }
    return out;
}

constexpr std::array<track_format_t, 5> kFormats = {
    {{"csv", csv}, {"geojson", geojson}, {"gpx", gpx}, {"kml", kml}, {"nmea", nmea}}};

}   // namespace

const track_format_t* find_track_format(std::string_view name)
{
    for (const track_format_t& f : kFormats) {
        if (f.name == name) return &f;
    }
    return nullptr;
}

std::vector<std::string> track_format_names()
{
    std::vector<std::string> names;
    names.reserve(kFormats.size());
    for (const track_format_t& f : kFormats) names.emplace_back(f.name);
    return names;
}

}   // namespace kvx
