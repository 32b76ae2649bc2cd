#include "verify/compare_observations.h"

#include <algorithm>
#include <cstdlib>

#include "common/text_format.h"

namespace kvx {

namespace {

constexpr rinex::ticks_t kTicksPerMs = rinex::kTicksPerSecond / 1000;

std::string value_text(std::int64_t thousandths)
{
    const auto size = static_cast<std::uint64_t>(thousandths < 0 ? -thousandths : thousandths);
    return kvx::text("%s%llu.%03d", thousandths < 0 ? "-" : "", static_cast<unsigned long long>(size / 1000),
                     static_cast<int>(size % 1000));
}

std::string epoch_text(rinex::ticks_t time)
{
    return "epoch " + rinex::ticks_text(time);
}

// The sign of a phase whose half cycles are not known.
bool lacks_half_cycle_sign(const log_record_t& record, const expected_value_t& expected,
                           const rinex::read_value_t& found)
{
    constexpr int kHalfCycle = 2;
    return expected.kind == rinex::kPhase && !record.parity_known && found.present &&
           (found.lock == ' ' || ((found.lock - '0') & kHalfCycle) == 0);
}

// Whether any record of these is there for a file to hold.
bool any_found(const std::vector<fate_t>& fates)
{
    return std::find(fates.begin(), fates.end(), fate_t::found) != fates.end();
}

}   // namespace

void observation_comparison_t::run(log_epochs_t& log_epochs)
{
    log_epoch_t log;
    bool more = log_epochs.next(log);
    do {
        files_.begin_run(log.time * kTicksPerMs);
        more = compare_run(log_epochs, log, more);
    } while (more);
    while (files_.begin_run(log.time * kTicksPerMs)) compare_run(log_epochs, log, false);
}

// A run of the log, and the files along it.
bool observation_comparison_t::compare_run(log_epochs_t& log_epochs, log_epoch_t& log, bool more)
{
    bool in_run = more;
    const rinex::read_epoch_t* file = files_.next();
    while (in_run || file != nullptr) {
        if (types_ != files_.types_change()) {
            types_ = files_.types_change();
            row_.use(files_.file().header());
        }
        const rinex::ticks_t time = log.time * kTicksPerMs;
        const bool log_first = in_run && (file == nullptr || time <= file->time);
        const bool file_first = file != nullptr && (!in_run || file->time <= time);
        if (log_first && file_first) {
            compare(log, *file);
        } else if (log_first) {
            missing(log);
        } else {
            extra(*file, "no epoch of the log has this time");
        }
        if (log_first) {
            more = log_epochs.next(log);
            in_run = more && !log.begins_run;
        }
        if (file_first) file = files_.next();
        if (file == nullptr && in_run) file = files_.next_file(log.time * kTicksPerMs, is_expected(log));
    }
    return more;
}

void observation_comparison_t::judge_records(const log_epoch_t& log)
{
    fates_.clear();
    for (const log_record_t& r : log.records) {
        const bool wanted = wanted_.satellite(r.place) && wanted_.signal(r.constellation, r.signal);
        const bool blank = std::all_of(r.thousandths.begin(), r.thousandths.end(), [](auto v) { return v == 0; });
        fates_.push_back(log.fate != fate_t::found                   ? log.fate
                         : !wanted                                   ? fate_t::not_asked
                         : !row_.has_name(r.constellation, r.signal) ? fate_t::no_name
                         : blank                                     ? fate_t::no_value
                                                                     : fate_t::found);
    }
}

bool observation_comparison_t::is_expected(const log_epoch_t& log)
{
    judge_records(log);
    return any_found(fates_);
}

void observation_comparison_t::account(const log_epoch_t& log)
{
    for (std::size_t i = 0; i < fates_.size(); ++i) result_.count(log.records[i].tracking_key, fates_[i]);
}

void observation_comparison_t::missing(const log_epoch_t& log)
{
    judge_records(log);
    if (any_found(fates_)) {
        ++result_.epochs_missing;
        result_.fault(
            [&] { return log.place.text() + ": " + epoch_text(log.time * kTicksPerMs) + " stands in no file"; });
        std::replace(fates_.begin(), fates_.end(), fate_t::found, fate_t::missing);
    } else {
        ++result_.epochs_left_out;
    }
    account(log);
}

void observation_comparison_t::extra(const rinex::read_epoch_t& file, const char* why)
{
    ++result_.epochs_extra;
    result_.fault([&] { return files_.file().place(file.line) + ": " + epoch_text(file.time) + ": " + why; });
}

void observation_comparison_t::compare(const log_epoch_t& log, const rinex::read_epoch_t& file)
{
    judge_records(log);
    if (log.fate != fate_t::found) {
        extra(file, log.fate == fate_t::outside ? "was to be left out: outside the time span"
                                                : "was to be left out: off the grid of the interval");
        return account(log);
    }
    ++result_.epochs;
    find_satellites(file);
    for (std::size_t first = 0, n = 0; first < log.records.size(); first += n) {
        n = 1;
        while (first + n < log.records.size() && log.records[first + n].place == log.records[first].place) ++n;
        compare_satellite(log, first, n, file);
    }
    not_sent_satellites(log, file);
    account(log);
}

void observation_comparison_t::find_satellites(const rinex::read_epoch_t& file)
{
    in_file_.fill(-1);
    seen_.assign(file.satellites.size(), false);
    for (std::size_t i = 0; i < file.satellites.size(); ++i) {
        const rinex::read_satellite_t& found = file.satellites[i];
        const rinex::satellite_t satellite = rinex::satellite_of(rinex::constellation_of(found.system), found.number);
        if (!satellite.valid()) continue;
        std::int16_t& at = in_file_[static_cast<std::size_t>(rinex::place_of(satellite))];
        if (at < 0) {
            at = static_cast<std::int16_t>(i);
            continue;
        }
        seen_[i] = true;
        result_.fault([&] { return files_.place(found, 0) + ": " + satellite.name() + " stands there twice"; });
    }
}

void observation_comparison_t::compare_satellite(const log_epoch_t& log, std::size_t first, std::size_t n,
                                                 const rinex::read_epoch_t& file)
{
    const std::vector<expected_value_t>& row = row_.lay_out(log.records, fates_, first, n);
    const std::int16_t at = in_file_[static_cast<std::size_t>(log.records[first].place)];
    if (at < 0) return lacks_satellite(log, first, n, file);
    const rinex::read_satellite_t& satellite = file.satellites[static_cast<std::size_t>(at)];
    seen_[static_cast<std::size_t>(at)] = true;
    finish_satellite(log, first, n, satellite);
    const rinex::read_value_t* const found = file.values.data() + satellite.first;
    for (std::size_t i = 0; i < row.size(); ++i) {
        if (row[i].record < 0) {
            if (found[i].present) not_sent(log, file, satellite, i);
            continue;
        }
        const auto index = static_cast<std::size_t>(row[i].record);
        const log_record_t& record = log.records[index];
        const bool equal = is_equal(record, row[i], found[i]);
        if (equal && !lacks_half_cycle_sign(record, row[i], found[i])) {
            result_.values += found[i].present;
            continue;
        }
        if (equal) {
            result_.fault([&] { return place(satellite, i) + ": no sign of the half cycles that are not known"; });
        } else {
            differs(row[i], found[i], satellite, i);
        }
        fates_[index] = found[i].present || fates_[index] == fate_t::differs ? fate_t::differs : fate_t::missing;
    }
}

// A phase that has no room in its columns lacks whole cycles from then on, the same number until there is no room
// again.
bool observation_comparison_t::is_equal(const log_record_t& record, const expected_value_t& expected,
                                        const rinex::read_value_t& found)
{
    if (expected.kind != rinex::kPhase) return found.present && found.thousandths == expected.thousandths;
    constexpr std::int64_t kCycle = 1000;
    std::int64_t& cycles = cycles_[static_cast<std::size_t>(record.place)][static_cast<std::size_t>(record.signal)];
    if (!found.present) return expected.thousandths + cycles == 0;
    const std::int64_t off = found.thousandths - expected.thousandths;
    if (!has_room(expected.thousandths + cycles)) cycles = (off + (off < 0 ? -kCycle : kCycle) / 2) / kCycle * kCycle;
    const std::int64_t rounding = cycles == 0 ? 0 : 1;   // of the sum
    return std::llabs(off - cycles) <= rounding;
}

// What the layout alone tells of the satellite's records.
void observation_comparison_t::finish_satellite(const log_epoch_t& log, std::size_t first, std::size_t n,
                                                const rinex::read_satellite_t& satellite)
{
    for (std::size_t i = first; i < first + n; ++i) {
        const log_record_t& record = log.records[i];
        if (fates_[i] == fate_t::missing) {
            const auto& code = names_.codes(record.constellation)[static_cast<std::size_t>(record.signal)];
            result_.fault([&] {
                return files_.place(satellite, 0) + ": " + rinex::satellite_at(record.place).name() + " " + code +
                       ": the header lists no type for a value of the log";
            });
        } else if (fates_[i] == fate_t::found && row_.lost_band(i)) {
            ++result_.without_phase[record.tracking_key];
        }
    }
}

void observation_comparison_t::lacks_satellite(const log_epoch_t& log, std::size_t first, std::size_t n,
                                               const rinex::read_epoch_t& file)
{
    bool any = false;
    for (std::size_t i = first; i < first + n; ++i) {
        any = any || fates_[i] == fate_t::found || fates_[i] == fate_t::missing;
        if (fates_[i] == fate_t::found) fates_[i] = fate_t::missing;
    }
    if (!any) return;
    result_.fault([&] {
        return files_.file().place(file.line) + ": " + rinex::satellite_at(log.records[first].place).name() +
               " is missing in " + epoch_text(file.time);
    });
}

std::string observation_comparison_t::place(const rinex::read_satellite_t& satellite, std::size_t field) const
{
    return files_.place(satellite, field) + ": " + rinex::subject_of(files_.file().header(), satellite, field);
}

void observation_comparison_t::differs(const expected_value_t& expected, const rinex::read_value_t& found,
                                       const rinex::read_satellite_t& satellite, std::size_t field)
{
    result_.fault([&] {
        return place(satellite, field) + ": " + (found.present ? value_text(found.thousandths) : "blank") +
               ", the log has " + value_text(expected.thousandths);
    });
}

// Whether the value is one that the options leave out.
bool observation_comparison_t::left_out(const log_epoch_t& log, const rinex::read_satellite_t& satellite,
                                        std::size_t field) const
{
    for (std::size_t i = 0; i < log.records.size(); ++i) {
        const log_record_t& record = log.records[i];
        const rinex::satellite_t its = rinex::satellite_at(record.place);
        if (fates_[i] != fate_t::not_asked || its.letter() != satellite.system || its.number != satellite.number)
            continue;
        for (int kind = 0; kind < rinex::kKindCount; ++kind) {
            if (row_.field(record, kind) == static_cast<int>(field)) return true;
        }
    }
    return false;
}

void observation_comparison_t::not_sent(const log_epoch_t& log, const rinex::read_epoch_t& file,
                                        const rinex::read_satellite_t& satellite, std::size_t field)
{
    result_.fault([&] {
        return place(satellite, field) + ": " + value_text(file.values[satellite.first + field].thousandths) +
               (left_out(log, satellite, field) ? ", which was to be left out" : ", the log has none");
    });
}

void observation_comparison_t::not_sent_satellites(const log_epoch_t& log, const rinex::read_epoch_t& file)
{
    for (std::size_t i = 0; i < file.satellites.size(); ++i) {
        const rinex::read_satellite_t& satellite = file.satellites[i];
        for (std::size_t k = 0; !seen_[i] && k < satellite.count; ++k) {
            if (file.values[satellite.first + k].present) not_sent(log, file, satellite, k);
        }
    }
}

}   // namespace kvx
