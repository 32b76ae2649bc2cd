#include "report/history.h"

#include <algorithm>

namespace kvx::report {

namespace {

constexpr double kMostStrength = 99.0;   // dB-Hz
constexpr double kFewestEpochs = 10.0;   // of a piece of an arc, for a scatter of its own

bool longer(const gap_t& a, const gap_t& b)
{
    return a.length() > b.length();
}

}   // namespace

moment_t& moment_t::operator+=(const moment_t& o)
{
    if (epochs == 0) offset = o.offset;
    epochs += o.epochs, slips += o.slips;
    tracked += o.tracked, used += o.used, pdop += o.pdop, hdop += o.hdop, vdop += o.vdop;
    computed += o.computed, told += o.told;
    return *this;
}

history_t::history_t()
    : bins_([this](bool upper) { fold(upper); }),
      moments_(time_bins_t::kBins),
      presence_(rinex::kSatellites),
      sky_(rings_.count()),
      last_(rinex::kSatellites),
      now_(rinex::kSatellites)
{}

void history_t::listen(quality::quality_t& quality)
{
    signals_.emplace(quality.carriers());
    arcs_.emplace(quality.carriers());
    quality.on_epoch([this](const quality::judged_epoch_t& epoch) { add(epoch); });
    quality.on_fix([this](std::int64_t time, const position::vec3_t& ecef) {
        const std::size_t bin = bins_.at(time);
        used_bins_ = std::max(used_bins_, bin + 1);
        add_place(moments_[bin].told, ecef);
    });
    quality.multipath_values().on_value = [this](const auto& m, const auto& to, double x) { add_value(m, to, x); };
    quality.multipath_values().on_arc = [this](int place, int signal, auto mean) { end_arc(place, signal, mean); };
}

const std::vector<extent_t>& history_t::signal(int place, int signal)
{
    static const std::vector<extent_t> kNone;
    return signals_ ? signals_->at(place, signal) : kNone;
}

std::size_t history_t::begin() const
{
    std::size_t bin = 0;
    while (bin < used_bins_ && moments_[bin].epochs == 0 && !moments_[bin].told.any()) ++bin;
    return bin;
}

std::vector<gap_t> history_t::gaps() const
{
    std::vector<gap_t> found;
    for (const gap_t& gap : gaps_) {
        if (static_cast<double>(gap.length()) > 1500.0 * steps_.usual()) found.push_back(gap);
    }
    std::sort(found.begin(), found.end(), [](const gap_t& a, const gap_t& b) { return a.from < b.from; });
    return found;
}

void history_t::fold(bool upper)
{
    moments_ = folded(moments_, upper);
    for (auto& bins : presence_) bins = folded(bins, upper);
    if (signals_) signals_->each([upper](int, int, auto& bins) { bins = folded(bins, upper); });
    used_bins_ = (upper ? time_bins_t::kBins / 2 : 0) + (used_bins_ + 1) / 2;
}

presence_t& history_t::presence_at(std::size_t place, std::size_t bin)
{
    if (presence_[place].empty()) presence_[place].resize(time_bins_t::kBins);
    return presence_[place][bin];
}

void history_t::add(const quality::judged_epoch_t& epoch)
{
    const std::size_t bin = bins_.at(epoch.measured.time);
    used_bins_ = std::max(used_bins_, bin + 1);
    follow_time(epoch.measured.time);
    moment_t& moment = moments_[bin];
    if (moment.epochs++ == 0) moment.offset = epoch.measured.offset;
    moment.slips += static_cast<std::uint32_t>(epoch.slips.size());
    add_solution(epoch, moment);

    std::fill(now_.begin(), now_.end(), false);
    const std::span<const quality::measurement_t> all(epoch.measured.measurements);
    int tracked = 0;
    for (std::size_t i = 0; i < all.size(); ++tracked) {
        std::size_t end = i + 1;
        while (end < all.size() && all[end].place == all[i].place) ++end;
        add_satellite(bin, all.subspan(i, end - i), epoch.directions[all[i].place]);
        i = end;
    }
    moment.tracked.add(tracked);
    for (const quality::slip_t& slip : epoch.slips) ++presence_at(slip.place, bin).slips;
    add_missed(bin, epoch.directions);
}

void history_t::add_solution(const quality::judged_epoch_t& epoch, moment_t& moment)
{
    if (!epoch.solution) return;
    const position::solution_t& s = *epoch.solution;
    moment.used.add(s.used);
    moment.pdop.add(s.pdop), moment.hdop.add(s.hdop), moment.vdop.add(s.vdop);
    add_place(moment.computed, s.position);
}

void history_t::add_satellite(std::size_t bin, std::span<const quality::measurement_t> of_satellite,
                              const quality::direction_t& to)
{
    const std::size_t place = of_satellite.front().place;
    const auto constellation = static_cast<std::size_t>(rinex::satellite_at(static_cast<int>(place)).constellation);
    now_[place] = true;
    last_[place] = to;
    double strongest = 0.0;
    for (const quality::measurement_t& m : of_satellite) {
        if (m.strength() <= 0.0) continue;
        strongest = std::max(strongest, m.strength());
        if (to.known) strengths_[constellation].add(static_cast<double>(to.elevation), m.strength() / kCloudStrength);
        auto& bins = signals_->at(m.place, m.signal);
        if (bins.empty()) bins.resize(time_bins_t::kBins);
        bins[bin].add(std::round(std::min(m.strength(), kMostStrength) * kTenths));
    }
    presence_t& presence = presence_at(place, bin);
    ++presence.observed;
    const int cell = rings_.cell_of(to);
    if (cell >= 0) ++sky_[static_cast<std::size_t>(cell)].observed[constellation];
    if (strongest <= 0.0) return;
    presence.strength += static_cast<float>(strongest), ++presence.strengths;
    if (cell < 0) return;
    sky_cell_t& there = sky_[static_cast<std::size_t>(cell)];
    there.strength += strongest, ++there.strengths;
}

void history_t::add_missed(std::size_t bin, const std::vector<quality::direction_t>& directions)
{
    for (std::size_t place = 0; place < directions.size(); ++place) {
        const int cell = now_[place] ? -1 : rings_.cell_of(directions[place]);
        if (cell < 0) continue;
        const int constellation = rinex::satellite_at(static_cast<int>(place)).constellation;
        ++sky_[static_cast<std::size_t>(cell)].missed[static_cast<std::size_t>(constellation)];
        if (static_cast<double>(directions[place].elevation) >= quality::kLowElevation)
            ++presence_at(place, bin).missed;
    }
}

// Satellites move on: what is added goes to the last piece, or to a new one.
void history_t::add_value(const quality::measurement_t& m, const quality::direction_t& to, double metres)
{
    const int cell = rings_.cell_of(to);
    auto& pieces = arcs_->at(m.place, m.signal);
    if (pieces.empty() || pieces.back().cell != cell) pieces.push_back({cell});
    piece_t& piece = pieces.back();
    piece.n += 1.0, piece.sum += metres, piece.squares += metres * metres;
    piece.elevation += static_cast<double>(to.elevation);
}

void history_t::end_arc(int place, int signal, std::optional<double> mean)
{
    auto& pieces = arcs_->at(place, signal);
    double n = 0.0;
    for (const piece_t& p : pieces) n += p.n;
    for (const piece_t& p : pieces) {
        if (!mean || p.cell < 0) continue;
        const double squares = p.squares - 2.0 * *mean * p.sum + p.n * *mean * *mean;
        const quality::scatter_t scatter{squares, p.n * (1.0 - 1.0 / n), static_cast<std::uint64_t>(p.n)};
        sky_[static_cast<std::size_t>(p.cell)].multipath += scatter;
        const auto constellation = static_cast<std::size_t>(rinex::satellite_at(place).constellation);
        if (p.n >= kFewestEpochs) multipath_[constellation].add(p.elevation / p.n, scatter.rms() / kCloudMultipath);
    }
    pieces.clear();
}

void history_t::follow_time(std::int64_t time)
{
    if (first_ == 0) first_ = time;
    if (time_ != 0 && time > time_) {
        steps_.add(static_cast<double>(time - time_) / 1000.0);
        if (gaps_.size() < kMostGaps || time - time_ > gaps_.front().length()) {
            gaps_.push_back({time_, time});
            std::push_heap(gaps_.begin(), gaps_.end(), longer);
            if (gaps_.size() > kMostGaps) {
                std::pop_heap(gaps_.begin(), gaps_.end(), longer);
                gaps_.pop_back();
            }
        }
    }
    first_ = std::min(first_, time);
    latest_ = std::max(latest_, time);
    time_ = time;
}

void history_t::add_place(place_t& place, const position::vec3_t& ecef)
{
    if (!axes_) {
        const position::geodetic_t at = position::geodetic_of(ecef);
        origin_ = ecef, height_ = at.height;
        axes_.emplace(at);
    }
    const position::vec3_t local = axes_->local(ecef - origin_);
    if (!place.any()) place.east = static_cast<float>(local.x), place.north = static_cast<float>(local.y);
    place.height.add(position::geodetic_of(ecef).height - height_);
}

}   // namespace kvx::report
