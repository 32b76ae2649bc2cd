/// @file gnss_data.h  Logs and epochs that the benchmarks work on, the same in every run.
#ifndef GNSS_DATA_H
#define GNSS_DATA_H

#include <memory>

#include "rtk_gnss.h"
#include "sky/frame.h"
#include "sky/range_messages.h"

/// One range message an epoch, every 100 ms: GPS, Galileo and BeiDou with three signals a satellite, GLONASS with two.
///
/// @param satellites  1..80
/// @param size        bytes wanted; the log ends with the message that reaches them
sky::bytes_t range_log(sky::range_form_t form, int satellites, std::size_t size);

/// A record that holds one epoch of so many satellites.
std::unique_ptr<raw_t> epoch_of(int satellites);

/// Bytes without a sync.
sky::bytes_t garbage(std::size_t size);

#endif
