#include "common/file_kinds.h"

#include <sys/stat.h>

#include <string_view>

#include "common/error.h"
#include "common/input_file.h"
#include "common/rinex_file.h"

namespace kvx {

namespace {

using namespace std::string_view_literals;

struct magic_t {
    std::size_t offset;
    std::string_view bytes;
    const char* name;
};

// clang-format off
constexpr magic_t kMagics[] = {
    {0,   "%PDF-"sv,               "a PDF document"},
    {0,   "PK\x03\x04"sv,          "a zip archive or an office document"},
    {0,   "7z\xBC\xAF\x27\x1C"sv,  "a 7z archive"},
    {0,   "Rar!\x1A\x07"sv,        "a rar archive"},
    {257, "ustar"sv,               "a tar archive"},
    {0,   "BZh"sv,                 "a bzip2 file, which is to be unpacked first"},
    {0,   "\xFD" "7zXZ"sv,         "an xz file, which is to be unpacked first"},
    {0,   "\x1F\x9D"sv,            "a file of compress (.Z), which is to be unpacked first"},
    {0,   "\x89PNG"sv,             "a PNG picture"},
    {0,   "\xFF\xD8\xFF"sv,        "a JPEG picture"},
    {0,   "GIF8"sv,                "a GIF picture"},
    {4,   "ftyp"sv,                "a video"},
    {0,   "\x7F" "ELF"sv,          "a program"},
    {0,   "#!"sv,                  "a script"},
    {0,   "SQLite format 3"sv,     "a SQLite database"},
    {0,   "<!DOCTYPE"sv,           "a web page"},
    {0,   "<!doctype"sv,           "a web page"},
    {0,   "<html"sv,               "a web page"},
    {0,   "<?xml"sv,               "an XML file"},
    {0,   "{"sv,                   "a JSON file"},
    {0,   "$G"sv,                  "NMEA text"},
};
// clang-format on

}   // namespace

std::string foreign_kind(const std::string& path)
{
    struct stat status {};
    if (stat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) return "";
    if (status.st_size == 0) return "an empty file";
    try {
        if (kind_of_file(path) != file_kind_t::log) return "a RINEX file";
        input_file_t source(path);
        std::string head(512, '\0');
        head.resize(source.read(reinterpret_cast<std::uint8_t*>(head.data()), head.size()));
        for (const magic_t& m : kMagics) {
            if (head.size() > m.offset && std::string_view(head).substr(m.offset).starts_with(m.bytes)) return m.name;
        }
    } catch (const error_t&) {   // what it is cannot be told
    }
    return "";
}

}   // namespace kvx
