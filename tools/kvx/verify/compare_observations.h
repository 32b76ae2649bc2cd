/// @file compare_observations.h  Epochs of the logs against those of the files.
#ifndef KVX_VERIFY_COMPARE_OBSERVATIONS_H
#define KVX_VERIFY_COMPARE_OBSERVATIONS_H

#include "verify/expected_row.h"
#include "verify/file_epochs.h"

namespace kvx {

class observation_comparison_t {
public:
    /// All must outlive it.
    observation_comparison_t(const rinex::signals_t& names, const wanted_t& wanted, file_epochs_t& files,
                             verification_t& result)
        : names_(names), wanted_(wanted), files_(files), result_(result), row_(names)
    {}

    /// Goes through both to their ends.
    void run(log_epochs_t& log_epochs);

private:
    bool compare_run(log_epochs_t& log_epochs, log_epoch_t& log, bool more);
    void missing(const log_epoch_t& log);
    void extra(const rinex::read_epoch_t& file, const char* why);
    void compare(const log_epoch_t& log, const rinex::read_epoch_t& file);
    void judge_records(const log_epoch_t& log);
    bool is_expected(const log_epoch_t& log);
    void find_satellites(const rinex::read_epoch_t& file);
    void compare_satellite(const log_epoch_t& log, std::size_t first, std::size_t n, const rinex::read_epoch_t& file);
    void lacks_satellite(const log_epoch_t& log, std::size_t first, std::size_t n, const rinex::read_epoch_t& file);
    void finish_satellite(const log_epoch_t& log, std::size_t first, std::size_t n,
                          const rinex::read_satellite_t& satellite);
    bool is_equal(const log_record_t& record, const expected_value_t& expected, const rinex::read_value_t& found);
    void differs(const expected_value_t& expected, const rinex::read_value_t& found,
                 const rinex::read_satellite_t& satellite, std::size_t field);
    void not_sent(const log_epoch_t& log, const rinex::read_epoch_t& file, const rinex::read_satellite_t& satellite,
                  std::size_t field);
    bool left_out(const log_epoch_t& log, const rinex::read_satellite_t& satellite, std::size_t field) const;
    void not_sent_satellites(const log_epoch_t& log, const rinex::read_epoch_t& file);
    void account(const log_epoch_t& log);
    std::string place(const rinex::read_satellite_t& satellite, std::size_t field) const;

    const rinex::signals_t& names_;
    const wanted_t& wanted_;
    file_epochs_t& files_;
    verification_t& result_;
    expected_row_t row_;
    std::size_t types_ = 0;                                    // that row_ is of
    std::vector<fate_t> fates_;                                // of the epoch's records
    std::array<std::int16_t, rinex::kSatellites> in_file_{};   // place in the file's epoch; -1: not there
    std::array<std::array<std::int64_t, rinex::kMostSignals>, rinex::kSatellites> cycles_{};   // added, thousandths
    std::vector<bool> seen_;   // of the file's satellites: the log has them
};

}   // namespace kvx

#endif
