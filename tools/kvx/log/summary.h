/// @file summary.h  What a log held and what was made of it: messages, epochs, satellites, gaps, losses, files.
#ifndef KVX_SUMMARY_H
#define KVX_SUMMARY_H

#include <rtk_gnss.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "log/epoch_order.h"
#include "log/log_reader.h"
#include "log/notices.h"
#include "log/steps.h"
#include "rinex/ledger.h"

namespace kvx {

struct message_count_t {
    std::uint64_t frames = 0, bytes = 0;
    std::uint64_t new_data = 0;   ///< that told something new
    std::uint64_t refused = 0;    ///< with contents that cannot be right
};

struct satellite_count_t {
    std::uint64_t epochs = 0;
    std::array<std::uint64_t, kNumSlots> signals{};   ///< pseudoranges by slot

    satellite_count_t& operator+=(const satellite_count_t& other)
    {
        epochs += other.epochs;
        for (std::size_t slot = 0; slot < signals.size(); ++slot) signals[slot] += other.signals[slot];
        return *this;
    }
};

struct epoch_count_t {
    std::uint64_t epochs = 0;
    double first = 0.0, last = 0.0;   ///< GPS seconds
    step_counter_t steps;

    void add(double gps_seconds);
};

/// Epochs with a time that cannot be, and steps back of the clock.
struct clock_faults_t {
    static constexpr std::size_t kMostNamed = 20;

    struct place_t {
        std::uint64_t offset;   ///< of the epoch in the log (bytes)
        double time, before;    ///< GPS seconds; of the last epoch in order, 0: there is none
        std::string log;        ///< of several the one of the offset
    };
    std::uint64_t epochs_out = 0, steps_back = 0;
    std::vector<place_t> first_out, first_steps;   ///< no more than are named
};

struct navigation_count_t {
    std::uint64_t found = 0;     ///< ephemerides of the log without repetitions
    std::uint64_t written = 0;   ///< records
    std::uint64_t blanks = 0;    ///< numbers that have no room in their columns
};

/// What became of the observations of one signal.
struct signal_count_t {
    std::string system;   ///< letter, "?" for one that no table knows
    int type;             ///< signal type of the receiver
    std::string code;     ///< RINEX 3; empty: it has none
    rinex::ledger_t::row_t counts;

    std::string name() const;   ///< "G2W", "G type 20"
};

/// Those signals of which there were observations.
std::vector<signal_count_t> signal_counts(const rinex::signals_t& signals, const rinex::ledger_t& ledger);

/// What was written to observation files.
struct observation_counts_t {
    std::uint64_t epochs = 0;
    std::uint64_t events = 0, events_lost = 0;   ///< between the epochs; lost: too many of them
    std::uint64_t left_out = 0;                  ///< satellite observations that the version cannot name

    observation_counts_t& operator+=(const observation_counts_t& other)
    {
        epochs += other.epochs;
        events += other.events;
        events_lost += other.events_lost;
        left_out += other.left_out;
        return *this;
    }
};

/// What a conversion made of the log.
struct outcome_t {
    observation_counts_t observations;
    std::vector<signal_count_t> signals;
    std::map<std::pair<std::string, std::string>, std::uint64_t> beyond_record;   ///< by signal and satellite
    std::map<std::string, std::uint64_t> under_other_number;   ///< of them, by both satellites ("J08 as S20")
    std::optional<navigation_count_t> navigation;
    bool partial = false;             ///< the files lack what a signal left unread
    bool verified = false;            ///< the files were read back and hold what the log sent
    std::vector<std::string> files;   ///< paths
};

/// Logs that were read as one.
struct joined_t {
    static constexpr std::size_t kMostGaps = 20;

    struct log_t {
        std::string name;
        std::uint64_t bytes, lost_bytes;
        epoch_count_t epochs;
    };
    struct gap_t {
        double after, before;   ///< epochs, GPS seconds
    };
    std::vector<log_t> logs;
    std::uint64_t epochs_in_common = 0;   ///< that stood in several logs
    std::vector<gap_t> gaps;              ///< the first ones
    std::uint64_t more_gaps = 0;

    void sort()   ///< the logs by their first epochs
    {
        std::stable_sort(logs.begin(), logs.end(),
                         [](const log_t& a, const log_t& b) { return a.epochs.first < b.epochs.first; });
    }

    void add_gap(double after, double before)
    {
        if (gaps.size() < kMostGaps) {
            gaps.push_back({after, before});
        } else {
            ++more_gaps;
        }
    }
};

struct summary_t {
    std::string log;   ///< of several the first
    std::uint64_t bytes = 0;
    std::map<int, message_count_t> messages;   ///< by number
    std::map<rinex::satellite_t, satellite_count_t> satellites;
    epoch_count_t epochs;
    clock_faults_t clock;
    notices_t notices;
    losses_t lost;
    std::string source_damage;      ///< why the log could not be read to its end
    bool ended_by_signal = false;   ///< and not by its end
    std::optional<joined_t> joined;
    std::optional<outcome_t> outcome;

    /// Takes a frame.
    /// @param content    of it
    /// @param numbering  that the decoder has; what has no number there, or no time yet, is no damage
    void count(const frame_t& frame, const std::uint8_t* content, numbering_t numbering);
    std::uint64_t refused = 0;   ///< frames with contents that cannot be right

    void count_satellites(const raw_t& epoch);
    std::array<satellite_count_t, 256> by_number{};   ///< of the record; under their names when all is finished

    /// Takes an epoch when it has been judged.
    /// @param time    ms since the beginning of GPS time
    /// @param offset  of the epoch in the log (bytes)
    /// @param from    the log, where several are joined
    void count_epoch(std::int64_t time, std::uint64_t offset, order_t order, std::string_view from = {});

    /// Takes what the reader has told by the end of a log.
    void finish(const log_reader_t& reader, const input_file_t& log);

    bool damaged() const;

    /// Why no epoch was usable, for a log without any.
    std::string why_no_epoch() const;

    /// Satellites by system, in the order of a file.
    std::vector<std::pair<const char*, std::uint64_t>> satellites_by_system() const;
};

/// What the message of a number is called.
const char* message_name(int id);

/// For people: what a conversion made of the log.
std::string summary_text(const summary_t& summary);

/// What makes it damaged, in a line.
std::string damage_line(const summary_t& summary);

/// Parts of it, lines each: a table of the messages; epochs; losses and what else is to be noted.
std::string messages_table(const summary_t& summary);
std::string epochs_text(const epoch_count_t& epochs);
std::string notes_text(const summary_t& summary);

/// For programs: one JSON object, a line.
std::string summary_json(const summary_t& summary);

}   // namespace kvx

#endif
