/// @file file_epochs.h  The epochs of observation files, along those of a log.
#ifndef KVX_VERIFY_FILE_EPOCHS_H
#define KVX_VERIFY_FILE_EPOCHS_H

#include <memory>
#include <optional>

#include "common/rinex_file.h"
#include "rinex/read_observations.h"
#include "verify/verification.h"

namespace kvx {

class file_epochs_t {
public:
    /// @param files  observation files, at least one; of those that begin at one time the first is that of the log's
    ///               first run
    /// @throws error_t when one cannot be read
    file_epochs_t(const std::vector<std::string>& files, verification_t& result);

    /// Opens the file that begins nearest a time, where a run of the log's epochs begins.
    /// @return false when every file has been read
    bool begin_run(rinex::ticks_t time);

    /// The next epoch of the file with observations, later than the ones before; others are faults. It is valid until
    /// the next call.
    /// @return nullptr behind the last one
    const rinex::read_epoch_t* next();

    /// Goes on in the run with the file that begins at a time of the log.
    /// @param expected  whether some file is to have that time: without one that begins there, goes on with the next
    ///                  one that begins before it
    /// @return its first epoch, else nullptr
    const rinex::read_epoch_t* next_file(rinex::ticks_t time, bool expected);

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
    // A file that has not been read.
    struct unread_t {
        std::string path;
        rinex::ticks_t first;   // epoch
    };
    void open(std::vector<unread_t>::iterator file);
    bool is_usable() const;

    verification_t& result_;
    std::vector<unread_t> unread_;   // in the order of their first epochs
    std::size_t types_change_ = 0;
    std::unique_ptr<rinex_file_t> file_;
    std::optional<rinex::observation_reader_t> reader_;
    rinex::read_epoch_t epoch_;
    std::optional<rinex::ticks_t> last_;
};

}   // namespace kvx

#endif
