#include "verify/expected_row.h"

#include <algorithm>

#include "rinex/observation_codes.h"

namespace kvx {

namespace {

// RINEX 2: of a band's signals the precise code comes first, P before W, then pilots before data.
constexpr std::string_view kFirstOfBand = "PWYMCQXZLSIBDA";

}   // namespace

void expected_row_t::use(const rinex::file_header_t& header)
{
    shared_ = header.version < 300;
    for (int c = 0; c < rinex::kConstellationCount; ++c) {
        const auto at = static_cast<std::size_t>(c);
        sizes_[at] = header.types_of(rinex::kConstellations[c].letter).types.size();
        for (std::size_t s = 0; s < names_.codes(c).size(); ++s) use(header, c, static_cast<int>(s));
    }
}

void expected_row_t::use(const rinex::file_header_t& header, int constellation, int signal)
{
    const char letter = rinex::kConstellations[constellation].letter;
    const std::string& code = names_.codes(constellation)[static_cast<std::size_t>(signal)];
    const char range = shared_ ? rinex::range_letter_211(letter, code) : 'C';
    const auto& types = header.types_of(letter).types;
    signal_t& to = signals_[static_cast<std::size_t>(constellation)][static_cast<std::size_t>(signal)];
    to = {};
    to.rank = static_cast<int>(kFirstOfBand.find(code[1]));
    if (range == '\0') return;
    for (std::size_t kind = 0; kind < rinex::kKindCount; ++kind) {
        const char first = kind == rinex::kPseudorange ? range : rinex::kKinds[kind];
        const rinex::observation_code_t wanted{{first, code[0], shared_ ? ' ' : code[1]}};
        const auto listed =
            std::find_if(types.begin(), types.end(), [&](const auto& type) { return type.code == wanted; });
        if (listed != types.end()) to.fields[kind] = static_cast<std::int16_t>(listed - types.begin());
        to.named = to.named || listed != types.end() || rinex::is_observation_code(letter, wanted, header.version);
    }
}

const std::vector<expected_value_t>& expected_row_t::lay_out(const std::vector<log_record_t>& records,
                                                             std::vector<fate_t>& fates, std::size_t first,
                                                             std::size_t n)
{
    const auto constellation = static_cast<unsigned char>(records[first].constellation);
    row_.assign(sizes_[constellation], {});
    first_ = first;
    lost_band_ = 0;
    std::array<std::size_t, rinex::kMostSignals> order{};
    for (std::size_t i = 0; i < n; ++i) order[i] = first + i;
    if (shared_) {
        std::stable_sort(order.begin(), order.begin() + static_cast<std::ptrdiff_t>(n),
                         [&](std::size_t a, std::size_t b) {
                             return of(records[a].constellation, records[a].signal).rank <
                                    of(records[b].constellation, records[b].signal).rank;
                         });
    }
    for (std::size_t i = 0; i < n; ++i) {
        if (fates[order[i]] == fate_t::found) lay_out_one(records[order[i]], order[i], fates[order[i]]);
    }
    return row_;
}

bool expected_row_t::is_free(const log_record_t& record, int kind) const
{
    const int at = field(record, kind);
    return at < 0 || row_[static_cast<std::size_t>(at)].record < 0;
}

void expected_row_t::put(const log_record_t& record, std::size_t index, int kind, fate_t& fate)
{
    const std::int64_t value = record.thousandths[static_cast<std::size_t>(kind)];
    if (value == 0) return;
    const int at = field(record, kind);
    if (at >= 0) {
        row_[static_cast<std::size_t>(at)] = {value, static_cast<std::int16_t>(index), static_cast<std::int8_t>(kind)};
    } else {
        fate = fate_t::missing;
    }
}

void expected_row_t::lay_out_one(const log_record_t& record, std::size_t index, fate_t& fate)
{
    using namespace rinex;
    if (shared_ && !is_free(record, kPseudorange)) {
        fate = fate_t::no_name;   // the column is that of a better signal
        return;
    }
    put(record, index, kPseudorange, fate);
    if (is_free(record, kPhase) && is_free(record, kDoppler) && is_free(record, kStrength)) {
        for (const int kind : {kPhase, kDoppler, kStrength}) put(record, index, kind, fate);
    } else if (record.thousandths[kPhase] != 0) {
        lost_band_ |= 1U << (index - first_);
    }
}

}   // namespace kvx
