#include "position/single_point.h"

#include <Eigen/Dense>
#include <algorithm>
#include <cmath>

#include "gnss/foundation/satellites.h"
#include "gnss/foundation/time_scales.h"
#include "sky/atmosphere.h"

namespace position {

namespace {

constexpr int kMostUnknowns = 3 + rinex::kConstellationCount;
using matrix_t = Eigen::Matrix<double, Eigen::Dynamic, Eigen::Dynamic, 0, kMostUnknowns, kMostUnknowns>;
using vector_t = Eigen::Matrix<double, Eigen::Dynamic, 1, 0, kMostUnknowns, 1>;

constexpr double kFrequencyL1 = 1575.42e6;   // Hz
constexpr int kMostRounds = 12;
constexpr double kClosedIn = 10.0;   // m: what the next step would find is the square of it, by twice the range
constexpr double kDeviation[] = {2.0, 1.0};                   // at the zenith (m): of one carrier, of two
constexpr double kMostDeviations = 4.0;                       // of a residual
constexpr double kContradiction = 30.0;                       // deviation of unit weight
constexpr double kLeastRadius = 6.3e6, kMostRadius = 6.6e6;   // of a place on the Earth or above it (m)

// By system, what its broadcast orbits and clocks are worse than those of GPS; and GLONASS has a carrier a satellite,
// of which each comes through the receiver in its own time.
constexpr double kFactors[] = {1.0, 3.0, 0.7, 1.5, 3.0, 4.0};

// In axes that turned by so small an angle (rad), to a micrometre for a satellite.
vec3_t turned(const vec3_t& a, double angle)
{
    const double cosine = 1.0 - 0.5 * angle * angle;
    return {cosine * a.x + angle * a.y, cosine * a.y - angle * a.x, a.z};
}

// What a satellite adds to the equations.
struct row_t {
    vec3_t to;   // the antenna, from the satellite
    double weight;
    int clock;   // column
};

class adjustment_t {
public:
    adjustment_t(std::vector<ranging_t>& rangings, const surroundings_t& around)
        : rangings_(rangings), around_(around), position_(around.near.value_or(vec3_t{}))
    {
        rows_.resize(rangings.size());
        for (ranging_t& r : rangings) r.used = true;
    }

    std::optional<solution_t> solve()
    {
        solution_t solution;
        if (!close_in()) return {};
        while (reject_one()) {
            ++solution.rejected;
            if (!close_in()) return {};
        }
        const double radius = norm(position_);
        if (unit_deviation() > kContradiction || radius < kLeastRadius || radius > kMostRadius) return {};
        describe(solution);
        return solution;
    }

private:
    // Iterates until the position stays.
    bool close_in()
    {
        for (int round = 0; round < kMostRounds; ++round) {
            settle_place();
            number_clocks();
            if (used_ < unknowns()) return false;
            for (std::size_t i = 0; i < rangings_.size(); ++i) {
                if (rangings_[i].used) look(rangings_[i], rows_[i]);
            }
            const bool unplaced = !placed_;
            const double moved = improve();
            if (!std::isfinite(moved)) return false;
            if (!unplaced && moved < kClosedIn) return true;
        }
        return false;
    }

    int unknowns() const { return 3 + clocks_; }

    // The first rounds come from the middle of the Earth, where no direction is up.
    void settle_place()
    {
        placed_ = norm(position_) > kLeastRadius - 2e5;
        if (!placed_) return;
        place_ = geodetic_of(position_);
        axes_.emplace(place_);
        zenith_ = sky::troposphere_delay(place_.lat, place_.height, 1.0);
        if (around_.mask > 0.0) {
            const double least = std::sin(around_.mask);
            for (ranging_t& r : rangings_) {
                const vec3_t line = r.sent_from.position - position_;
                if (r.used && dot(line, axes_->up) < least * norm(line)) r.used = false;
            }
        }
    }

    // A clock of its own makes a single satellite of a system fit everywhere.
    void number_clocks()
    {
        std::array<int, rinex::kConstellationCount> satellites{};
        for (const ranging_t& r : rangings_) satellites[constellation(r)] += r.used;
        for (ranging_t& r : rangings_) r.used &= satellites[constellation(r)] > 1;
        columns_.fill(-1);
        clocks_ = used_ = 0;
        for (const ranging_t& r : rangings_) {
            if (!r.used) continue;
            ++used_;
            int& column = columns_[constellation(r)];
            if (column < 0) column = 3 + clocks_++;
        }
    }

    // Residual and row of a satellite.
    void look(ranging_t& r, row_t& row)
    {
        const double travel = norm(r.sent_from.position - position_) / kLightSpeed;
        const vec3_t line = turned(r.sent_from.position, sky::kEarthRate * travel) - position_;
        const double range = norm(line);
        row.to = (-1.0 / range) * line;
        row.clock = columns_[constellation(r)];
        row.weight = 1.0;
        double delay = 0.0;
        if (placed_) {
            const double sine = std::max(dot(line, axes_->up) / range, 0.02);
            const double deviation = kFactors[constellation(r)] * kDeviation[r.frequency == 0.0] / sine;
            row.weight = 1.0 / (deviation * deviation);
            delay = zenith_ * 1.001 / std::sqrt(0.002001 + sine * sine);
            if (r.frequency != 0.0) delay += ionosphere(r, line, sine);
        }
        r.residual = r.pseudorange - (range - kLightSpeed * r.sent_from.clock + delay + clock_[constellation(r)]);
    }

