#include "verify/log_epochs.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdlib>
#include <utility>

#include "gnss/foundation/wire.h"
#include "gnss/log/range.h"
#include "gnss/log/signals.h"

namespace kvx {

namespace {

constexpr std::int64_t kSameEpoch = 1;   // ms
constexpr double kLightSpeed = 299792458.0;
constexpr double kRollover = 8388608.0;   // cycles, of the compressed message
constexpr double kMostCycles = 1e15;      // phases beyond it have no thousandths

// In units of the third decimal, the exact value rounded to nearest, ties to even; 0 beyond the largest size, below
// 2^50.
std::int64_t thousandths_of(double value, double largest)
{
    constexpr int kMantissaBits = 52, kExponentBias = 1075;
    if (!(std::fabs(value) <= largest)) return 0;
    const auto bits = std::bit_cast<std::uint64_t>(value);
    const int shift =
        kExponentBias - static_cast<int>(bits >> kMantissaBits & 0x7FF);   // the value is mantissa >> shift
    if (shift > 63) return 0;                                              // less than half a unit
    constexpr std::uint64_t kOne = 1;
    const std::uint64_t product = 1000 * ((bits & ((kOne << kMantissaBits) - 1)) | kOne << kMantissaBits);
    const std::uint64_t rest = product & ((kOne << shift) - 1), half = kOne << (shift - 1);
    std::uint64_t whole = product >> shift;
    if (rest > half || (rest == half && (whole & 1) != 0)) ++whole;
    return value < 0 ? -static_cast<std::int64_t>(whole) : static_cast<std::int64_t>(whole);
}

// What F14.3 has room for; others are none.
std::int64_t printed(double value)
{
    const std::int64_t thousandths = thousandths_of(value, 1e10);
    return kvx::has_room(thousandths) ? thousandths : 0;
}

// Cycles, growing with the range. The compressed message lacks multiples of the rollover, which the range tells.
double phase_of(const korvex::range_t& r, const std::string& code, int constellation, bool compressed)
{
    if (!compressed) return -r.adr;
    const double carrier = rinex::carrier_frequency(rinex::kConstellations[constellation].letter, code[0], r.channel);
    return std::round((r.pseudorange / (kLightSpeed / carrier) + r.adr) / kRollover) * kRollover - r.adr;
}

}   // namespace

epoch_assembly_t::epoch_assembly_t(const rinex::signals_t& names, verification_t& result)
    : names_(names), result_(result)
{
    for (auto& slots : slots_) slots.fill(-1);
}

bool epoch_assembly_t::add(const message_t& message, const log_place_t& place, log_epoch_t& done)
{
    const bool compressed = message.id == MSG_RANGE_COMPRESSED;
    const auto size = static_cast<std::uint64_t>(compressed ? korvex::kRangeCompressedSize : korvex::kRangeSize);
    if (message.size < korvex::kCountSize) return false;
    const std::uint64_t n = wire::u32(message.body);
    if (korvex::kCountSize + n * size > static_cast<std::uint64_t>(message.size)) return false;

    // Two full messages of one epoch have one time.
    const std::int64_t apart = std::llabs(message.sent - epoch_.time);
    const bool belongs = pending_ && apart <= (compressed || !has_full_ ? kSameEpoch : 0);
    const bool finished = !belongs && finish(done);
    if (!pending_) epoch_.place = place;
    if (!pending_ || !compressed) epoch_.time = message.sent;
    pending_ = true;
    has_full_ = has_full_ || !compressed;
    for (std::uint64_t i = 0; i < n; ++i) add_record(message.body + korvex::kCountSize + i * size, compressed);
    return finished;
}

bool epoch_assembly_t::finish(log_epoch_t& done)
{
    if (!pending_) return false;
    for (const log_record_t& r : epoch_.records)
        slots_[static_cast<std::size_t>(r.place)][static_cast<std::size_t>(r.signal)] = -1;
    std::sort(epoch_.records.begin(), epoch_.records.end(), [](const log_record_t& a, const log_record_t& b) {
        return std::pair(a.place, a.signal) < std::pair(b.place, b.signal);
    });
    std::swap(done, epoch_);
    epoch_.records.clear();
    pending_ = has_full_ = false;
    return true;
}

void epoch_assembly_t::add_record(const std::uint8_t* p, bool compressed)
{
    const korvex::range_t r = compressed ? korvex::read_compressed_range(p) : korvex::read_range(p);
    const korvex::trackstat_t track = korvex::read_trackstat(r.status);
    const int key = rinex::tracking_key(r.status);
    const auto [constellation, signal] = names_[key];
    if (!track.code_lock) return result_.count(key, fate_t::no_code_lock);
    if (signal < 0) return result_.count(key, fate_t::unknown_type);
    const rinex::satellite_t satellite = rinex::satellite_of_prn(constellation, r.prn);
    if (!satellite.valid()) return result_.count(key, fate_t::no_satellite);

    log_record_t record;
    record.place = static_cast<std::int16_t>(rinex::place_of(satellite));
    record.constellation = constellation;
    record.signal = signal;
    record.tracking_key = static_cast<std::uint8_t>(key);
    record.compressed = compressed;
    record.parity_known = track.parity_known;
    record.thousandths[rinex::kPseudorange] = printed(r.pseudorange);
    record.thousandths[rinex::kDoppler] = printed(r.doppler);
    record.thousandths[rinex::kStrength] = printed(r.cn0);
    if (track.phase_lock) {
        const std::string& code = names_.codes(constellation)[static_cast<std::size_t>(signal)];
        record.thousandths[rinex::kPhase] = thousandths_of(phase_of(r, code, constellation, compressed), kMostCycles);
    }
    keep(record);
}

// Each signal once.
void epoch_assembly_t::keep(const log_record_t& record)
{
    std::int16_t& slot = slots_[static_cast<std::size_t>(record.place)][static_cast<std::size_t>(record.signal)];
    if (slot < 0) {
        slot = static_cast<std::int16_t>(epoch_.records.size());
        epoch_.records.push_back(record);
        return;
    }
    log_record_t& there = epoch_.records[static_cast<std::size_t>(slot)];
    const bool replaces = there.compressed && !record.compressed;
    const bool one_message = there.compressed == record.compressed;
    result_.count(replaces ? there.tracking_key : record.tracking_key,
                  one_message ? fate_t::repeated : fate_t::superseded);
    if (replaces) there = record;
}

epoch_runs_t::epoch_runs_t(log_messages_t& messages, const rinex::signals_t& names, verification_t& result,
                           other_t other)
    : messages_(messages),
      result_(result),
      other_(std::move(other)),
      assembly_(names, result),
      order_([] { return log_epoch_t{}; }, [this](log_epoch_t& epoch, order_t order) { on_judged(epoch, order); })
{}

bool epoch_runs_t::assemble(log_epoch_t& epoch)
{
    for (message_t message{}; messages_.next(message);) {
        if (!message.is_range()) {
            other_(message, messages_.place());
        } else if (assembly_.add(message, messages_.place(), epoch)) {
            return true;
        }
    }
    return assembly_.finish(epoch);
}

void epoch_runs_t::on_judged(log_epoch_t& epoch, order_t order)
{
    if (order == order_t::out) {
        ++result_.epochs_out_of_order;
        for (const log_record_t& r : epoch.records) result_.count(r.tracking_key, fate_t::out_of_order);
        return;
    }
    epoch.begins_run = order == order_t::begins_file;
    judged_.push_back(std::move(epoch));
}

bool epoch_runs_t::next(log_epoch_t& epoch)
{
    while (judged_.empty() && !over_) {
        if (assemble(spare_)) {
            order_.add(spare_.time, spare_);
        } else {
            over_ = true;
            order_.flush();
        }
    }
    if (judged_.empty()) return false;
    std::swap(epoch, judged_.front());
    judged_.pop_front();
    return true;
}

log_epochs_t::log_epochs_t(source_t source, const selection_options_t& options, const wanted_t& wanted)
    : source_(std::move(source)), wanted_(wanted), grid_(options)
{}

bool log_epochs_t::read_ahead()
{
    if (over_ || !source_(spare_)) {
        over_ = true;
        return false;
    }
    ahead_.push_back(std::move(spare_));
    return true;
}

bool log_epochs_t::next(log_epoch_t& epoch)
{
    while (ahead_.size() < 2 && read_ahead()) {
    }
    if (ahead_.empty()) return false;
    std::swap(epoch, ahead_.front());
    ahead_.pop_front();
    if (epoch.begins_run) before_.reset();
    if (!wanted_.time(epoch.time)) {
        epoch.fate = fate_t::outside;
        return true;
    }
    if (!before_) grid_.add(epoch.time, true);
    const bool more = !ahead_.empty() && !ahead_.front().begins_run && wanted_.time(ahead_.front().time);
    if (more) grid_.add(ahead_.front().time, false);
    const bool on_grid = grid_.judge(before_.value_or(epoch.time), epoch.time, more ? ahead_.front().time : epoch.time);
    before_ = epoch.time;
    epoch.fate = on_grid ? fate_t::found : fate_t::off_grid;
    return true;
}

}   // namespace kvx
