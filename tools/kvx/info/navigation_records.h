/// @file navigation_records.h  Ephemerides of a navigation file, as those of a log.
#ifndef KVX_NAVIGATION_RECORDS_H
#define KVX_NAVIGATION_RECORDS_H

#include <array>
#include <functional>
#include <optional>
#include <string>

#include "common/rinex_file.h"
#include "rinex/nav_record.h"
#include "rinex/ranges.h"
#include "rinex/read_navigation.h"

namespace kvx {

class navigation_records_t {
public:
    /// @throws error_t when it cannot be read or is no RINEX file
    explicit navigation_records_t(const std::string& path, rinex_file_t::on_fault_t on_fault = {});

    /// Hands out the ephemerides of messages that logs have, too; records of other ones are passed over.
    void read(const std::function<void(const rinex::ephemeris_record_t&)>& take);

    /// Of GPS, from the header or a record.
    const std::optional<std::array<double, 8>>& ionosphere() const { return ionosphere_; }
    const rinex::channels_t& channels() const { return channels_; }
    const std::string& version() const { return file_.header().version_text; }

private:
    void read_header_ionosphere();
    void take_ionosphere(const rinex::read_nav_record_t& r);

    rinex_file_t file_;
    std::optional<std::array<double, 8>> ionosphere_;
    rinex::channels_t channels_{};
};

}   // namespace kvx

#endif
