/// @file track_formats.h  Tracks as files of other programs.
#ifndef KVX_TRACK_FORMATS_H
#define KVX_TRACK_FORMATS_H

#include <string>
#include <string_view>
#include <vector>

#include "positions/track.h"

namespace kvx {

/// A format: its name, which is the ending of its files, too.
struct track_format_t {
    std::string_view name;
    std::string (*text)(const track_t& track);
};

/// The format of a name or of a file's ending; nullptr: none.
const track_format_t* find_track_format(std::string_view name);

/// "csv, geojson, gpx, kml, nmea".
std::vector<std::string> track_format_names();

}   // namespace kvx

#endif
