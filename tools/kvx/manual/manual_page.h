/// @file manual_page.h  Manual pages in the macros of man(7).
#ifndef KVX_MANUAL_PAGE_H
#define KVX_MANUAL_PAGE_H

#include <string>

#include "common/command_page.h"

namespace kvx {

/// The page of the program, or of one of its commands with all that are below it.
std::string manual_page(const command_page_t& program, const command_page_t& page);

/// "kvx-convert", as the file is called without its section.
std::string manual_name(const command_page_t& page);

}   // namespace kvx

#endif
