/// @file packing.h  Finished files in compact and compressed form.
#ifndef KVX_PACKING_H
#define KVX_PACKING_H

#include <memory>
#include <string>

#include "common/output_file.h"
#include "convert/convert_options.h"

namespace kvx {

/// Gives an observation file its name, in the forms that the command line asks for.
/// @param name  that of the plain file; its endings follow the form
/// @return path
/// @throws error_t
std::string publish_observations(std::unique_ptr<output_file_t> file, const std::string& name,
                                 const convert_options_t& options);

/// The same for any other file, which is at most compressed.
std::string publish_packed(output_file_t& file, const std::string& name, const convert_options_t& options);

}   // namespace kvx

#endif
