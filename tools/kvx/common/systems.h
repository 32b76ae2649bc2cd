/// @file systems.h  Satellites of the record by the names that files give them.
#ifndef KVX_SYSTEMS_H
#define KVX_SYSTEMS_H

#include <string>

#include "rinex/satellites.h"

namespace kvx {

/// Bits of gnss_system_t for letters; 0 when there is none or another character among them.
int systems_of(const std::string& letters);

/// What is wrong with such letters on a command line; empty when nothing is.
std::string fault_in_letters(const std::string& letters);

/// The satellite of a satellite number of the record; invalid for 0 and numbers beyond the last.
rinex::satellite_t satellite_of_record(int sat);

}   // namespace kvx

#endif
