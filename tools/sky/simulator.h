/// @file simulator.h  A receiver under the built-in sky: its log, epoch by epoch.
#ifndef SKY_SIMULATOR_H
#define SKY_SIMULATOR_H

#include <memory>
#include <vector>

#include "sky/constellation.h"
#include "sky/course.h"
#include "sky/horizon.h"
#include "sky/multipath.h"
#include "sky/random.h"
#include "sky/range_messages.h"
#include "sky/slips.h"

namespace sky {

constexpr int kAllSystems = SYS_GPS | SYS_GLO | SYS_GAL | SYS_BDS | SYS_QZS | SYS_SBS;

/// What is to be simulated. The same scenario gives the same bytes on every machine.
struct scenario_t {
    int week = 2305;                   ///< GPS week of the first epoch, 1513..65000
    double tow = 43200.0;              ///< its second of week, a whole number of milliseconds
    double duration = 600.0;           ///< s; epochs lie before its end, one at least
    double rate = 1.0;                 ///< Hz, up to 20; below 1 the interval is rounded to whole seconds
    double lat = 31.2;                 ///< antenna: degrees north
    double lon = 121.5;                ///< degrees east
    double height = 30.0;              ///< m above WGS 84
    bool moving = false;               ///< it drives around there
    int systems = kAllSystems;         ///< bits of gnss_system_t
    range_form_t range = kFullRange;   ///< message that carries the observations
    bool every_signal = false;         ///< all signals and satellites that boards send, and locks that end
    double mask = 10.0;                ///< least elevation, degrees
    std::vector<obstruction_t> obstructions;
    double ephemeris_interval = 300.0;   ///< s between repetitions of unchanged ephemerides
    double code_noise = 0.3;             ///< deviation of a pseudorange, m
    double phase_noise = 0.01;           ///< deviation of a phase, cycles
    double multipath = 0.0;              ///< RMS in a pseudorange, m
    std::int64_t slips = 0;              ///< cycle slips
    std::uint64_t seed = 1;
};

/// Weeks that are simulated: from 2009 on the leap seconds are known to the library.
constexpr int kFirstWeek = 1513;
constexpr int kLastWeek = 65000;

/// Makes the log of a scenario. Memory does not grow with its duration.
class simulator_t {
public:
    explicit simulator_t(const scenario_t& scenario);
    ~simulator_t();

    /// Appends the messages of the next epoch.
    ///
    /// @return false, with nothing appended, when the duration is over
    bool next(bytes_t& log);

    std::int64_t epochs() const { return epochs_; }   ///< of the whole scenario
    std::int64_t done() const { return done_; }       ///< made so far
    const std::vector<std::unique_ptr<vehicle_t>>& vehicles() const { return vehicles_; }
    const std::vector<slip_t>& slips() const { return slips_.placed(); }   ///< so far

private:
    struct track_t;

    void look(track_t& track) const;
    lock_t hold(const track_t& track, const signal_t& signal) const;
    void measure(const track_t& track);
    void observe();
    fix_t fix() const;
    std::vector<visible_t> visible_satellites() const;
    void append_station_messages(bytes_t& log);
    void append_ephemerides(bytes_t& log);
    void append_observations(bytes_t& log) const;
    void append(bytes_t& log, frame_t frame) const;
    bool due(std::int64_t period) const;

    scenario_t scenario_;
    time_base_t base_;
    std::int64_t interval_;   // ms
    std::int64_t epochs_, done_ = 0;
    double t_ = 0.0;       // epoch
    unsigned stops_ = 0;   // stop-and-go messages sent
    week_time_t now_{};
    course_t course_;
    site_t site_;   // of the antenna
    horizon_t horizon_;
    multipath_t multipath_;
    slips_t slips_;
    std::vector<std::unique_ptr<vehicle_t>> vehicles_;
    std::vector<track_t> tracks_;   // one per vehicle
    std::vector<range_t> ranges_;   // of the epoch
    random_t random_;
};

/// The whole log of a scenario, for short ones.
bytes_t make_log(const scenario_t& scenario);

}   // namespace sky

#endif
