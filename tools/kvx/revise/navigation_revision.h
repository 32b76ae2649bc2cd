/// @file navigation_revision.h  Navigation files made of navigation files.
#ifndef KVX_NAVIGATION_REVISION_H
#define KVX_NAVIGATION_REVISION_H

#include <map>
#include <optional>
#include <set>

#include "common/output_file.h"
#include "common/publish.h"
#include "revise/column_plan.h"
#include "revise/header_revision.h"
#include "revise/names.h"
#include "revise/navigation_header.h"
#include "revise/revision.h"
#include "revise/time_scale.h"
#include "rinex/read_navigation.h"

namespace kvx {

/// Files by their first records, whose header and version are those of what is joined.
/// @throws error_t when one cannot be read
sources_t earliest_first(const sources_t& paths);

/// Reads navigation files, each once; their records wait on the disk.
class navigation_revision_t {
public:
    /// All must outlive this.
    navigation_revision_t(const convert_options_t& options, const maker_t& maker, faults_t& faults,
                          navigation_outcome_t& outcome);

    /// @throws error_t when it cannot be read
    void read(const std::string& path);

    /// Frequency channels of GLONASS by slot, as the records tell them.
    const std::map<int, int>& channels() const { return channels_; }

    /// Writes the files.
    /// @param units   of observation files beside them, which shall have theirs
    /// @param beside  what the one observation file beside them covers, whose name theirs follows
    /// @throws error_t when no record is left
    std::vector<finished_file_t> finish(const std::set<std::int64_t>& units, const std::optional<coverage_t>& beside);

private:
    struct entry_t {
        rinex::ticks_t time;   // as printed
        std::int64_t gps;      // ms
        std::uint64_t hash;    // of the text
        std::uint64_t sequence;
        std::int64_t at;   // in the spool
        std::uint32_t size;
        std::uint16_t kind;   // of the message: place in kinds_
        std::uint8_t system, number;

        auto place() const { return std::tuple(time, system, number, sequence); }
        auto identity() const { return std::tuple(time, system, number, kind, hash, size, sequence); }
        auto series() const { return std::tuple(system, number, kind); }
    };
    struct group_t {
        char letter;   // of the header
        int system;    // -1: all
    };

    void take_header(const rinex::file_header_t& header, const rinex::line_tape_t& tape);
    void take(const rinex::read_nav_record_t& record, std::string_view lines, const rinex::file_header_t& header);
    std::uint16_t kind_of(const std::string& name);
    std::string text_of(const entry_t& entry);
    void drop_repeated();
    std::vector<const entry_t*> within(std::int64_t begin, std::int64_t end) const;
    std::vector<group_t> groups() const;
    finished_file_t write(const group_t& group, const std::vector<const entry_t*>& entries, const coverage_t& coverage);
    void finish_part(std::int64_t begin, std::int64_t end, const std::optional<coverage_t>& beside,
                     std::vector<finished_file_t>& files);
    coverage_t coverage_of(const std::vector<const entry_t*>& entries, std::int64_t begin) const;

    const convert_options_t& options_;
    const maker_t& maker_;
    faults_t& faults_;
    navigation_outcome_t& outcome_;
    asked_t wanted_;
    int version_ = 0;
    std::string first_path_;
    std::vector<navigation_source_t> sources_;
    char letter_ = ' ';   // of all headers, M when they differ
    std::unique_ptr<output_file_t> spool_;
    std::int64_t spooled_ = 0;   // bytes
    std::vector<entry_t> entries_;
    std::vector<std::string> kinds_;
    std::map<int, int> channels_;
    lost_labels_t lost_;
    std::map<std::string, int> names_used_;
};

}   // namespace kvx

#endif
