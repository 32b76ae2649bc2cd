/// @file file_epochs.h  The epochs of observation files, one file after the other in order of time.
#ifndef KVX_VERIFY_FILE_EPOCHS_H
#define KVX_VERIFY_FILE_EPOCHS_H

#include <memory>
#include <optional>

#include "rinex/read_observations.h"
#include "verify/rinex_file.h"

namespace kvx {

class file_epochs_t {
public:
    /// @param files  observation files, at least one
    /// @throws error_t when one cannot be read
    file_epochs_t(const std::vector<std::string>& files, verification_t& result);

    /// The next epoch with observations, later than the ones before; others are faults. It is valid until the next
    /// call.
    /// @return nullptr behind the last one
    const rinex::read_epoch_t* next();

    /// The file that the epoch is of; behind the last epoch, the last file.
    const rinex_file_t& file() const { return *file_; }

    /// Place of a satellite's field.
    std::string place(const rinex::read_satellite_t& satellite, std::size_t field) const
    {
        return file_->place(reader_->line_of(satellite, field));
    }

    /// Changes whenever the types that the file lists may have changed.
    std::size_t types_change() const { return types_change_; }

private:
    void open(std::size_t file);
    bool read();
    bool is_usable() const;

    verification_t& result_;
    std::vector<std::string> files_;
    std::size_t at_ = 0, types_change_ = 0;
    std::unique_ptr<rinex_file_t> file_;
    std::optional<rinex::observation_reader_t> reader_;
    rinex::read_epoch_t epoch_;
    std::optional<rinex::ticks_t> last_;
};

}   // namespace kvx

#endif
