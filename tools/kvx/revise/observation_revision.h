/// @file observation_revision.h  Observation files made of observation files.
#ifndef KVX_OBSERVATION_REVISION_H
#define KVX_OBSERVATION_REVISION_H

#include <map>

#include "common/publish.h"
#include "convert/convert_options.h"
#include "revise/header_revision.h"
#include "revise/revision.h"

namespace kvx {

/// Reads one file, or several as one session, and writes what is wanted of it. Each file is read once; memory holds
/// an epoch of each that is open.
/// @param channels  of GLONASS, from navigation files beside them
/// @throws error_t when nothing came of it
std::vector<finished_file_t> revise_observations(const convert_options_t& options, const sources_t& paths,
                                                 const maker_t& maker, const std::map<int, int>& channels,
                                                 faults_t& faults, observation_outcome_t& outcome);

}   // namespace kvx

#endif
