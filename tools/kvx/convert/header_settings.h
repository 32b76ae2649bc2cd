/// @file header_settings.h  Header lines that the command line gives.
#ifndef KVX_HEADER_SETTINGS_H
#define KVX_HEADER_SETTINGS_H

#include <string>

#include "convert/convert_options.h"

namespace kvx {

/// "MARKER NAME=BASE" as a line: the text in the columns that the label has for it.
/// @throws usage_error_t for what is no label, a label that the data decide, and a text that does not fit
header_setting_t header_setting(const std::string& text);

/// A header with the lines that --set gives: in the place of those of their labels, or before the last line. Comments
/// are added.
/// @param type     'O' or 'N'; lines that only the other kind of file has are left out
/// @throws error_t when no kind of file of the version has a line
std::string with_set_lines(const std::string& header, const convert_options_t& options, char type, int version);

/// The same, with what --marker and other options of their kind say.
std::string with_settings(const std::string& header, const convert_options_t& options, char type, int version);

}   // namespace kvx

#endif
