#include "rinex/observation_text.h"

#include <algorithm>
#include <cmath>

#include "gnss/rinex/observation_number.h"
#include "rinex/dates.h"
#include "rinex/fields.h"

namespace rinex {

namespace {

constexpr std::size_t kRowOf2 = 5;   // values in a line of RINEX 2
constexpr int kSatellitesOf2 = 12;   // in an epoch line of RINEX 2
constexpr std::size_t kMostColumns = kMostSignals * kKindCount * kConstellationCount;
constexpr std::size_t kLongestRow = kMostSignals * kKindCount * (kFieldWidth + 1) + 8;
constexpr std::int8_t kNoSignal = -1;

// A phase too large for its columns loses whole cycles; other values do not fit.
bool printable(const observation_t& o)
{
    return std::any_of(std::begin(o.value), std::end(o.value), fits_columns) || std::fabs(o.value[kPhase]) >= 1.0;
}

}   // namespace

observation_text_t::observation_text_t(int version, const signals_t& signals, ledger_t& ledger)
    : rinex2_(version < 300),
      ledger_(ledger),
      columns_(version, signals),
      sources_(rinex2_ ? kSatellites : 0),
      buffer_(kSatellites * kLongestRow + 4096),
      out_(buffer_.data(), buffer_.size())
{
    row_.reserve(kMostColumns);
}

void observation_text_t::drop_unprintable(epoch_t& epoch)
{
    epoch.each([&](int place, int signal) {
        const observation_t& o = epoch.at(place, signal);
        const bool named = columns_.of(satellite_at(place).constellation, signal)[kPseudorange] >= 0;
        ledger_.add_blanks(o.tracking_key, o.beyond_columns);
        if (named && printable(o)) return;
        ledger_.add(o.tracking_key, named ? fate_t::no_value : fate_t::no_name);
        epoch.drop(place, signal);
    });
}

// In RINEX 2 the phase of a column may come from another signal than before.
bool observation_text_t::is_other_source(int place, int column, int signal)
{
    if (!rinex2_) return false;
    auto& sources = sources_[static_cast<std::size_t>(place)];
    const auto at = static_cast<std::size_t>(column);
    if (sources.size() <= at) sources.resize(at + 1, kNoSignal);
    const bool other = sources[at] != kNoSignal && sources[at] != signal;
    sources[at] = static_cast<std::int8_t>(signal);
    return other;
}

void observation_text_t::take_values(observation_t& o, const columns_t::kinds_t& columns, int place, int signal,
                                     std::int64_t time)
{
    const auto free = [&](int kind) {
        const int column = columns[static_cast<std::size_t>(kind)];
        return column >= 0 && row_[static_cast<std::size_t>(column)].value == 0.0;
    };
    if (!free(kPseudorange)) return ledger_.add(o.tracking_key, fate_t::no_name);
    ledger_.add(o.tracking_key, fate_t::written);
    const bool has_band = free(kPhase) && free(kDoppler) && free(kStrength);
    if (!has_band && o.value[kPhase] != 0.0) ledger_.add_lost_phase(o.tracking_key);
    if (has_band && o.value[kPhase] != 0.0) {
        locks_.mark(place, signal, time, o);
        if (is_other_source(place, columns[kPhase], signal)) o.digits |= kSlip;
    }
    for (int kind = 0; kind < (has_band ? kKindCount : 1); ++kind) {
        const double value = o.value[kind];
        if (!fits_columns(value)) continue;
        row_[static_cast<std::size_t>(columns[static_cast<std::size_t>(kind)])] = {
            value, kind == kPhase ? o.digits : std::uint8_t{0}};
    }
}

void observation_text_t::fill_row(epoch_t& epoch, int place)
{
    const satellite_t satellite = satellite_at(place);
    row_.assign(columns_.size(satellite.constellation), field_t{});
    for (const int signal : columns_.preference(satellite.constellation)) {
        if ((epoch.signals[static_cast<std::size_t>(place)] >> signal & 1) == 0) continue;
        take_values(epoch.at(place, signal), columns_.of(satellite.constellation, signal), place, signal, epoch.time);
    }
    for (std::size_t i = 0; i < row_.size(); ++i) {
        if (row_[i].value != 0.0) columns_.note(satellite.constellation, i);
    }
    seen_.set(place);
}

// Values in columns of their own; a line ends with the last one there is.
void observation_text_t::put_line(std::size_t begin, std::size_t end)
{
    char* const columns = out_.columns(static_cast<int>(end - begin) * kFieldWidth);
    char* behind = columns;
    for (std::size_t i = begin; i < end; ++i) {
        const auto [value, digits] = row_[i];
        if (value == 0.0) continue;
        char* const field = columns + (i - begin) * kFieldWidth;
        if (!put_observation(field, value)) {
            text_buffer_t<kValueWidth> wide;
            std::memcpy(field, wide.observation(value).view().data(), kValueWidth);
        }
        behind = field + kValueWidth;
        if (digits != 0) *behind++ = static_cast<char>('0' + digits);
    }
    out_.cut(behind).put('\n');
}

void observation_text_t::put_row(satellite_t satellite)
{
    if (!rinex2_) {
        out_.put(satellite.name());
        return put_line(0, row_.size());
    }
    for (std::size_t i = 0; i < row_.size(); i += kRowOf2) put_line(i, std::min(i + kRowOf2, row_.size()));
}

void observation_text_t::put_epoch_lines(const epoch_t& epoch)
{
    if (!rinex2_) out_.put('>');
    put_epoch_date(out_, calendar_of(epoch.time * kTicksPerMs), rinex2_);
    out_.blanks(2).integer(kGoodEpoch, 1).integer(epoch.satellites.count(), 3);
    if (rinex2_) {
        int n = 0;
        epoch.satellites.each([&](int place) {
            if (n > 0 && n % kSatellitesOf2 == 0) out_.put('\n').blanks(32);
            ++n;
            out_.put(satellite_at(place).name());
        });
    }
    out_.put('\n');
}

std::string_view observation_text_t::epoch(epoch_t& epoch)
{
    columns_.prepare(epoch);
    drop_unprintable(epoch);
    if (epoch.satellites.none()) return {};
    out_ = text_t(buffer_.data(), buffer_.size());
    put_epoch_lines(epoch);
    epoch.satellites.each([&](int place) {
        fill_row(epoch, place);
        put_row(satellite_at(place));
    });
    return out_.view();
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
