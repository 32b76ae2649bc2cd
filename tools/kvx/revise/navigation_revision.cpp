#include "revise/navigation_revision.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <tuple>

#include "common/error.h"
#include "common/rinex_file.h"
#include "convert/header_settings.h"
#include "convert/packing.h"
#include "revise/navigation_text.h"
#include "rinex/field_formats.h"

namespace kvx {

namespace {

constexpr std::int64_t kReach = 4 * 3600 * 1000, kLongReach = 24 * 3600 * 1000;   // ms that records serve what follows
constexpr std::int64_t kAlways = std::numeric_limits<std::int64_t>::max();
constexpr std::int64_t kWeek = 7 * 24 * 3600 * 1000;     // ms
constexpr std::size_t kSentOffset = 4, kSentEarth = 8;   // fields of STO and EOP
constexpr std::size_t kChannel = 11;                     // field of GLONASS
constexpr double kMostChannel = 13;

// When time offsets and Earth orientation were sent, which stands in a field as seconds of a week; what they refer to
// may be days away.
std::int64_t sending_time(const rinex::read_nav_record_t& record)
{
    const std::size_t field = record.record == "STO" ? kSentOffset : kSentEarth;
    const std::int64_t time = milliseconds(record.time);
    const rinex::nav_value_t none{}, &sent = field < record.values.size() ? record.values[field] : none;
    if (!sent.present || !(sent.number >= 0) || sent.number * 1000.0 >= static_cast<double>(kWeek)) return time;
    const std::int64_t later = floor_to(time, kWeek) + std::llround(sent.number * 1000.0);
    return later - time > kWeek / 2 ? later - kWeek : time - later > kWeek / 2 ? later + kWeek : later;
}

// Where a record belongs among the epochs.
std::int64_t gps_time(const rinex::read_nav_record_t& record, const rinex::file_header_t& header)
{
    if (record.record == "STO" || record.record == "EOP") return sending_time(record);
    const time_scale_t scale(record.record == "EPH" ? scale_of(record.system) : "GPS", header.leap_seconds());
    return milliseconds(scale.gps(record.time));
}

// What records have in common of which only the latest counts: "STO IFNV GAUT".
std::string kind_name(const rinex::read_nav_record_t& record)
{
    std::string name = record.record + " " + message_of(record) + " " + record.subtype;
    if (record.record == "STO" && record.values.size() > 1) name.append(rinex::trimmed(record.values[1].text));
    return name;
}

std::int64_t first_time(const std::string& path)
{
    rinex_file_t file(path, {});
    rinex::navigation_reader_t reader(file.lines(), file.header(), file.findings());
    rinex::read_nav_record_t record;
    while (reader.next(record)) {
        if (record.has_time) return gps_time(record, file.header());
    }
    return kAlways;
}

}   // namespace

sources_t earliest_first(const sources_t& paths)
{
    std::vector<std::pair<std::int64_t, std::string>> timed;
    for (const std::string& path : paths) timed.emplace_back(first_time(path), path);
    std::stable_sort(timed.begin(), timed.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
    sources_t sorted;
    for (const auto& [time, path] : timed) sorted.push_back(path);
    return sorted;
}

navigation_revision_t::navigation_revision_t(const convert_options_t& options, const maker_t& maker, faults_t& faults,
                                             navigation_outcome_t& outcome)
    : options_(options), maker_(maker), faults_(faults), outcome_(outcome), wanted_(options)
{}

void navigation_revision_t::take_header(const rinex::file_header_t& header, const rinex::line_tape_t& tape)
{
    if (sources_.empty()) version_ = options_.version_given ? options_.version() : header.version;
    const char letter = header.version < 300 ? header.default_system() : header.system;
    letter_ = sources_.empty() || letter == letter_ ? letter : 'M';
    sources_.push_back({header, header_lines(header, tape)});
}

void navigation_revision_t::read(const std::string& path)
{
    rinex::line_tape_t tape;
    rinex_file_t file(
        path, [this](const std::string& text) { faults_.add(text); }, &tape);
    if (first_path_.empty()) first_path_ = path;
    take_header(file.header(), tape);
    rinex::navigation_reader_t reader(file.lines(), file.header(), file.findings());
    for (rinex::read_nav_record_t record; reader.next(record);) {
        take(record, tape.lines(record.frame_line, record.line + record.lines - 1), file.header());
        tape.forget_before(file.lines().number() + 1);
    }
    file.finish();
}

std::uint16_t navigation_revision_t::kind_of(const std::string& name)
{
    const auto at = std::find(kinds_.begin(), kinds_.end(), name);
    if (at == kinds_.end()) kinds_.push_back(name);
    return static_cast<std::uint16_t>(std::find(kinds_.begin(), kinds_.end(), name) - kinds_.begin());
}

void navigation_revision_t::take(const rinex::read_nav_record_t& record, std::string_view lines,
                                 const rinex::file_header_t& header)
{
    ++outcome_.read;
    if (record.record == "EPH" && record.system == 'R' && record.values.size() > kChannel &&
        record.values[kChannel].present && std::fabs(record.values[kChannel].number) <= kMostChannel)
        channels_[record.number] = static_cast<int>(record.values[kChannel].number);
    const bool asked =
        record.number < 0 ? wanted_.system(record.system) : wanted_.satellite(record.system, record.number);
    if (!asked || !lines.size()) {
        ++outcome_.not_asked;
        return;
    }
    const navigation_text_t result = converted(record, lines, header.version, version_);
    if (!result.lost.empty()) ++outcome_.lost[result.lost];
    if (result.text.empty()) return;
    if (spool_ == nullptr) spool_ = std::make_unique<output_file_t>(options_.folder_of(false));
    (void)std::fwrite(result.text.data(), 1, result.text.size(), spool_->stream());
    entries_.push_back({record.time, gps_time(record, header), std::hash<std::string>{}(result.text), entries_.size(),
                        spooled_, static_cast<std::uint32_t>(result.text.size()), kind_of(kind_name(record)),
                        static_cast<std::uint8_t>(rinex::system_index(record.system)),
                        static_cast<std::uint8_t>(std::max(record.number, 0))});
    spooled_ += static_cast<std::int64_t>(result.text.size());
}

std::string navigation_revision_t::text_of(const entry_t& entry)
{
    std::string text(entry.size, '\0');
    spool_->seek(entry.at);
    if (std::fread(text.data(), 1, text.size(), spool_->stream()) != text.size())
        throw error_t(spool_->path(), "reading back failed", "the navigation records");
    return text;
}

void navigation_revision_t::drop_repeated()
{
    std::sort(entries_.begin(), entries_.end(),
              [](const entry_t& a, const entry_t& b) { return a.identity() < b.identity(); });
    const auto same = [this](const entry_t& a, const entry_t& b) {
        return a.time == b.time && a.hash == b.hash && a.size == b.size && a.system == b.system &&
               a.number == b.number && text_of(a) == text_of(b);
    };
    const auto end = std::unique(entries_.begin(), entries_.end(), same);
    outcome_.repeated = static_cast<std::uint64_t>(entries_.end() - end);
    entries_.erase(end, entries_.end());
    std::sort(entries_.begin(), entries_.end(),
              [](const entry_t& a, const entry_t& b) { return a.place() < b.place(); });
}

// Records of a time, and before them the latest of each satellite and kind that still serves it.
std::vector<const navigation_revision_t::entry_t*> navigation_revision_t::within(std::int64_t begin,
                                                                                 std::int64_t end) const
{
    std::map<std::tuple<std::uint8_t, std::uint8_t, std::uint16_t>, const entry_t*> latest;
    for (const entry_t& entry : entries_) {
        const std::int64_t reach = kinds_[entry.kind].starts_with("EPH") ? kReach : kLongReach;
        if (begin == -kAlways || entry.gps >= begin || entry.gps < begin - reach) continue;
        const entry_t*& before = latest[entry.series()];
        if (before == nullptr || entry.gps >= before->gps) before = &entry;
    }
    std::vector<const entry_t*> chosen;
    for (const entry_t& entry : entries_) {
        const auto at = latest.find(entry.series());
        const bool before = at != latest.end() && at->second == &entry;
        if (before || (entry.gps >= begin && entry.gps < end)) chosen.push_back(&entry);
    }
    return chosen;
}

std::vector<navigation_revision_t::group_t> navigation_revision_t::groups() const
{
    const bool split = version_ < 300 || options_.nav == "split";
    if (!split) return {{letter_, -1}};
    std::vector<group_t> groups;
    for (std::size_t s = 0; s < rinex::kSystemCount; ++s) groups.push_back({rinex::kSystems[s], static_cast<int>(s)});
    return groups;
}

coverage_t navigation_revision_t::coverage_of(const std::vector<const entry_t*>& entries, std::int64_t begin) const
{
    std::int64_t first = kAlways, last = begin;
    for (const entry_t* entry : entries) {
        if (begin != -kAlways && entry->gps < begin) continue;
        first = std::min(first, entry->gps);
        last = std::max(last, entry->gps);
    }
    if (options_.split > 0 || first == kAlways) first = begin;
    return {static_cast<double>(first) / 1000.0, static_cast<double>(std::max(first, last)) / 1000.0, 0.0};
}

finished_file_t navigation_revision_t::write(const group_t& group, const std::vector<const entry_t*>& entries,
                                             const coverage_t& coverage)
{
    auto file = std::make_unique<output_file_t>(options_.folder_of(!options_.packs()));
    const std::string header =
        with_settings(navigation_header(sources_, version_, group.letter, maker_, lost_), options_, 'N', version_);
    (void)std::fwrite(header.data(), 1, header.size(), file->stream());
    for (const entry_t* entry : entries) {
        const std::string text = text_of(*entry);
        (void)std::fwrite(text.data(), 1, text.size(), file->stream());
        ++outcome_.written;
    }
    const revised_names_t names(options_, version_, first_path_, "");
    const int number = ++names_used_[names.navigation(coverage, group.letter, 1)];
    return packed(std::move(file), names.navigation(coverage, group.letter, number), options_);
}

void navigation_revision_t::finish_part(std::int64_t begin, std::int64_t end, const std::optional<coverage_t>& beside,
                                        std::vector<finished_file_t>& files)
{
    const std::vector<const entry_t*> chosen = within(begin, end);
    for (const group_t& group : groups()) {
        std::vector<const entry_t*> own;
        for (const entry_t* entry : chosen) {
            if (group.system < 0 || entry->system == group.system) own.push_back(entry);
        }
        if (own.empty()) continue;
        files.push_back(write(group, own, beside.value_or(coverage_of(chosen, begin))));
        files.back().file->close(files.back().name);   // many may wait for the end
    }
}

std::vector<finished_file_t> navigation_revision_t::finish(const std::set<std::int64_t>& units,
                                                           const std::optional<coverage_t>& beside)
{
    outcome_.version = version_;
    std::vector<finished_file_t> files;
    if (spool_ == nullptr)
        throw error_t(first_path_, "no navigation record is left, no file written",
                      !faults_.first.empty()  ? faults_.first.front()
                      : outcome_.lost.empty() ? "nothing that is asked for is in it"
                                              : "the version has no " + outcome_.lost.begin()->first);
    if (version_ < 300 && options_.nav == "mixed")
        throw error_t(first_path_, "RINEX 2.11 has no mixed navigation files", "--nav");
    spool_->check("the navigation records");
    if (options_.join) drop_repeated();
    const std::int64_t start = options_.start ? std::llround(*options_.start * 1000.0) : -kAlways;
    const std::int64_t end = options_.end ? std::llround(*options_.end * 1000.0) + 1 : kAlways;
    std::set<std::int64_t> begins;
    for (const entry_t& entry : entries_) {
        if (entry.gps >= start && entry.gps < end && options_.split > 0)
            begins.insert(floor_to(entry.gps, options_.split));
    }
    for (const std::int64_t unit : units) begins.insert(unit * options_.split);
    if (options_.split == 0) begins.insert(start);
    for (const std::int64_t begin : begins) {
        const std::int64_t last = options_.split > 0 ? std::min(begin + options_.split, end) : end;
        finish_part(std::max(begin, start), last, options_.split > 0 ? std::nullopt : beside, files);
    }
    if (files.empty()) throw error_t(first_path_, "no navigation record is left, no file written", "--start, --end");
    if (begins.size() == 1) outcome_.outside = entries_.size() - outcome_.written;
    outcome_.labels.assign(lost_.begin(), lost_.end());
    return files;
}

}   // namespace kvx
