#include "verify/compare_ephemerides.h"

#include <algorithm>
#include <bit>
#include <charconv>
#include <cmath>
#include <utility>

#include "common/text_format.h"

namespace kvx {

namespace {

// More data sets than these are not what a receiver sends; they are not kept.
constexpr std::size_t kMostSets = 1 << 20, kMostOfOneTime = 64;

std::string number_text(double value)
{
    return kvx::text("%.12E", value);
}

// Whether a field tells a number to its twelve decimals. What has no exponent of two digits is zero or blank.
bool is_equal(double sent, const rinex::nav_value_t& found)
{
    constexpr double kSmallest = 1e-99, kLargest = 9.9e99;
    if (!(std::fabs(sent) <= kLargest)) return !found.present && found.text.find_first_not_of(' ') == found.text.npos;
    if (!found.present) return false;
    if (std::fabs(sent) < kSmallest) return found.number == 0.0;
    char text[40];
    const auto end = std::to_chars(text, text + sizeof text, sent, std::chars_format::scientific, 12).ptr;
    double printed = 0.0;
    std::from_chars(text, end, printed);
    return printed == found.number;
}

bool same_digits(const log_ephemeris_t& a, const log_ephemeris_t& b)
{
    const auto same = [](double x, double y) {
        return std::bit_cast<std::uint64_t>(x) == std::bit_cast<std::uint64_t>(y);
    };
    return a.compared == b.compared && std::equal(std::begin(a.fields), std::end(a.fields), std::begin(b.fields), same);
}

struct difference_t {
    int fields = 0;          // that differ
    std::size_t first = 0;   // of them
};

// Fields that the record's version does not have are none.
difference_t difference(const log_ephemeris_t& e, const rinex::read_nav_record_t& record)
{
    difference_t result;
    for (std::uint32_t left = e.compared; left != 0; left &= left - 1) {
        const auto field = static_cast<std::size_t>(std::countr_zero(left));
        if (field >= record.values.size() || is_equal(e.fields[field], record.values[field])) continue;
        if (result.fields++ == 0) result.first = field;
    }
    return result;
}

// The names of messages stand in RINEX 4; before, Galileo's source tells them apart.
bool is_of_kind(const rinex::read_nav_record_t& record, std::string_view message)
{
    if (!record.message.empty()) return record.message == message;
    if (record.system != 'E') return true;
    constexpr unsigned kFnavBit = 2;
    const rinex::nav_value_t& source = record.values[rinex::kNavSource];
    const bool known = source.present && source.number >= 0 && source.number < 1024;
    return known && ((static_cast<unsigned>(source.number) & kFnavBit) != 0) == (message == "FNAV");
}

}   // namespace

void ephemeris_comparison_t::add(const message_t& message, const log_place_t& place)
{
    read_log_ephemerides(message, [&](log_ephemeris_t e) {
        e.place = place;
        ++result_.ephemerides.told;
        add(e);
    });
}

void ephemeris_comparison_t::add(const log_ephemeris_t& e)
{
    entries_t& entries = entries_[{rinex::place_of(e.satellite), e.time}];
    std::size_t set = entries.size();
    for (std::size_t i = entries.size(); i-- > 0;) {
        entry_t& known = entries[i];
        if (!known.ephemeris.same_set(e)) continue;
        set = known.set;
        if (same_digits(known.ephemeris, e)) {
            ++entries[set].told;
            ++result_.ephemerides.repeated;
            return;
        }
    }
    if (size_ >= kMostSets || entries.size() >= kMostOfOneTime) {
        result_.fault([&] { return e.place.text() + ": too many ephemerides to compare, " + e.satellite.name(); });
        return;
    }
    ++size_;
    entries.push_back({e, set, 0, 0, 0, false});
    ++entries[set].told;
    result_.ephemerides.repeated += set + 1 != entries.size();
}

void ephemeris_comparison_t::run(const std::vector<std::string>& files)
{
    for (const std::string& file : files) read(file);
    for (const auto& [key, entries] : entries_) {
        for (std::size_t i = 0; i < entries.size(); ++i) {
            if (entries[i].set == i) judge(entries[i]);
        }
    }
}

void ephemeris_comparison_t::read(const std::string& path)
{
    rinex_file_t file(path, faults_of(result_));
    ++file_;
    const char system = file.header().default_system();
    constexpr std::string_view kOfRinex2 = "GRS";
    if (file.header().version < 300 && kOfRinex2.find(system) == kOfRinex2.npos) {
        ++result_.unpublished_files;
        return;
    }
    systems_ += system;
    all_systems_ = all_systems_ || file.header().version >= 300;
    rinex::navigation_reader_t reader(file.lines(), file.header(), file.findings());
    for (rinex::read_nav_record_t record; reader.next(record);) {
        if (record.record == "EPH") {
            compare(file, reader, record);
        } else {
            ++result_.other_records;
        }
    }
    file.finish();
}

void ephemeris_comparison_t::compare(const rinex_file_t& file, const rinex::navigation_reader_t& reader,
                                     const rinex::read_nav_record_t& record)
{
    const auto fault = [&](std::size_t line, const auto& what) {
        result_.fault([&] { return file.place(record.line + line) + ": " + record.name() + ": " + what(); });
    };
    const auto extra = [&](const char* why) {
        ++result_.ephemerides.extra;
        fault(0, [&] { return "ephemeris of " + rinex::ticks_text(record.time) + " " + why; });
    };
    const rinex::satellite_t satellite = rinex::satellite_of(rinex::constellation_of(record.system), record.number);
    const auto at = satellite.valid() && record.has_time ? entries_.find({rinex::place_of(satellite), record.time})
                                                         : entries_.end();
    entry_t* nearest = nullptr;
    difference_t least;
    for (std::size_t i = 0; at != entries_.end() && i < at->second.size(); ++i) {
        entry_t& entry = at->second[i];
        if (!is_of_kind(record, entry.ephemeris.message)) continue;
        const difference_t d = difference(entry.ephemeris, record);
        if (d.fields * 2 > std::popcount(entry.ephemeris.compared) || (nearest != nullptr && d.fields >= least.fields))
            continue;
        nearest = &entry;
        least = d;
    }
    if (nearest == nullptr) return extra("is none of the log");
    if (!wanted_.satellite(rinex::place_of(satellite))) return extra("was to be left out");
    entry_t& set = at->second[nearest->set];
    if (least.fields > 0) {
        set.differs = true;
        return fault(least.first / rinex::kNavColumns, [&] {
            const rinex::nav_value_t& found = record.values[least.first];
            return "column " + std::to_string(reader.column_of(least.first)) + ": " +
                   (found.present ? number_text(found.number) : "no number") + ", the log has " +
                   number_text(nearest->ephemeris.fields[least.first]);
        });
    }
    if (std::exchange(set.file, file_) != file_) set.stands = 0;   // each part of a session has what it needs
    if (++set.stands > set.told) extra("stands there more often than in the log");
}

void ephemeris_comparison_t::judge(const entry_t& entry)
{
    ephemeris_count_t& count = result_.ephemerides;
    const log_ephemeris_t& e = entry.ephemeris;
    ++count.sets;
    if (!wanted_.satellite(rinex::place_of(e.satellite))) {
        ++count.not_asked;
    } else if (entry.differs) {
        ++count.differ;
    } else if (entry.stands > 0) {
        ++count.found;
    } else if (!has_file(e.satellite.letter())) {
        ++count.no_file;
    } else {
        ++count.missing;
        result_.fault([&] {
            return e.place.text() + ": " + e.satellite.name() + ": " + std::string(e.message) + " ephemeris of " +
                   rinex::ticks_text(e.time) + " stands in no file";
        });
    }
}

}   // namespace kvx
