#include "revise/observation_revision.h"

#include <algorithm>
#include <bitset>
#include <deque>
#include <limits>
#include <set>

#include "common/error.h"
#include "common/progress.h"
#include "convert/selection.h"
#include "convert/thinning.h"
#include "revise/names.h"
#include "revise/observation_merge.h"
#include "revise/observation_part.h"
#include "revise/site_changes.h"
#include "rinex/field_formats.h"

namespace kvx {

namespace {

constexpr std::size_t kMostWaiting = 1 << 14, kMostWaitingBytes = 1 << 24;   // events kept until the next epoch
constexpr int kSlipRecords = 6;                                              // flag
constexpr int kFirstNotCompact = 402;

std::vector<looked_at_t> looked_at(const sources_t& paths)
{
    std::vector<looked_at_t> files;
    for (const std::string& path : paths) files.push_back(look_at(path, paths.size() > 1));
    std::stable_sort(files.begin(), files.end(),
                     [](const looked_at_t& a, const looked_at_t& b) { return a.first < b.first; });
    return files;
}

revision_context_t context_of(const looked_at_t& file, const convert_options_t& options, int version,
                              const maker_t& maker)
{
    return {options, version, file.header, file.lines, file.types, maker, ' ', 0.0, {}, {}, false, {}};
}

// Lines of a label, which files that are joined must have in common.
std::string lines_of(const looked_at_t& file, std::string_view label)
{
    std::string lines;
    for (const rinex::header_record_t& record : file.header.records) {
        if (record.label == label) lines += record.text + "\n";
    }
    return lines;
}

class observation_revision_t {
public:
    observation_revision_t(const convert_options_t& options, const sources_t& paths, const maker_t& maker,
                           const std::map<int, int>& channels, faults_t& faults, observation_outcome_t& outcome)
        : options_(options),
          faults_(faults),
          outcome_(outcome),
          wanted_(options),
          selection_(options),
          files_(looked_at(paths)),
          version_(options.version_given ? options.version() : files_.front().header.version),
          context_(context_of(files_.front(), options, version_, maker)),
          names_(options, version_, files_.front().path, marker()),
          thinning_(options.interval, options.anchor_first,
                    [this](source_epoch_t& epoch, bool kept) { on_released(epoch, kept); })
    {
        inside_ = !options.start;
        demand_possible();
        context_.channels = channels;
        plan();
        describe();
    }

    std::vector<finished_file_t> run()
    {
        read();
        if (part_ != nullptr) write_events(~std::uint64_t{0}, std::numeric_limits<std::int64_t>::max());
        finish_part();
        if (finished_.empty()) throw error_t(files_.front().path, "no epoch is left, no file written", why_none());
        tell();
        return std::move(finished_);
    }

private:
    std::string marker() const
    {
        const rinex::header_record_t* record = files_.front().header.find("MARKER NAME");
        return record == nullptr ? "" : std::string(rinex::trimmed(record->text));
    }

    void demand_possible() const
    {
        const rinex::file_header_t& first = files_.front().header;
        if (options_.crx && version_ >= kFirstNotCompact)
            throw error_t(files_.front().path, "RINEX 4.02 belongs to CRINEX 3.1, which is not written here",
                          "use --gz alone, or --rinex 3.05");
        for (const looked_at_t& file : files_) {
            const std::string_view scale = file.header.time_system();
            if (scale != first.time_system())
                throw error_t(file.path, "has another time system than " + files_.front().path, "joining");
            if (lines_of(file, "SYS / SCALE FACTOR") != lines_of(files_.front(), "SYS / SCALE FACTOR"))
                throw error_t(file.path, "has other scale factors than " + files_.front().path, "joining");
            if (version_ < 300 && file.header.find("SYS / SCALE FACTOR") != nullptr)
                throw error_t(file.path, "RINEX 2.11 has no scale factors, without which values mean something else",
                              "SYS / SCALE FACTOR");
            if (version_ < 300 && !scale.empty() && scale != "GPS" && scale != "GLO" && scale != "GAL")
                throw error_t(file.path, "RINEX 2.11 has no time system " + std::string(scale), "TIME OF FIRST OBS");
        }
    }

    void plan()
    {
        std::vector<typed_t> sources;
        for (const looked_at_t& file : files_) sources.push_back({file.header.version, file.types});
        const rinex::type_names_t columns = planned_types(sources, version_, wanted_);
        if (std::all_of(columns.begin(), columns.end(), [](const auto& list) { return list.empty(); }))
            throw error_t(files_.front().path, "none of its observation types is asked for, no file written",
                          "--systems, --signals and --rinex choose");
        rows_ = std::make_unique<observation_rows_t>(version_, columns, wanted_, outcome_.losses);
        for (const typed_t& source : sources) {
            plans_.emplace_back(source, version_, columns, wanted_);
            context_.may_lose_columns |= !plans_.back().identical;
            outcome_.meanings.merge(plans_.back().meanings);
        }
        types_.resize(files_.size());
        context_.may_lose_columns |= files_.size() > 1 || !wanted_.everything() || options_.interval > 0.0 ||
                                     options_.split > 0 || options_.start || options_.end;
    }

