/// @file observation_merge.h  The epochs of several observation files in order of time.
#ifndef KVX_OBSERVATION_MERGE_H
#define KVX_OBSERVATION_MERGE_H

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "revise/observation_source.h"

namespace kvx {

/// A file that has been looked at.
struct looked_at_t {
    std::string path;
    std::int64_t first = 0;   ///< its first epoch, GPS time (ms)
    rinex::file_header_t header;
    std::vector<std::string> lines;
    rinex::type_names_t types;
};

/// Looks at the header of a file, and with several files at its first epoch.
looked_at_t look_at(const std::string& path, bool at_epochs);

/// Gives the epochs of files one by one. A file is open while its epochs are due; an epoch that several have comes
/// once, from the one with more values; an event, too, when it is the same.
class observation_merge_t {
public:
    /// @param files   by their first epochs; they and the faults must outlive this
    observation_merge_t(const std::vector<looked_at_t>& files, faults_t& faults) : files_(files), faults_(faults) {}

    /// Exchanges the epoch for the next one, whose input is the place of its file.
    /// @return false behind the last one
    bool next(std::unique_ptr<source_epoch_t>& epoch);

    std::uint64_t overlaps() const { return overlaps_; }

    /// Bytes read of all files.
    std::uint64_t position() const;

private:
    struct open_t {
        std::unique_ptr<observation_source_t> source;
        std::unique_ptr<source_epoch_t> head;
    };
    struct told_t {
        std::map<std::size_t, std::size_t> by_input;   // how often
        std::size_t written = 0;
    };
    void open_due();
    bool advance(std::size_t at);
    std::size_t first_head() const;
    void drop_doubles(std::size_t& chosen);
    bool has_been_told(const source_epoch_t& event);

    const std::vector<looked_at_t>& files_;
    faults_t& faults_;
    std::vector<open_t> open_;
    std::size_t opened_ = 0;
    std::uint64_t overlaps_ = 0, closed_bytes_ = 0;
    std::map<std::string, told_t> told_;   // events of a time, by their text
    std::int64_t told_time_ = 0;
    std::size_t told_bytes_ = 0;
};

}   // namespace kvx

#endif
