/// @file range_messages.h  The two range messages: 43 and, compressed, 140.
#ifndef SKY_RANGE_MESSAGES_H
#define SKY_RANGE_MESSAGES_H

#include <span>

#include "rtk_gnss.h"
#include "sky/frame.h"

namespace sky {

/// One signal of one satellite at one epoch.
struct range_t {
    int prn;                ///< as the board numbers it: GLONASS slot + 37, QZSS from 193, SBAS from 120
    int channel;            ///< GLONASS frequency channel
    double pseudorange;     ///< m
    double phase;           ///< cycles, growing with the range as in RINEX
    double doppler;         ///< Hz
    double cn0;             ///< dB-Hz
    double lock_time;       ///< s
    std::uint32_t status;   ///< channel tracking status
    bool rare = false;      ///< stands in one message alone when an epoch is sent in both
};

enum range_form_t : int {
    kFullRange = MSG_RANGE,
    kCompressedRange = MSG_RANGE_COMPRESSED,
    kBothRanges = 0,   ///< of a scenario: each epoch in both
};

/// Appends the range messages of an epoch: as many as the frame size asks for, one when there are no records.
void append_ranges(bytes_t& log, range_form_t form, std::span<const range_t> ranges, int week, std::int64_t ms);

}   // namespace sky

#endif