    // What the headers together say.
    void describe()
    {
        std::set<double> intervals;
        for (const looked_at_t& file : files_) {
            context_.channels.merge(file.header.glonass_channels());
            context_.shifts.merge(shift_lines(file.header, version_));
            if (const auto interval = file.header.interval())
                intervals.insert(static_cast<double>(*interval) / rinex::kTicksPerSecond);
            if (file.header.system != context_.header.system) context_.letter = 'M';
            const auto& one = file.header.find("MARKER NAME");
            const auto& other = files_.front().header.find("MARKER NAME");
            if (one != nullptr && other != nullptr && one->text != other->text)
                outcome_.notes.push_back(file.path + " has the marker " + std::string(rinex::trimmed(one->text)) +
                                         ", the file that of the first");
        }
        if (intervals.size() > 1) context_.interval = *intervals.begin();
        const double own = intervals.empty() ? 0.0 : *intervals.begin();
        if (options_.interval > 0.0) context_.interval = std::max(options_.interval, own);
    }

    void read()
    {
        observation_merge_t merge(files_, faults_);
        progress_t progress(files_.front().path, 0);
        for (auto epoch = std::make_unique<source_epoch_t>(); merge.next(epoch);) {
            take(epoch);
            progress.at(merge.position());
        }
        thinning_.flush();
        outcome_.overlaps = merge.overlaps();
    }

    void take(std::unique_ptr<source_epoch_t>& epoch)
    {
        if (epoch->read.is_event()) return take_event(epoch);
        if (!epoch->read.has_time) {
            ++outcome_.timeless;
            return;
        }
        epoch->sequence = ++sequence_;
        inside_ = selection_.in_window(epoch->time * rinex::kTicksPerMs);
        if (!inside_) {
            thinning_.flush();
            ++outcome_.outside;
            return;
        }
        if (epoch->read.flag == kSlipRecords) return on_released(*epoch, options_.interval == 0.0);
        follow_gaps(epoch->time);
        thinning_.add(epoch);
    }

    // Without a time of its own an event stands with the epochs around it.
    void take_event(std::unique_ptr<source_epoch_t>& event)
    {
        const bool inside = event->read.has_time ? selection_.in_window(event->time * rinex::kTicksPerMs) : inside_;
        const bool types = event->before != event->types;
        if (types && !plans_[event->input].identical)
            throw error_t(files_[event->input].path,
                          "its observation types change at line " + std::to_string(event->read.line) +
                              ", which goes with no change of version, types or systems",
                          "cut it there with --end and --start, then convert the parts");
        if (!inside || (!options_.events && !types)) return site_.take(event->read.records);
        event->sequence = sequence_;
        waiting_ += event->text.size();
        events_.push_back(std::move(event));
        event = std::make_unique<source_epoch_t>();
        if (events_.size() < kMostWaiting && waiting_ < kMostWaitingBytes) return;
        if (part_ == nullptr) begin_part(*events_.front(), unit_of(events_.front()->time));
        write_events(sequence_ + 1, std::numeric_limits<std::int64_t>::max());
    }

    void follow_gaps(std::int64_t time)
    {
        if (last_ && time > *last_) {
            steps_.add(static_cast<double>(time - *last_) / 1000.0);
            if (time - *last_ > outcome_.longest.length) outcome_.longest = {*last_, time - *last_};
        }
        last_ = time;
    }

    std::int64_t unit_of(std::int64_t time) const
    {
        return options_.split > 0 ? floor_to(time, options_.split) / options_.split : 0;
    }

    void on_released(source_epoch_t& epoch, bool kept)
    {
        if (!kept) {
            ++outcome_.off_grid;
            return rows_->follow(epoch, plans_[epoch.input]);
        }
        const std::int64_t unit = unit_of(epoch.time);
        if (part_ != nullptr) write_events(epoch.sequence, unit_);
        if (part_ != nullptr && unit > unit_ && part_->tally().epochs > 0) finish_part();
        if (part_ == nullptr) begin_part(epoch, unit);
        unit_ = std::max(unit, unit_);   // events alone make no part
        write_events(epoch.sequence, unit_);
        follow_types(epoch);
        if (!part_->add(epoch, plans_[epoch.input], *rows_)) ++outcome_.empty;
    }

    void begin_part(const source_epoch_t& epoch, std::int64_t unit)
    {
        const bool event_first = !events_.empty() && events_.front()->sequence < epoch.sequence;
        const source_epoch_t& first = event_first ? *events_.front() : epoch;
        site_.apply(context_.header, context_.lines);
        part_ = std::make_unique<observation_part_t>(context_,
                                                     plans_[first.input].identical ? *first.before : rows_->columns());
        unit_ = unit;
    }

