/// @file rinex_input.h  Records and options for the RINEX writers out of the bytes of a fuzz input.
#ifndef RINEX_INPUT_H
#define RINEX_INPUT_H

#include <cstdio>
#include <string>

#include "fuzz_input.h"
#include "rtk_gnss.h"

/// Options of every version and kind of board; texts without a NUL, numbers of any value.
rnx_t rinex_options(fuzz_input_t& input);

/// The record's station fields: position, antenna, biases, texts.
void fill_station(raw_t& raw, fuzz_input_t& input);

/// One epoch, its time included.
void fill_epoch(raw_t& raw, fuzz_input_t& input);

/// A file in memory, open for update.
std::FILE* memory_file();

/// All of a stream's bytes; its position is kept.
std::string content(std::FILE* fp);

#endif
