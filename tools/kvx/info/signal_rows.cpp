#include "info/signal_rows.h"

#include "common/text_format.h"

namespace kvx {

namespace {

quality::signal_count_t count_of(inspection_t& i, int place, int signal)
{
    if (i.quality) return i.quality->signals().at(place, signal);
    quality::signal_count_t count;
    count.observed = i.seen->observed(place, signal);
    return count;
}

}   // namespace

std::vector<signal_row_t> signal_rows(inspection_t& i)
{
    std::vector<signal_row_t> rows;
    for (int c = 0; c < rinex::kConstellationCount; ++c) {
        const auto& codes = i.carriers->codes(c);
        for (int signal = 0; signal < static_cast<int>(codes.size()); ++signal) {
            signal_row_t row;
            row.name = rinex::kConstellations[c].letter + codes[static_cast<std::size_t>(signal)];
            if (i.quality) row.strengths = &i.quality->strengths(c, signal);
            for (int place = rinex::kFirstPlaces[static_cast<std::size_t>(c)];
                 place < rinex::kFirstPlaces[static_cast<std::size_t>(c) + 1]; ++place) {
                const quality::signal_count_t n = count_of(i, place, signal);
                if (n.observed == 0) continue;
                ++row.satellites;
                row.observed += n.observed, row.above += n.above;
                row.phases += n.phases, row.half_cycles += n.half_cycles, row.slips += n.slips;
                if (!i.quality) continue;
                row.possible += i.quality->satellites()[static_cast<std::size_t>(place)].possible;
                const auto& multipath = i.quality->multipath().at(place, signal);
                for (std::size_t step = 0; step < multipath.steps.size(); ++step)
                    row.multipath.steps[step] += multipath.steps[step];
            }
            if (row.observed > 0) rows.push_back(row);
        }
    }
    return rows;
}

std::vector<satellite_row_t> satellite_rows(inspection_t& i)
{
    std::vector<satellite_row_t> rows;
    for (int place = 0; place < rinex::kSatellites; ++place) {
        satellite_row_t row;
        row.satellite = rinex::satellite_at(place);
        if (i.quality) row.count = i.quality->satellites()[static_cast<std::size_t>(place)];
        row.epochs = i.quality ? row.count.observed : i.seen->epochs(place);
        if (row.epochs == 0 && row.count.ephemerides == 0) continue;
        const auto& codes = i.carriers->codes(row.satellite.constellation);
        for (std::size_t signal = 0; signal < codes.size(); ++signal) {
            const std::uint64_t n = row.epochs > 0 ? count_of(i, place, static_cast<int>(signal)).observed : 0;
            if (n > 0) row.signals.emplace_back(codes[signal], n);
        }
        rows.push_back(std::move(row));
    }
    return rows;
}

std::string slip_text(const quality::slip_t& slip, const quality::carriers_t& carriers)
{
    std::string out = rinex::satellite_at(slip.place).name(), signals, signs;
    for (int signal = 0; signal < 64; ++signal) {
        if ((slip.signals >> signal & 1) != 0)
            signals += (signals.empty() ? " L" : ",L") + carriers.code(slip.place, signal);
    }
    for (std::size_t sign = 0; sign < std::size(kSlipSigns); ++sign) {
        if ((slip.signs >> sign & 1) != 0) signs += (signs.empty() ? "" : ", ") + std::string(kSlipSigns[sign]);
    }
    out += signals;
    if (slip.cycles != 0.0) out += text(" %+.1f cycles", slip.cycles);
    return out + " (" + signs + ")";
}

}   // namespace kvx
