/// @file dump_scan.h  One walk through a dump file, from its start to its end.
#ifndef KVX_DUMP_SCAN_H
#define KVX_DUMP_SCAN_H

#include <array>
#include <cstdint>
#include <functional>
#include <iterator>
#include <string>

#include "dump/dump_reader.h"

namespace kvx {

/// What a dump file was made of; records and skipped bytes add up to the file's size.
struct dump_totals_t {
    struct count_t {
        std::uint64_t items = 0;
        std::uint64_t bytes = 0;
    };
    std::array<count_t, std::size(kDumpTypes)> types;   ///< in the order of kDumpTypes
    count_t records;
    count_t damage;              ///< stretches and their bytes
    std::string source_damage;   ///< why the file could not be read to its end
    bool ended_by_signal = false;

    bool damaged() const { return damage.items != 0 || !source_damage.empty(); }
    std::uint64_t bytes() const { return records.bytes + damage.bytes; }
};

/// Hands every item of a dump to `on_item`, as it comes. Shows progress; tells on stderr why not all could be read.
///
/// @param path  dump file; .gz is read directly, "-" is standard input
/// @throws error_t when the file cannot be read
dump_totals_t scan_dump(const std::string& path, const std::function<void(const dump_item_t&)>& on_item);

/// scan_dump for those that care for records: damage is a warning on stderr.
dump_totals_t scan_dump_records(const std::string& path, const std::function<void(const dump_item_t&)>& on_record);

/// What a command that has walked through a dump returns: an exit_code_t, or that of a signal.
int exit_code(const dump_totals_t& totals);

/// Replays a dump through CPhgAdapter into a vision library.
///
/// @param library  file name for the loader; empty: as VISION_PHG_LIB_NAME says
/// @param rate     records a second, 0: as fast as it takes them
/// @return an exit_code_t
/// @throws error_t
int replay_dump(const std::string& path, const std::string& library, double rate);

}   // namespace kvx

#endif
