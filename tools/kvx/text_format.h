/// @file text_format.h  printf into a string. kvx never sets a locale: numbers have a decimal point.
#ifndef KVX_TEXT_FORMAT_H
#define KVX_TEXT_FORMAT_H

#include <string>

namespace kvx {

/// At most 255 characters.
[[gnu::format(printf, 1, 2)]] std::string text(const char* format, ...);

}   // namespace kvx

#endif
