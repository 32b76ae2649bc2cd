/// @file check_observations.h  Epochs against the rules and against what the header says of them.
#ifndef RINEX_CHECK_OBSERVATIONS_H
#define RINEX_CHECK_OBSERVATIONS_H

#include <array>
#include <bitset>
#include <cstdint>
#include <vector>

#include "rinex/read_observations.h"

namespace rinex {

class observation_check_t {
public:
    /// All must outlive this; the reader tells the places of fields.
    observation_check_t(const file_header_t& header, const observation_reader_t& reader, findings_t& findings);

    void add(const read_epoch_t& epoch);
    void finish();   ///< what only the whole file tells

    std::uint64_t epochs() const { return epochs_; }   ///< with observations
    std::size_t satellites() const;                    ///< different ones

private:
    // What is needed of a type at every value: nothing is looked up there.
    struct type_use_t {
        bool is_phase, is_strength, takes_strength;
        std::size_t strength;   // place of the strength of the same signal, kNone: not listed
        std::uint64_t values;   // of all satellites
    };
    // By type, of one satellite; zeros apart, as some write them for what was not observed.
    struct counts_t {
        std::vector<std::uint64_t> values, zeros;
    };
    static constexpr std::size_t kNone = ~std::size_t{0};
    static constexpr std::size_t kNumbers = 100;

    void prepare();
    void check_order(const read_epoch_t& epoch);
    void check_event(const read_epoch_t& epoch);
    bool check_satellite(const read_satellite_t& satellite, std::bitset<kSystemCount * kNumbers>& seen);
    void check_values(const read_satellite_t& satellite, const read_value_t* values);
    void check_strength(const read_satellite_t& satellite, std::size_t i, const type_use_t& type,
                        const read_value_t* values);
    void check_times();
    void check_interval();
    void check_unused();
    void check_slots();
    void check_numbers();
    void check_obs_number(const header_record_t& record, counts_t* counts, std::size_t first);

    const file_header_t& header_;
    const observation_reader_t& reader_;
    findings_t& findings_;
    std::array<std::vector<type_use_t>, kSystemCount> types_;
    std::array<counts_t, kSystemCount * kNumbers> counts_;
    std::bitset<kSystemCount * kNumbers> present_;
    std::uint64_t epochs_ = 0;
    ticks_t first_ = 0, last_ = 0, shortest_ = 0;
    bool timed_ = false, types_changed_ = false, all_satellites_ = true, off_grid_ = false;
    std::uint64_t off_grid_line_ = 0;
    ticks_t off_grid_step_ = 0;
};

}   // namespace rinex

#endif
