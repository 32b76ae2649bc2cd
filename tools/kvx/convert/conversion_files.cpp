#include "convert/conversion_files.h"

#include <algorithm>
#include <iterator>
#include <limits>
#include <utility>

#include "rinex/dates.h"

namespace kvx {

namespace {

constexpr std::size_t kMostEarly = 1 << 14;   // fixes kept

}   // namespace

conversion_files_t::conversion_files_t(const convert_options_t& options, const selection_t& selection,
                                       const station_messages_t& station, const rinex::channels_t& channels,
                                       const rinex::columns_t* foreseen, rinex::ledger_t& ledger, bool as_they_fill)
    : options_(options),
      station_(station),
      as_they_fill_(as_they_fill),
      observations_({[this, &channels, foreseen, &ledger] {
                         return std::make_unique<observation_output_t>(options_, station_.facts(), channels, foreseen,
                                                                       ledger);
                     },
                     [this](const coverage_t& c, int number) { return names(c, number).observations(); },
                     [](observation_output_t& file, const std::string& name) { return file.finish(name); }}),
      navigation_(options, selection),
      positions_(options)
{
    if (options.split > 0) allow_many_files();
}

// A part of one epoch has the interval of those before it.
file_names_t conversion_files_t::names(coverage_t coverage, int number)
{
    if (coverage.interval > 0.0) interval_ = coverage.interval;
    coverage.interval = interval_;
    return names_of_files(options_, coverage, number);
}

void conversion_files_t::enter(std::int64_t time)
{
    if (options_.split > 0) {
        const std::int64_t unit = time / options_.split;
        if (unit_ && *unit_ != unit && observations_.any()) end_part(time);
        unit_ = unit;
    }
    if (!early_.empty()) take_early(options_.join ? time + 1 : (*unit_ + 1) * options_.split);
}

// Up to a time, in order.
void conversion_files_t::take_early(std::int64_t end)
{
    const auto later =
        std::stable_partition(early_.begin(), early_.end(), [end](const fix_t& fix) { return fix.time < end; });
    std::stable_sort(early_.begin(), later, [](const fix_t& a, const fix_t& b) { return a.time < b.time; });
    std::for_each(early_.begin(), later, [this](const fix_t& fix) { positions_.add(fix); });
    early_.erase(early_.begin(), later);
}

void conversion_files_t::add(const fix_t& fix)
{
    const bool early = options_.join || (options_.split > 0 && (!unit_ || fix.time / options_.split > *unit_));
    if (early && early_.size() < kMostEarly) {
        early_.push_back(fix);
    } else {
        positions_.add(fix);
    }
}

void conversion_files_t::bring_to_disk()
{
    observations_.current().bring_to_disk();
    positions_.bring_to_disk();
}

// Navigation data and positions stand beside the observations, under the name of the first file of these.
void conversion_files_t::add_others(std::vector<finished_file_t>& part, const coverage_t& coverage,
                                    const std::string& partial)
{
    const file_names_t its = names(coverage, 1);
    auto navigation = navigation_.finish(station_.facts(), coverage.first,
                                         [&](char letter) { return its.navigation(letter) + partial; });
    std::move(navigation.begin(), navigation.end(), std::back_inserter(part));
    if (positions_.exists()) part.push_back(positions_.finish(its.positions() + partial));
}

void conversion_files_t::end_part(std::int64_t next)
{
    auto [part, coverage] = observations_.part((*unit_ + 1) * options_.split * rinex::kTicksPerMs);
    add_others(part, coverage, "");
    navigation_.begin_part(next);
    keep(std::move(part));
}

// Parts of one name, as a clock that steps back makes them, get numbers.
void conversion_files_t::keep(std::vector<finished_file_t> part)
{
    ++parts_;
    if (as_they_fill_) {
        for (const std::string& path : publish_beside(part, with_number)) paths_.push_back(path);
        return;
    }
    const auto name_of = [](const finished_file_t& file, int number) {
        return number > 1 ? with_number(file.name, number) : file.name;
    };
    int number = 1;
    while (std::any_of(part.begin(), part.end(),
                       [&](const finished_file_t& file) { return names_.count(name_of(file, number)) > 0; }))
        ++number;
    for (finished_file_t& file : part) {
        file.name = name_of(file, number);
        names_.insert(file.name);
        file.file->close(file.name);   // many may wait for the end
        finished_.push_back(std::move(file));
    }
}

std::vector<finished_file_t> conversion_files_t::finish(const std::string& partial)
{
    take_early(std::numeric_limits<std::int64_t>::max());
    if (observations_.any()) {
        std::vector<finished_file_t> part = observations_.finish(partial);
        add_others(part, observations_.coverage(), partial);
        keep(std::move(part));
    }
    return std::move(finished_);
}

std::vector<std::string> conversion_files_t::publish(const std::vector<finished_file_t>& files, const claim_t& claim)
{
    if (!files.empty()) paths_ = kvx::publish(files, claim);
    return paths_;
}

}   // namespace kvx
