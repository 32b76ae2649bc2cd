/// @file verification.h  Proves a conversion: the files hold what the logs sent, all of it and nothing else.
#ifndef KVX_VERIFICATION_H
#define KVX_VERIFICATION_H

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "common/rinex_file.h"
#include "common/selection_options.h"

namespace kvx {

/// What became of a record of the range messages.
enum class fate_t : std::uint8_t {
    found,
    missing,
    differs,
    no_code_lock,
    unknown_type,
    no_satellite,
    superseded,
    repeated,
    other_log,
    out_of_order,
    not_asked,
    outside,
    off_grid,
    no_name,
    no_value,
};
inline constexpr std::size_t kFates = 15;
extern const std::array<const char*, kFates> kFateTexts;

/// What became of an ephemeris of the logs.
struct ephemeris_count_t {
    std::uint64_t told = 0;       ///< by messages
    std::uint64_t repeated = 0;   ///< of them, of data sets told before
    std::uint64_t sets = 0;       ///< different ones, which are
    std::uint64_t found = 0, missing = 0, differ = 0, not_asked = 0, no_file = 0;
    std::uint64_t extra = 0;   ///< records of the files
};

/// The account of a proof, and what speaks against it.
struct verification_t {
    /// Texts of faults that are kept.
    static constexpr std::size_t kMostFaults = 20;

    std::uint64_t epochs = 0, values = 0;   ///< compared and found equal in time; equal
    std::uint64_t epochs_missing = 0, epochs_extra = 0, epochs_left_out = 0, epochs_out_of_order = 0;
    std::array<std::array<std::uint64_t, kFates>, rinex::kTrackingKeys> records{};   ///< by tracking key
    std::array<std::uint64_t, rinex::kTrackingKeys> without_phase{};   ///< found, the band's phase is another signal's
    ephemeris_count_t ephemerides;
    std::size_t observation_files = 0, navigation_files = 0;   ///< 0: not looked for
    std::uint64_t other_records = 0;                           ///< of navigation files: no ephemerides, not compared
    std::size_t unpublished_files = 0;   ///< navigation files of systems that RINEX 2 does not know, not read
    bool logs_damaged = false;
    std::string read_error;   ///< of a log; what lies behind it has not been compared
    std::uint64_t faults = 0;
    std::vector<std::string> first_faults;   ///< "file:line: what"

    bool proven() const { return faults == 0; }

    void count(int tracking_key, fate_t fate)
    {
        ++records[static_cast<std::size_t>(tracking_key)][static_cast<std::size_t>(fate)];
    }

    /// Counts a fault. Its text is asked for when it is one of the first.
    /// @param text  gives "place: what"
    template <typename Text>
    void fault(Text text)
    {
        if (faults++ < kMostFaults) first_faults.push_back(text());
    }
};

/// Takes a file's faults.
inline rinex_file_t::on_fault_t faults_of(verification_t& result)
{
    return [&result](const std::string& text) { result.fault([&text] { return text; }); };
}

/// Compares logs with the files that came of them. Without observation files ranges are not looked for, without
/// navigation files ephemerides are not.
///
/// @param logs   at least one; where they were not joined they are read one after the other, in the order of their
///               first ranges
/// @param files  at least one; observation and navigation files in any order
/// @throws error_t when something cannot be read or is of a kind that is not known, and at an interrupt
verification_t verify(const selection_options_t& options, const std::vector<std::string>& logs,
                      const std::vector<std::string>& files);

/// The account as text or JSON.
std::string verification_text(const verification_t& result, const rinex::signals_t& names);
std::string verification_json(const verification_t& result, const rinex::signals_t& names);

}   // namespace kvx

#endif
