/// @file host_options.h  The library's options for the files of a host application.
#ifndef KVX_HOST_OPTIONS_H
#define KVX_HOST_OPTIONS_H

#include <rtk_gnss.h>

#include <string>

#include "convert/convert_options.h"

namespace kvx {

rnx_t rinex_options(const convert_options_t& options, const std::string& default_marker);

/// True when the observation types of the header and the slots of the records go by different rules.
bool header_and_records_disagree(const convert_options_t& options);

}   // namespace kvx

#endif
