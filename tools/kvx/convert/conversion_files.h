/// @file conversion_files.h  The files that a conversion makes.
#ifndef KVX_CONVERSION_FILES_H
#define KVX_CONVERSION_FILES_H

#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "convert/navigation_output.h"
#include "convert/observation_output.h"
#include "convert/observation_series.h"
#include "convert/position_list.h"

namespace kvx {

/// Observations, navigation data and positions: one file of each kind or, where they are split, one for each unit of
/// GPS time. A step back of the clock begins another observation file.
class conversion_files_t {
public:
    /// @param foreseen      columns of the observation files, as far as they are known, else nullptr; must outlive it,
    /// as
    ///                      all do
    /// @param as_they_fill  the files of a unit get their names when it is over, else all at the end
    conversion_files_t(const convert_options_t& options, const selection_t& selection,
                       const station_messages_t& station, const rinex::channels_t& channels,
                       const rinex::columns_t* foreseen, rinex::ledger_t& ledger, bool as_they_fill);

    /// Tells the time of the next epoch (ms), in the order of the files: in another unit the files so far end.
    void enter(std::int64_t time);

    void begin_file() { observations_.begin(); }   ///< the clock has stepped back
    void add(const fix_t& fix);
    observation_output_t& observations() { return observations_.current(); }
    navigation_output_t& navigation() { return navigation_; }
    observation_counts_t counts() const { return observations_.counts(); }

    /// Whether some file has an epoch.
    bool any() const { return parts_ > 0 || observations_.any(); }

    /// A program that reads the files while they grow sees what has come so far.
    void bring_to_disk();

    /// Ends all files that are left.
    /// @param partial  behind the names of the last ones
    std::vector<finished_file_t> finish(const std::string& partial);

    /// Gives these their names.
    /// @return paths of all files of the conversion
    std::vector<std::string> publish(const std::vector<finished_file_t>& files, const claim_t& claim);

private:
    file_names_t names(coverage_t coverage, int number);
    void take_early(std::int64_t end);
    void end_part(std::int64_t next);
    void keep(std::vector<finished_file_t> part);
    void add_others(std::vector<finished_file_t>& part, const coverage_t& coverage, const std::string& partial);

    const convert_options_t& options_;
    const station_messages_t& station_;
    bool as_they_fill_;
    observation_series_t<observation_output_t> observations_;
    navigation_output_t navigation_;
    position_list_t positions_;
    std::optional<std::int64_t> unit_;
    std::vector<fix_t> early_;   // of units that have not begun, or of logs that are ahead of others
    std::size_t parts_ = 0;      // that have ended
    double interval_ = 0.0;      // s, of the epochs so far; 0: unknown
    std::vector<finished_file_t> finished_;
    std::set<std::string> names_;      // of them
    std::vector<std::string> paths_;   // of those that have their names
};

}   // namespace kvx

#endif
