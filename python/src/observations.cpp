#include "observations.h"

#include <algorithm>
#include <bit>
#include <limits>
#include <string>

#include "gnss/log/range.h"
#include "rinex/dates.h"
#include "rinex/fields.h"

namespace rtk_python {

namespace {

// That there is room for it in a file the collector and the locks have seen to. Without a jump: which value lacks
// nobody can foresee.
double usable(double value)
{
    constexpr auto kNone = std::bit_cast<std::uint64_t>(std::numeric_limits<double>::quiet_NaN());
    const std::uint64_t lacks = std::uint64_t{0} - static_cast<std::uint64_t>(rinex::prints_as_zero(value));
    return std::bit_cast<double>((std::bit_cast<std::uint64_t>(value) & ~lacks) | (kNone & lacks));
}

}   // namespace

void observations_t::expect(std::uint64_t bytes)
{
    const std::size_t rows = bytes / korvex::kRangeSize;   // those of the compressed message, of which more fit, move
    columns_.names.reserve(rows);
    columns_.pseudorange.reserve(rows);
    columns_.phase.reserve(rows);
    columns_.doppler.reserve(rows);
    columns_.cn0.reserve(rows);
    columns_.lli.reserve(rows);
}

// Follows the phases and keeps what a file would print.
// @return how many
std::size_t observations_t::look_at(rinex::epoch_t& epoch, rinex::lock_tracker_t& locks)
{
    std::size_t count = 0;
    epoch.each([&, time = epoch.time](int place, int signal) {
        rinex::observation_t& o = epoch.at(place, signal);
        locks.follow(place, signal, o);
        if (o.beyond_columns != 0) ledger_.add_blanks(o.tracking_key, o.beyond_columns);
        if (!rinex::has_value_to_print(o)) return ledger_.add(o.tracking_key, rinex::fate_t::no_value);
        locks.mark(place, signal, time, o);
        names_[count] = static_cast<std::uint16_t>(place * rinex::kMostSignals + signal);
        kept_[count] = &o;
        ++count;
    });
    return count;
}

void observations_t::write(std::size_t count)
{
    const rinex::observation_t* const* const kept = kept_.data();
    std::copy_n(names_.begin(), count, columns_.names.extend(count));
    double* const pseudorange = columns_.pseudorange.extend(count);
    double* const phase = columns_.phase.extend(count);
    float* const doppler = columns_.doppler.extend(count);
    float* const cn0 = columns_.cn0.extend(count);
    std::uint8_t* const lli = columns_.lli.extend(count);
    for (std::size_t i = 0; i < count; ++i) {
        const rinex::observation_t& o = *kept[i];
        pseudorange[i] = usable(o.value[rinex::kPseudorange]);
        phase[i] = usable(o.value[rinex::kPhase]);
        doppler[i] = static_cast<float>(usable(o.value[rinex::kDoppler]));
        cn0[i] = static_cast<float>(usable(o.value[rinex::kStrength]));
        lli[i] = static_cast<std::uint8_t>(o.digits * !rinex::prints_as_zero(o.value[rinex::kPhase]));
    }
}

bool observations_t::add(rinex::epoch_t& epoch, rinex::lock_tracker_t& locks)
{
    const std::size_t count = look_at(epoch, locks);
    if (count == 0) return false;
    columns_.times.add(nanoseconds_of_ticks(epoch.time * rinex::kTicksPerMs));
    columns_.counts.add(static_cast<std::int64_t>(count));
    write(count);
    return true;
}

py::dict arrays_of(observations_t::columns_t columns)
{
    py::dict all;
    all["epoch_times"] = times_of(columns.times);
    all["epoch_rows"] = columns.counts.array();
    all["name"] = columns.names.array();
    all["pseudorange"] = columns.pseudorange.array();
    all["phase"] = columns.phase.array();
    all["doppler"] = columns.doppler.array();
    all["cn0"] = columns.cn0.array();
    all["lli"] = columns.lli.array();
    return all;
}

py::tuple names_of(const rinex::signals_t& signals)
{
    column_t<text_t<3>> satellites;
    column_t<text_t<2>> codes;
    for (int place = 0; place < rinex::kSatellites; ++place) {
        const rinex::satellite_t satellite = rinex::satellite_at(place);
        const auto& listed = signals.codes(satellite.constellation);
        for (std::size_t signal = 0; signal < rinex::kMostSignals; ++signal) {
            satellites.add(text_of<3>(satellite.name()));
            codes.add(text_of<2>(signal < listed.size() ? listed[signal] : ""));
        }
    }
    return py::make_tuple(array_of(satellites), array_of(codes));
}

}   // namespace rtk_python
