/// @file compare_ephemerides.h  Ephemerides of the logs against the records of the navigation files.
#ifndef KVX_VERIFY_COMPARE_EPHEMERIDES_H
#define KVX_VERIFY_COMPARE_EPHEMERIDES_H

#include <map>
#include <vector>

#include "common/rinex_file.h"
#include "rinex/read_navigation.h"
#include "verify/log_ephemerides.h"
#include "verify/verification.h"
#include "verify/wanted.h"

namespace kvx {

class ephemeris_comparison_t {
public:
    /// All must outlive it.
    ephemeris_comparison_t(const wanted_t& wanted, verification_t& result) : wanted_(wanted), result_(result) {}

    /// Takes a message of the log, which may be one with ephemerides.
    void add(const message_t& message, const log_place_t& place);

    /// Compares navigation files with all messages taken.
    void run(const std::vector<std::string>& files);

private:
    // A data set of a satellite, or the same in other digits: another message may tell it so.
    struct entry_t {
        log_ephemeris_t ephemeris;
        std::size_t set = 0;                  // place of the data set's first entry
        std::uint64_t told = 0, stands = 0;   // times, of the data set: in the log, in the file read last that has it
        std::size_t file = 0;                 // that file, from 1
        bool differs = false;                 // a record of the files has other digits
    };
    using entries_t = std::vector<entry_t>;   // of one satellite and time

    void add(const log_ephemeris_t& ephemeris);
    void read(const std::string& path);
    void compare(const rinex_file_t& file, const rinex::navigation_reader_t& reader,
                 const rinex::read_nav_record_t& record);
    void judge(const entry_t& entry);
    bool has_file(char system) const { return all_systems_ || systems_.find(system) != std::string::npos; }

    const wanted_t& wanted_;
    verification_t& result_;
    std::map<std::pair<int, rinex::ticks_t>, entries_t> entries_;   // by place of the satellite and time
    std::size_t size_ = 0;
    std::size_t file_ = 0;       // that is read, from 1
    std::string systems_;        // that files are there for
    bool all_systems_ = false;   // the files are of versions that know all systems
};

}   // namespace kvx

#endif
