#include "info/inputs.h"

#include <sys/stat.h>

#include "common/error.h"
#include "common/rinex_file.h"

namespace kvx {

namespace {

// What can be read only once is a log.
bool is_log(const std::string& path)
{
    struct stat status {};
    if (path == "-" || (stat(path.c_str(), &status) == 0 && !S_ISREG(status.st_mode))) return true;
    return kind_of_file(path) == file_kind_t::log;
}

bool is_navigation(const std::string& path)
{
    return !is_log(path) && rinex_file_t(path, {}).header().is_navigation();
}

}   // namespace

inputs_t inputs_of(const std::vector<std::string>& paths)
{
    inputs_t inputs;
    for (const std::string& path : paths) {
        bool navigation = false;
        try {
            navigation = is_navigation(path);
            inputs.any_observations |= !navigation && !is_log(path);
        } catch (const error_t&) {
        }
        (navigation ? inputs.navigation : inputs.described).push_back(path);
    }
    if (!inputs.any_observations)
        inputs.described.insert(inputs.described.end(), inputs.navigation.begin(), inputs.navigation.end());
    return inputs;
}

inspection_t inspect(const inspection_options_t& options, const std::string& path, const inputs_t& inputs,
                     const on_quality_t& on_quality)
{
    if (is_log(path)) return inspect_log(options, path, on_quality);
    return is_navigation(path) ? inspect_navigation(path)
                               : inspect_observations(options, path, inputs.navigation, on_quality);
}

}   // namespace kvx
