/// @file ascii.h  Texts for files that take printable ASCII only.
#ifndef KVX_ASCII_H
#define KVX_ASCII_H

#include <optional>
#include <string>

namespace kvx {

/// A UTF-8 text in ASCII: Latin letters lose their marks or are written out ("Łódź, Müller" is "Lodz, Mueller").
/// @return nothing when there is another character in it
std::optional<std::string> to_ascii(const std::string& utf8);

}   // namespace kvx

#endif
