#include "rinex/observation_text.h"

#include <algorithm>
#include <cmath>

#include "gnss/rinex/observation_number.h"
#include "rinex/dates.h"
#include "rinex/fields.h"

namespace rinex {

namespace {

constexpr std::size_t kLineOf2 = 5 * kFieldWidth;   // values of a satellite in a line of RINEX 2
constexpr int kSatellitesOf2 = 12;                  // in an epoch line of RINEX 2
constexpr std::size_t kMostColumns = 64;            // of a list
static_assert(kSatellites * (kMostColumns * (kFieldWidth + 1) + 8) + 4096 <= observation_text_t::kLongestEpoch);
constexpr std::int8_t kNoSignal = -1;

}   // namespace

observation_text_t::observation_text_t(int version, const signals_t& signals, ledger_t& ledger)
    : rinex2_(version < 300), ledger_(ledger), columns_(version, signals), sources_(rinex2_ ? kSatellites : 0)
{}

// Follows the phases and takes out what cannot be printed.
void observation_text_t::look_at(epoch_t& epoch)
{
    epoch.each([&](int place, int signal) {
        const observation_t& o = epoch.at(place, signal);
        locks_.follow(place, signal, o);
        const bool named = columns_.of(satellite_at(place).constellation, signal)[kPseudorange] >= 0;
        if (o.beyond_columns != 0) ledger_.add_blanks(o.tracking_key, o.beyond_columns);
        if (named && has_value_to_print(o)) return;
        ledger_.add(o.tracking_key, named ? fate_t::no_value : fate_t::no_name);
        epoch.drop(place, signal);
    });
}

// In RINEX 2 the phase of a column may come from another signal than before.
bool observation_text_t::is_other_source(int place, int column, int signal)
{
    auto& sources = sources_[static_cast<std::size_t>(place)];
    const auto at = static_cast<std::size_t>(column);
    if (sources.size() <= at) sources.resize(at + 1, kNoSignal);
    const bool other = sources[at] != kNoSignal && sources[at] != signal;
    sources[at] = static_cast<std::int8_t>(signal);
    return other;
}

// In RINEX 2 signals of a band share columns: those that are left for one that comes later.
int observation_text_t::free_kinds(const observation_t& o, const columns_t::kinds_t& columns) const
{
    const auto free = [&](kind_t kind) {
        return columns[kind] >= 0 && row_[columns[kind] * kFieldWidth + kValueWidth - 1] == ' ';
    };
    if (!free(kPseudorange)) return 0;
    if (free(kPhase) && free(kDoppler) && free(kStrength)) return kKindCount;
    if (o.value[kPhase] != 0.0) ledger_.add_lost_phase(o.tracking_key);
    return 1;
}

// Straight into the columns of the satellite in hand.
template <int Kind>
void observation_text_t::put_value(const observation_t& o, const columns_t::kinds_t& columns)
{
    const double value = o.value[Kind];
    const std::uint64_t n = thousandths(std::fabs(value));
    const int column = columns[Kind];
    char* const to = row_ + column * kFieldWidth;
    if (n - 1 < kTenDigits - 1) {
        put_thousandths(to, n, value < 0.0);
    } else if (fits_columns(value)) {
        text_t(to, kValueWidth).observation(value);
    } else {
        return;
    }
    char* end = to + kValueWidth;
    if (Kind == kPhase && o.digits != 0) *end++ = static_cast<char>('0' + o.digits);
    row_end_ = std::max(row_end_, end);
    used_ |= std::uint64_t{1} << column;
}

// One after the other and no loop: the processor learns for each how many digits it has.
void observation_text_t::put_values(const observation_t& o, int kinds, const columns_t::kinds_t& columns)
{
    if (kinds > 0) put_value<kPseudorange>(o, columns);
    if (kinds < kKindCount) return;
    put_value<kPhase>(o, columns);
    put_value<kDoppler>(o, columns);
    put_value<kStrength>(o, columns);
}

void observation_text_t::put_signals(epoch_t& epoch, int place)
{
    const int constellation = satellite_at(place).constellation;
    for (const int signal : columns_.preference(constellation)) {
        if (!epoch.has(place, signal)) continue;
        const columns_t::kinds_t& columns = columns_.of(constellation, signal);
        observation_t& o = epoch.at(place, signal);
        const int kinds = rinex2_ ? free_kinds(o, columns) : kKindCount;
        ledger_.add(o.tracking_key, kinds > 0 ? fate_t::written : fate_t::no_name);
        if (kinds == kKindCount && o.value[kPhase] != 0.0) {
            locks_.mark(place, signal, epoch.time, o);
            if (rinex2_ && is_other_source(place, columns[kPhase], signal)) o.digits |= kSlip;
        }
        put_values(o, kinds, columns);
    }
}

// Lines end with the last value in them.
void observation_text_t::put_satellite(epoch_t& epoch, int place, text_t& out)
{
    const satellite_t satellite = satellite_at(place);
    const std::size_t size = columns_.size(satellite.constellation) * kFieldWidth;
    if (rinex2_) {
        rows_.assign(size, ' ');
        row_ = rows_.data();
    } else {
        row_ = out.put(satellite.name()).columns(static_cast<int>(size));
    }
    row_end_ = row_;
    used_ = 0;
    put_signals(epoch, place);
    columns_.note(columns_.list_of(satellite.constellation), used_);
    seen_.set(place);
    if (!rinex2_) {
        out.cut(row_end_).put('\n');
        return;
    }
    for (std::string_view left(rows_.data(), size); !left.empty();
         left.remove_prefix(std::min(kLineOf2, left.size()))) {
        const std::string_view line = left.substr(0, kLineOf2);
        out.put(line.substr(0, line.find_last_not_of(' ') + 1)).put('\n');
    }
}

void observation_text_t::put_epoch_lines(const epoch_t& epoch, text_t& out) const
{
    if (!rinex2_) out.put('>');
    put_epoch_date(out, calendar_of(epoch.time * kTicksPerMs), rinex2_);
    out.blanks(2).integer(kGoodEpoch, 1).integer(epoch.satellites.count(), 3);
    if (rinex2_) {
        int n = 0;
        epoch.satellites.each([&](int place) {
            if (n > 0 && n % kSatellitesOf2 == 0) out.put('\n').blanks(32);
            ++n;
            out.put(satellite_at(place).name());
        });
    }
    out.put('\n');
}

bool observation_text_t::epoch(epoch_t& epoch, text_t& out)
{
    columns_.prepare(epoch);
    look_at(epoch);
    if (epoch.satellites.none()) return false;
    put_epoch_lines(epoch, out);
    epoch.satellites.each([&](int place) { put_satellite(epoch, place, out); });
    return true;
}

std::string event_text(int version, std::int64_t ticks, int flag, const std::vector<std::string>& lines)
{
    const bool rinex2 = version < 300;
    text_buffer_t<64> out;
    if (!rinex2) out.put('>');
    put_epoch_date(out, calendar_of(ticks), rinex2);
    out.blanks(2).integer(flag, 1).integer(static_cast<int>(lines.size()), 3).put('\n');
    std::string text(out.view());
    for (const std::string& line : lines) text += line;
    return text;
}

}   // namespace rinex