    // Events that stand in front of an epoch, as far as they belong to a unit.
    void write_events(std::uint64_t sequence, std::int64_t unit)
    {
        while (!events_.empty() && events_.front()->sequence < sequence) {
            source_epoch_t& event = *events_.front();
            if (event.read.has_time && unit_of(event.time) > unit) return;
            part_->add_event(event, *rows_);
            site_.take(event.read.records);
            ++outcome_.events;
            waiting_ -= event.text.size();
            events_.pop_front();
        }
    }

    // Types that events change: the rows go on as they stand.
    void follow_types(const source_epoch_t& epoch)
    {
        auto& types = types_[epoch.input];
        if (types == epoch.types) return;
        const bool first = types == nullptr;
        types = epoch.types;
        if (!plans_[epoch.input].identical || (first && *types == files_[epoch.input].types)) return;
        plans_[epoch.input] = column_plan_t({epoch.version, *types}, version_, *types, wanted_);
        rows_ = std::make_unique<observation_rows_t>(version_, *types, wanted_, outcome_.losses);
        if (!first) part_->change_types();
    }

    void finish_part()
    {
        if (part_ == nullptr) return;
        const std::unique_ptr<observation_part_t> part = std::move(part_);
        const tally_t& tally = part->tally();
        if (tally.epochs == 0) return;
        if (outcome_.epochs == 0) outcome_.first = tally.first_ms;
        outcome_.last = tally.last_ms;
        if (options_.split > 0) outcome_.units.insert(unit_);
        outcome_.epochs += tally.epochs;
        for (std::size_t i = 0; i < seen_.size(); ++i) seen_[i] = seen_[i] || !tally.values[i].empty();
        const coverage_t coverage = part->coverage();
        const int number = ++names_used_[names_.observations(coverage, 1)];
        finished_.push_back(part->finish(names_.observations(coverage, number)));
        finished_.back().file->close(finished_.back().name);   // many may wait for the end
    }

    std::string why_none() const
    {
        if (outcome_.outside > 0) return std::to_string(outcome_.outside) + " lie outside of the window";
        if (outcome_.off_grid > 0) return "none lies on the grid of the interval";
        return outcome_.empty > 0 ? "nothing that is asked for is in them" : "the file has none that can be read";
    }

    bool has_seen(char system) const
    {
        const std::size_t first = rinex::system_index(system) * tally_t::kNumbers;
        bool any = false;
        for (std::size_t i = 0; i < tally_t::kNumbers; ++i) any = any || seen_[first + i];
        return any;
    }

    void tell()
    {
        outcome_.version = version_;
        outcome_.satellites = seen_.count();
        std::erase_if(outcome_.meanings, [this](const auto& meaning) { return !has_seen(meaning.first[0]); });
        const bool channels = !context_.channels.empty() ||
                              std::any_of(options_.settings.begin(), options_.settings.end(),
                                          [](const auto& set) { return set.label == "GLONASS SLOT / FRQ #"; });
        if (version_ >= 300 && has_seen('R') && !channels)
            outcome_.notes.emplace_back(
                "the frequency numbers of GLONASS are not known: join the navigation file, or "
                "give them by --set \"GLONASS SLOT / FRQ #=...\"");
        outcome_.step = steps_.usual();
        outcome_.gaps = steps_.gaps();
        for (const column_plan_t& plan : plans_) {
            for (const auto& ways : plan.ways) {
                for (const auto& way : ways) {
                    if (way.lost > 0) outcome_.losses.values[way.name] += way.lost;
                }
            }
        }
        outcome_.labels.assign(context_.lost.begin(), context_.lost.end());
    }

    const convert_options_t& options_;
    faults_t& faults_;
    observation_outcome_t& outcome_;
    asked_t wanted_;
    selection_t selection_;
    std::vector<looked_at_t> files_;
    int version_;
    revision_context_t context_;
    revised_names_t names_;
    thinning_t<source_epoch_t> thinning_;
    std::unique_ptr<observation_rows_t> rows_;
    std::vector<column_plan_t> plans_;                                // by source
    std::vector<std::shared_ptr<const rinex::type_names_t>> types_;   // of the rows written last
    std::unique_ptr<observation_part_t> part_;
    std::int64_t unit_ = 0;
    site_changes_t site_;   // since the part in hand began
    std::deque<std::unique_ptr<source_epoch_t>> events_;
    std::size_t waiting_ = 0;   // bytes of them
    std::uint64_t sequence_ = 0;
    bool inside_;
    std::optional<std::int64_t> last_;
    step_counter_t steps_;
    std::bitset<rinex::kSystemCount * tally_t::kNumbers> seen_;   // satellites
    std::map<std::string, int> names_used_;
    std::vector<finished_file_t> finished_;
};

}   // namespace

std::vector<finished_file_t> revise_observations(const convert_options_t& options, const sources_t& paths,
                                                 const maker_t& maker, const std::map<int, int>& channels,
                                                 faults_t& faults, observation_outcome_t& outcome)
{
    return observation_revision_t(options, paths, maker, channels, faults, outcome).run();
}

}   // namespace kvx
