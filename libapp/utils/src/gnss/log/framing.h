/// @file framing.h  Finds the frames of the receiver log in bytes, blocks and files.
#ifndef RTK_LOG_FRAMING_H
#define RTK_LOG_FRAMING_H

#include <cstdint>
#include <cstdio>

#include "rtk_gnss.h"

namespace korvex {

enum class framing_t {
    kMore,        // no frame yet
    kComplete,    // a frame lies in the record's buffer
    kTooLong,     // the header announced more than the buffer holds; the frame is dropped
    kEndOfFile,   // also in the middle of a frame
};

/// Takes one byte.
framing_t frame_byte(raw_t* raw, std::uint8_t byte);

/// Takes bytes up to the end of the first frame; n counts down by what was taken.
framing_t frame_block(raw_t* raw, const std::uint8_t* data, int& n);

/// Reads one frame; kMore when the search limit was reached first.
framing_t frame_file(raw_t* raw, std::FILE* file);

}   // namespace korvex

#endif
