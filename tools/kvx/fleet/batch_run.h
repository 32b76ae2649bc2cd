/// @file batch_run.h  All logs of an archive, by processes that take one after the other.
#ifndef KVX_BATCH_RUN_H
#define KVX_BATCH_RUN_H

#include "convert/convert_options.h"

namespace kvx {

/// @return exit_code_t, the worst of all logs'
int convert_batch(const convert_options_t& options);

}   // namespace kvx

#endif
