/// @file log_summary.h  What a log held: messages, epochs, satellites, gaps and losses.
#ifndef KVX_LOG_SUMMARY_H
#define KVX_LOG_SUMMARY_H

#include <rtk_gnss.h>

#include <array>
#include <cstdint>
#include <map>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>

#include "log_reader.h"

namespace kvx {

/// Seconds since the start of GPS time.
inline double gps_seconds(int week, double tow)
{
    return week * 604800.0 + tow;
}

/// Differences between epochs: their usual step and the gaps.
class StepCounter {
public:
    void add(double seconds);
    double usual() const;            ///< the most frequent step (s), of several the smallest; 0: unknown
    std::uint64_t gaps() const;      ///< steps longer than one and a half usual ones
    std::uint64_t missing() const;   ///< epochs that the gaps lack
private:
    std::map<std::int64_t, std::uint64_t> steps_;   // by hundredths of a second
};

/// One line per satellite.
struct satellite_count_t {
    std::uint64_t epochs = 0;
    std::array<std::uint64_t, kNumSlots> signals{};   ///< pseudoranges by slot
};

/// Counts what passes by.
class LogSummary {
public:
    void count_frame(const frame_t& frame);
    void count_epoch(const raw_t& epoch);

    /// Why no epoch was usable, for a log without any.
    std::string why_no_epoch(const losses_t& losses, const std::string& source_damage) const;

    std::uint64_t epochs() const { return epochs_; }
    double first() const { return first_; }   ///< GPS seconds of the first epoch
    double last() const { return last_; }
    const StepCounter& steps() const { return steps_; }

    nlohmann::ordered_json to_json(const LogReader& reader, const std::string& source_damage) const;

private:
    struct message_count_t {
        std::uint64_t frames = 0, bytes = 0, new_data = 0, refused = 0;
    };

    std::map<int, message_count_t> messages_;
    std::map<int, satellite_count_t> satellites_;
    std::uint64_t epochs_ = 0;
    double first_ = 0.0, last_ = 0.0;
    StepCounter steps_;
};

/// Prints a summary made by to_json() for people.
/// @param tables  with one line per message and per satellite
std::string summary_text(const nlohmann::ordered_json& summary, bool tables);

/// "G07" for a satellite number (SBAS: "S20" is PRN 120).
std::string satellite_name(int sat);

/// "2024-03-10 12:00:00.000" of GPS seconds.
std::string date_text(double gps_seconds);

}   // namespace kvx

#endif
