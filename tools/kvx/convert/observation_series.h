/// @file observation_series.h  The observation files of a log: one, and another for every step back of its clock.
#ifndef KVX_OBSERVATION_SERIES_H
#define KVX_OBSERVATION_SERIES_H

#include <algorithm>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "convert/file_names.h"
#include "convert/packing.h"

namespace kvx {

/// @tparam File  observation_output_t or observation_file_t
template <typename File>
class observation_series_t {
public:
    struct ways_t {
        std::function<std::unique_ptr<File>()> make;
        std::function<std::string(const coverage_t& coverage, int number)> name;
        std::function<finished_file_t(File& file, const std::string& name)> finish;
    };

    explicit observation_series_t(ways_t ways) : ways_(std::move(ways)), current_(ways_.make()) {}

    /// What comes from now on belongs to another file than the epochs so far.
    void begin()
    {
        if (!current_->exists()) return;
        auto next = ways_.make();
        current_->hand_over_events(*next);
        finish_current("");
        current_ = std::move(next);
    }

    /// Ends the files so far as a whole of their own; their phases go on in the next file.
    /// @param end  where they end (ticks): later events belong to the next file
    /// @return those files, and what the name of the first tells
    std::pair<std::vector<finished_file_t>, coverage_t> part(std::int64_t end)
    {
        auto next = ways_.make();
        current_->hand_over_events_from(end, *next);
        next->continue_phases_of(*current_);
        finish_current("");
        current_ = std::move(next);
        names_.clear();
        return {std::move(finished_), *std::exchange(coverage_, std::nullopt)};
    }

    File& current() { return *current_; }

    /// Whether some file has an epoch.
    bool any() const { return !finished_.empty() || current_->exists(); }

    /// Of all files.
    observation_counts_t counts() const
    {
        observation_counts_t all = counts_;
        return all += current_->counts();
    }

    /// Of the first file, when it is finished.
    const coverage_t& coverage() const { return *coverage_; }

    /// Finishes the last file.
    /// @param partial  behind its name
    /// @return all files, at least one
    std::vector<finished_file_t> finish(const std::string& partial)
    {
        finish_current(partial);
        current_ = ways_.make();
        return std::move(finished_);
    }

private:
    // One without an epoch, as the clock's step back into another unit leaves it, is no file.
    void finish_current(const std::string& partial)
    {
        if (current_->exists()) {
            const coverage_t coverage = current_->coverage();
            if (!coverage_) coverage_ = coverage;
            finished_.push_back(ways_.finish(*current_, free_name(coverage) + partial));
        }
        counts_ += current_->counts();
    }

    // Files of one name follow each other by number.
    std::string free_name(const coverage_t& coverage)
    {
        names_.push_back(ways_.name(coverage, 1));
        const auto number = std::count(names_.begin(), names_.end(), names_.back());
        return ways_.name(coverage, static_cast<int>(number));
    }

    ways_t ways_;
    std::unique_ptr<File> current_;
    std::vector<finished_file_t> finished_;
    std::vector<std::string> names_;   // of the files finished, without numbers
    std::optional<coverage_t> coverage_;
    observation_counts_t counts_;   // of the files finished
};

}   // namespace kvx

#endif
