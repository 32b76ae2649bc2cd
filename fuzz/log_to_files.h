/// @file log_to_files.h  What the tool makes of a log: its bytes accounted for, its files by the rules.
#ifndef FUZZ_LOG_TO_FILES_H
#define FUZZ_LOG_TO_FILES_H

#include <rtk_gnss.h>

#include "fuzz.h"

/// @param raw      as at the start of a log
/// @param block    bytes that the reader is given at once
/// @param options  bits 0, 1: version of the file; bit 3: of RINEX 2 the system of navigation data; bit 4: the frames
///                 are decoded into the record, too; bit 5: a file of navigation data instead of observations
void log_to_files(raw_t& raw, bytes_t log, std::size_t block, std::uint8_t options);

#endif
