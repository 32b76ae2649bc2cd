/// @file navigation_files.h  RINEX navigation files made from the ephemerides of a log.
#ifndef KVX_NAVIGATION_FILES_H
#define KVX_NAVIGATION_FILES_H

#include <rtk_gnss.h>

#include <array>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "common/publish.h"
#include "convert/convert_options.h"
#include "convert/packing.h"
#include "host/ephemeris_key.h"
#include "log/summary.h"

namespace kvx {

/// Writes ephemerides as they come, into one file for all systems or one for each; a file appears with the
/// first ephemeris that belongs in it.
class navigation_files_t {
public:
    explicit navigation_files_t(const convert_options_t& options);

    /// Takes the ephemeris that the decoder has just stored. From then on the decoder stores every one of the
    /// satellite: which of them are repetitions is found out here.
    /// @return true when it was not there before
    bool add(raw_t& raw);

    /// Patches the headers with what the log has told by its end.
    /// @param name_of  name of a file by its system's letter, M for all
    /// @return none when no ephemeris was written
    std::vector<finished_file_t> finish(const raw_t& raw, const std::function<std::string(char)>& name_of);

    const navigation_count_t& count() const { return count_; }

private:
    static constexpr std::size_t kKinds = 6;   // of files

    bool is_repetition(int sat, const ephemeris_key_t& key);
    void write(std::size_t kind, raw_t& raw);
    finished_file_t patched(std::size_t kind, const raw_t& raw, const std::string& name);

    const convert_options_t& options_;
    rnx_t opt_;
    bool mixed_;
    std::array<std::unique_ptr<output_file_t>, kKinds> files_;
    std::array<std::deque<ephemeris_key_t>, kMaxSat + 1> known_;   // the latest of each satellite
    navigation_count_t count_;
};

}   // namespace kvx

#endif