    double ionosphere(const ranging_t& r, const vec3_t& line, double sine) const
    {
        if (!around_.ionosphere) return 0.0;
        const vec3_t local = axes_->local(line);
        const double flat = std::hypot(local.x, local.y);
        const sky::direction_t to{sine, std::asin(sine), local.x / flat, local.y / flat};
        const double at_l1 =
            sky::ionosphere_delay(*around_.ionosphere, place_.lat, place_.lon, to, std::fmod(around_.time, kWeek));
        const double ratio = kFrequencyL1 / r.frequency;
        return at_l1 * ratio * ratio;
    }

    // The normal equations; clocks do not meet each other there.
    void gather(matrix_t& normal, vector_t* right, bool weighted) const
    {
        const int n = unknowns();
        normal.setZero(n, n);
        if (right != nullptr) right->setZero(n);
        for (std::size_t i = 0; i < rangings_.size(); ++i) {
            if (!rangings_[i].used) continue;
            const row_t& row = rows_[i];
            const double w = weighted ? row.weight : 1.0;
            const double e[] = {row.to.x, row.to.y, row.to.z};
            for (int a = 0; a < 3; ++a) {
                for (int b = 0; b <= a; ++b) normal(a, b) += w * e[a] * e[b];
                normal(row.clock, a) += w * e[a];
                if (right != nullptr) (*right)(a) += w * e[a] * rangings_[i].residual;
            }
            normal(row.clock, row.clock) += w;
            if (right != nullptr) (*right)(row.clock) += w * rangings_[i].residual;
        }
        normal.template triangularView<Eigen::StrictlyUpper>() = normal.transpose();
    }

    // One step; what it moved the position by (m).
    double improve()
    {
        matrix_t normal;
        vector_t right;
        gather(normal, &right, true);
        const vector_t step = normal.ldlt().solve(right);
        position_ = position_ + vec3_t{step(0), step(1), step(2)};
        for (std::size_t c = 0; c < columns_.size(); ++c) {
            if (columns_[c] >= 0) clock_[c] += step(columns_[c]);
        }
        for (std::size_t i = 0; i < rangings_.size(); ++i) {   // to first order, for what is judged by them
            const row_t& row = rows_[i];
            if (rangings_[i].used)
                rangings_[i].residual -= row.to.x * step(0) + row.to.y * step(1) + row.to.z * step(2) + step(row.clock);
        }
        return std::sqrt(step(0) * step(0) + step(1) * step(1) + step(2) * step(2));
    }

    double squares() const
    {
        double sum = 0.0;
        for (std::size_t i = 0; i < rangings_.size(); ++i) {
            if (rangings_[i].used) sum += rows_[i].weight * rangings_[i].residual * rangings_[i].residual;
        }
        return sum;
    }

    double unit_deviation() const { return std::sqrt(squares() / std::max(1, used_ - unknowns())); }

    // The one that fits least, when it does not fit the others; a third of them at most.
    bool reject_one()
    {
        if (used_ <= unknowns() + 1 || 3 * rejected_ >= used_) return false;
        std::size_t worst = rangings_.size();
        double most = 0.0;
        for (std::size_t i = 0; i < rangings_.size(); ++i) {
            const double square = rows_[i].weight * rangings_[i].residual * rangings_[i].residual;
            if (rangings_[i].used && square > most) most = square, worst = i;
        }
        const double others = std::sqrt((squares() - most) / std::max(1, used_ - 1 - unknowns()));
        if (worst == rangings_.size() || std::sqrt(most) < kMostDeviations * std::max(others, 1.0)) return false;
        rangings_[worst].used = false;
        ++rejected_;
        return true;
    }

    void describe(solution_t& s)
    {
        s.position = position_;
        s.used = used_;
        double sum = 0.0;
        for (std::size_t i = 0; i < rangings_.size(); ++i) {
            ranging_t& r = rangings_[i];
            const vec3_t line = r.sent_from.position - position_;
            r.elevation = std::asin(dot(line, axes_->up) / norm(line));
            if (!r.used) continue;
            sum += r.residual * r.residual;
            s.clocks[constellation(r)] = clock_[constellation(r)];
        }
        s.residual_rms = std::sqrt(sum / used_);
        matrix_t normal;
        gather(normal, nullptr, false);
        const matrix_t inverse = normal.ldlt().solve(matrix_t::Identity(unknowns(), unknowns()));
        const Eigen::Matrix3d q = inverse.topLeftCorner<3, 3>();
        const Eigen::Vector3d up(axes_->up.x, axes_->up.y, axes_->up.z);
        const double vertical = up.dot(q * up), all = q.trace();
        s.gdop = std::sqrt(inverse.trace());
        s.pdop = std::sqrt(all);
        s.vdop = std::sqrt(vertical);
        s.hdop = std::sqrt(std::max(0.0, all - vertical));
    }

    static std::size_t constellation(const ranging_t& r)
    {
        return static_cast<std::size_t>(rinex::satellite_at(r.place).constellation);
    }

    std::vector<ranging_t>& rangings_;
    const surroundings_t& around_;
    vec3_t position_;
    std::vector<row_t> rows_;
    std::array<int, rinex::kConstellationCount> columns_{};
    std::array<double, rinex::kConstellationCount> clock_{};
    int clocks_ = 0, used_ = 0, rejected_ = 0;
    bool placed_ = false;
    geodetic_t place_{};
    std::optional<axes_t> axes_;
    double zenith_ = 0.0;   // delay of the troposphere (m)
};

}   // namespace

std::optional<solution_t> single_point(std::vector<ranging_t>& rangings, const surroundings_t& around)
{
    return adjustment_t(rangings, around).solve();
}

}   // namespace position
