/// @file observation_rows.h  Epochs of a source as the text of a file.
#ifndef KVX_OBSERVATION_ROWS_H
#define KVX_OBSERVATION_ROWS_H

#include <map>
#include <string>
#include <vector>

#include "revise/column_plan.h"
#include "revise/observation_source.h"
#include "revise/tally.h"

namespace kvx {

/// What a version had no place for.
struct version_losses_t {
    std::map<std::string, std::uint64_t> values;   ///< by type: "E7Q"
    std::uint64_t picoseconds = 0;                 ///< epochs whose five last digits are gone
    std::uint64_t clock_offsets = 0;               ///< rounded or without room
    std::uint64_t event_lines = 0;                 ///< header records of events
};

/// Copies values as they stand, all columns of each; rows that need no change whole.
class observation_rows_t {
public:
    /// @param columns  of the file
    /// @param wanted, losses  must outlive this
    observation_rows_t(int version, rinex::type_names_t columns, const asked_t& wanted, version_losses_t& losses);

    /// Appends an epoch.
    /// @return false when nothing of it is wanted
    bool put(const source_epoch_t& epoch, column_plan_t& plan, tally_t& tally, std::string& out);

    /// Looks at an epoch that is left out between others: a lock that it lost was lost for the next one, too.
    void follow(const source_epoch_t& epoch, column_plan_t& plan);

    /// Appends an event.
    void put_event(const source_epoch_t& event, std::string& out);

    const rinex::type_names_t& columns() const { return columns_; }

private:
    static constexpr std::size_t kPlaces = rinex::kSystemCount * tally_t::kNumbers;

    std::size_t width(std::size_t system) const { return columns_[version_ < 300 ? 0 : system].size(); }
    bool is_whole(const source_epoch_t& epoch, const column_plan_t& plan) const;
    void tally_row(const rinex::read_epoch_t& epoch, const rinex::read_satellite_t& satellite, tally_t& tally);
    void put_satellite(const source_epoch_t& epoch, const rinex::read_satellite_t& satellite, column_plan_t& plan,
                       tally_t& tally);
    bool put_fields(const source_epoch_t& epoch, const rinex::read_satellite_t& satellite, column_plan_t& plan);
    bool put_field(const source_epoch_t& epoch, const rinex::read_satellite_t& satellite, std::size_t from, int to,
                   std::size_t slip_key);
    bool share_columns(const source_epoch_t& epoch, const rinex::read_satellite_t& satellite, column_plan_t& plan);
    bool is_other_source(std::size_t place, int column, std::size_t signal);
    void take_slip(std::size_t place, std::size_t key, char& lock);
    void put_lines(const std::string& name);
    void put_epoch_line(const source_epoch_t& epoch, std::string& out);
    std::string clock_text(const source_epoch_t& epoch);

    int version_;
    rinex::type_names_t columns_;
    const asked_t& wanted_;
    version_losses_t& losses_;
    std::string rows_, row_;                         // of the epoch, of the satellite in hand
    std::vector<std::string> names_;                 // of the epoch's satellites, as far as written
    std::array<std::vector<bool>, kPlaces> slips_;   // to come, by column; of shared columns, by type
    std::uint64_t slips_to_come_ = 0;
    std::array<std::vector<std::int16_t>, kPlaces> sources_;   // of columns that signals share
};

}   // namespace kvx

#endif
