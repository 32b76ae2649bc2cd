/// @file navigation_output.h  The navigation files of a log.
#ifndef KVX_NAVIGATION_OUTPUT_H
#define KVX_NAVIGATION_OUTPUT_H

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "common/output_file.h"
#include "convert/navigation_messages.h"
#include "convert/packing.h"
#include "convert/selection.h"
#include "log/summary.h"
#include "rinex/nav_text.h"
#include "rinex/observation_header.h"

namespace kvx {

/// Collects navigation data, each once, and writes them in order of time: one file for all systems, or one for each.
/// The texts wait in a file, not in memory.
class navigation_output_t {
public:
    /// @param options, selection  must outlive it
    navigation_output_t(const convert_options_t& options, const selection_t& selection);

    /// Takes a message that may be one with navigation data.
    /// @param sent  time of its header (ms since the beginning of GPS time)
    decode_result_t take(int id, std::int64_t sent, const std::uint8_t* body, int size);

    std::optional<int> leap_seconds() const { return messages_.leap_seconds(); }   ///< as the messages have told
    const navigation_count_t& count() const { return count_; }

    /// Begins files of their own: with the newest that is known of each satellite, as far as it is of use there.
    /// @param from  of their first epoch (ms since the beginning of GPS time)
    void begin_part(std::int64_t from);

    /// Writes the files.
    /// @param station    program, who runs it, and date
    /// @param first_epoch  GPS seconds; its date has leap seconds when no message has told them
    /// @param name_of    name of a file by its system's letter, M for all
    /// @return none when there is nothing to write
    std::vector<finished_file_t> finish(const rinex::station_t& station, double first_epoch,
                                        const std::function<std::string(char)>& name_of);

private:
    // A text in the spool, in the order of the files.
    struct entry_t {
        std::int64_t time;
        rinex::satellite_t satellite;
        rinex::nav_message_t message;
        std::uint32_t size;
        std::int64_t at;

        auto order() const { return std::tuple(time, satellite, message, at); }
    };
    // The newest of a satellite's messages of a kind.
    struct newest_t {
        std::string text;
        entry_t entry;
    };
    void add(const rinex::ephemeris_record_t& record, bool repetition);
    void spool_ion_utc();
    bool has_file(int constellation) const;
    void spool(const std::string& text, entry_t entry);
    finished_file_t write(char letter, const rinex::station_t& station, int leap_seconds, const std::string& name);

    const convert_options_t& options_;
    const selection_t& selection_;
    int version_;
    bool mixed_, wanted_;
    std::unique_ptr<output_file_t> spool_;
    std::vector<entry_t> entries_;
    std::int64_t spooled_ = 0;                                                         // bytes
    std::map<std::pair<rinex::satellite_t, rinex::nav_message_t>, newest_t> newest_;   // kept where files are split
    navigation_messages_t messages_;
    navigation_count_t count_;
};

}   // namespace kvx

#endif
