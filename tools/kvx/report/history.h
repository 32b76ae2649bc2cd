/// @file history.h  What a log was like over time and over the sky, in memory that does not grow with it.
#ifndef KVX_REPORT_HISTORY_H
#define KVX_REPORT_HISTORY_H

#include <array>
#include <cmath>
#include <limits>
#include <optional>
#include <vector>

#include "log/steps.h"
#include "quality/quality.h"
#include "report/sky_grid.h"
#include "report/time_bins.h"

namespace kvx::report {

/// Least and greatest.
struct extent_t {
    float least = std::numeric_limits<float>::infinity(), greatest = -least;

    bool any() const { return least <= greatest; }
    void add(double x)
    {
        least = std::min(least, static_cast<float>(x));
        greatest = std::max(greatest, static_cast<float>(x));
    }
    extent_t& operator+=(const extent_t& o)
    {
        least = std::min(least, o.least), greatest = std::max(greatest, o.greatest);
        return *this;
    }
};

/// East and north of the history's origin, and the height above it (m).
struct place_t {
    float east = 0.0F, north = 0.0F;   ///< of the first one
    extent_t height;

    bool any() const { return height.any(); }
    place_t& operator+=(const place_t& o)
    {
        if (!any()) east = o.east, north = o.north;
        height += o.height;
        return *this;
    }
};

/// All satellites in a bin of time.
struct moment_t {
    std::uint32_t epochs = 0, slips = 0;
    std::uint64_t offset = 0;   ///< of the first epoch in the log (bytes)
    extent_t tracked, used, pdop, hdop, vdop;
    place_t computed, told;

    moment_t& operator+=(const moment_t& o);
};

/// A satellite in a bin of time.
struct presence_t {
    std::uint32_t observed = 0, missed = 0;   ///< epochs; missed: it stood above ten degrees
    std::uint32_t slips = 0;
    std::uint32_t strengths = 0;
    float strength = 0.0F;   ///< sum of its strongest signals (dB-Hz)

    presence_t& operator+=(const presence_t& o)
    {
        observed += o.observed, missed += o.missed, slips += o.slips;
        strengths += o.strengths, strength += o.strength;
        return *this;
    }
};

/// A place of the sky.
struct sky_cell_t {
    std::array<std::uint32_t, rinex::kConstellationCount> observed{}, missed{};   ///< epochs of satellites
    double strength = 0.0;                                                        ///< sum of the strongest signals
    std::uint64_t strengths = 0;
    quality::scatter_t multipath;
};

/// How often values stood over elevations, in two degrees.
struct cloud_t {
    static constexpr std::size_t kColumns = 45, kRows = 70;
    std::array<std::array<std::uint32_t, kRows>, kColumns> counts{};

    void add(double elevation, double row)
    {
        const auto within = [](double x, std::size_t n) {
            return static_cast<std::size_t>(std::clamp(x, 0.0, static_cast<double>(n) - 1.0));
        };
        ++counts[within(elevation * position::kRadian / 2.0, kColumns)][within(row, kRows)];
    }
};

struct gap_t {
    std::int64_t from = 0, to = 0;   ///< ms
    std::int64_t length() const { return to - from; }
};

class history_t {
public:
    static constexpr std::size_t kMostGaps = 200;
    static constexpr double kCloudStrength = 1.0;    ///< dB a row
    static constexpr double kCloudMultipath = 0.1;   ///< m a row
    static constexpr double kTenths = 10.0;          ///< of a dB, in signals()

    history_t();
    history_t(const history_t&) = delete;
    history_t& operator=(const history_t&) = delete;

    /// Begins to listen; must outlive the measurements.
    void listen(quality::quality_t& quality);

    const time_bins_t& bins() const { return bins_; }
    std::size_t begin() const;                       ///< the first bin that holds something
    std::size_t end() const { return used_bins_; }   ///< the one behind the last of them
    const std::vector<moment_t>& moments() const { return moments_; }
    const std::vector<presence_t>& presence(int place) const   ///< empty: never above ten degrees nor observed
    {
        return presence_[static_cast<std::size_t>(place)];
    }
    /// C/N0 of a satellite's signal (tenths of a dB-Hz); empty: it has none.
    const std::vector<extent_t>& signal(int place, int signal);

    const sky_rings_t& rings() const { return rings_; }
    const std::vector<sky_cell_t>& sky() const { return sky_; }
    const cloud_t& strengths(int constellation) const { return strengths_[static_cast<std::size_t>(constellation)]; }
    const cloud_t& multipath(int constellation) const { return multipath_[static_cast<std::size_t>(constellation)]; }

    const quality::direction_t& last_direction(int place) const { return last_[static_cast<std::size_t>(place)]; }
    const step_counter_t& steps() const { return steps_; }
    std::vector<gap_t> gaps() const;   ///< the longest ones, in order
    std::int64_t first() const { return first_; }
    std::int64_t last() const { return latest_; }

    /// Of the origin, which is the first position, above the ellipsoid (m).
    double height() const { return height_; }

private:
    // Of an arc, in a cell of the sky.
    struct piece_t {
        int cell = -1;
        double n = 0.0, sum = 0.0, squares = 0.0, elevation = 0.0;
    };

    void fold(bool upper);
    void add(const quality::judged_epoch_t& epoch);
    void add_solution(const quality::judged_epoch_t& epoch, moment_t& moment);
    void add_satellite(std::size_t bin, std::span<const quality::measurement_t> of_satellite,
                       const quality::direction_t& to);
    void add_missed(std::size_t bin, const std::vector<quality::direction_t>& directions);
    void add_value(const quality::measurement_t& m, const quality::direction_t& to, double metres);
    void end_arc(int place, int signal, std::optional<double> mean);
    void follow_time(std::int64_t time);
    void add_place(place_t& place, const position::vec3_t& ecef);
    presence_t& presence_at(std::size_t place, std::size_t bin);

    time_bins_t bins_;
    std::size_t used_bins_ = 0;
    std::vector<moment_t> moments_;
    std::vector<std::vector<presence_t>> presence_;
    std::optional<quality::per_signal_t<std::vector<extent_t>>> signals_;
    sky_rings_t rings_;
    std::vector<sky_cell_t> sky_;
    std::array<cloud_t, rinex::kConstellationCount> strengths_{}, multipath_{};
    std::optional<quality::per_signal_t<std::vector<piece_t>>> arcs_;
    std::vector<quality::direction_t> last_;
    std::vector<bool> now_;   // satellites of the epoch in hand
    step_counter_t steps_;
    std::vector<gap_t> gaps_;   // a heap, the shortest on top
    std::int64_t first_ = 0, latest_ = 0;
    std::int64_t time_ = 0;   // of the epoch before (ms)
    position::vec3_t origin_{};
    double height_ = 0.0;
    std::optional<position::axes_t> axes_;
};

}   // namespace kvx::report

#endif
