#include "convert/navigation_output.h"

#include <algorithm>
#include <cmath>

#include "common/error.h"
#include "common/gps_time.h"
#include "convert/header_settings.h"
#include "rinex/dates.h"

namespace kvx {

namespace {

constexpr std::int64_t kOfUse = 4 * 3600;   // s, behind the time of an ephemeris: the fit interval of GPS

}   // namespace

navigation_output_t::navigation_output_t(const convert_options_t& options, const selection_t& selection)
    : options_(options),
      selection_(selection),
      version_(options.version()),
      mixed_(options.navigation() == "mixed"),
      wanted_(options.navigation() != "none")
{}

// In RINEX 2.11 by default those that it knows: others are written for who asks.
bool navigation_output_t::has_file(int constellation) const
{
    return version_ >= 300 || !options_.nav.empty() || constellation == rinex::kGps || constellation == rinex::kGlonass;
}

void navigation_output_t::spool(const std::string& text, entry_t entry)
{
    if (spool_ == nullptr) spool_ = std::make_unique<output_file_t>(options_.folder_of(false));
    std::fwrite(text.data(), 1, text.size(), spool_->stream());
    entry.size = static_cast<std::uint32_t>(text.size());
    entry.at = spooled_;
    spooled_ += entry.size;
    entries_.push_back(entry);
}

void navigation_output_t::add(const rinex::ephemeris_record_t& r, bool repetition)
{
    count_.found += !repetition;
    if (!wanted_ || (repetition && !options_.nav_repeats) || !selection_.wants(r.satellite)) return;
    if (!has_file(r.satellite.constellation)) return;
    const std::string text = rinex::nav_text(version_, r);
    const entry_t entry{r.epoch, r.satellite, r.message, 0, 0};
    spool(text, entry);
    if (options_.split > 0) {
        newest_t& newest = newest_[{r.satellite, r.message}];
        if (newest.text.empty() || newest.entry.time <= entry.time) newest = {text, entry};
    }
    ++count_.written;
    count_.blanks += numbers_without_room(r);
}

// In front of the satellites of its time.
void navigation_output_t::spool_ion_utc()
{
    constexpr int kFirstWithRecords = 400;
    if (!wanted_ || version_ < kFirstWithRecords || !(mixed_ || options_.wants(SYS_GPS))) return;
    const rinex::ion_utc_record_t& told = *messages_.ion_utc();
    spool(rinex::ion_utc_text(told), {told.sent, {rinex::kGps, 0}, rinex::nav_message_t::lnav, 0, 0});
}

void navigation_output_t::begin_part(std::int64_t from)
{
    spool_.reset();
    entries_.clear();
    spooled_ = 0;
    if (messages_.ion_utc()) spool_ion_utc();
    std::erase_if(newest_, [from](const auto& n) { return n.second.entry.time < from / 1000 - kOfUse; });
    for (const auto& [key, newest] : newest_) spool(newest.text, newest.entry);
}

decode_result_t navigation_output_t::take(int id, std::int64_t sent, const std::uint8_t* body, int size)
{
    const decode_result_t result = messages_.take(
        id, sent, body, size, [this](const rinex::ephemeris_record_t& r, bool repetition) { add(r, repetition); });
    if (messages_.ion_utc_is_new()) spool_ion_utc();
    return result;
}

finished_file_t navigation_output_t::write(char letter, const rinex::station_t& station, int leap_seconds,
                                           const std::string& name)
{
    const int one = letter == 'M' ? -1 : rinex::constellation_of(letter);
    std::string system(1, letter);
    if (letter == 'M' && std::all_of(entries_.begin(), entries_.end(), [&](const entry_t& e) {
            return e.satellite.constellation == entries_[0].satellite.constellation;
        }))
        system = entries_[0].satellite.letter();
    auto file = std::make_unique<output_file_t>(options_.folder_of(!options_.packs()));
    const bool tells_ion_utc = letter == 'M' || letter == 'G';   // of use to all, told by GPS
    const auto ion_utc = tells_ion_utc ? messages_.ion_utc() : std::nullopt;
    const std::string header = with_set_lines(
        rinex::nav_header(version_, {station.program, station.run_by, station.date, system, ion_utc, leap_seconds}),
        options_, 'N', version_);
    std::fwrite(header.data(), 1, header.size(), file->stream());
    std::string text;
    for (const entry_t& entry : entries_) {
        if (one >= 0 && entry.satellite.constellation != one) continue;
        text.resize(entry.size);
        spool_->seek(entry.at);
        if (std::fread(text.data(), 1, text.size(), spool_->stream()) != text.size())
            throw error_t(spool_->path(), "reading back failed", "writing " + name);
        std::fwrite(text.data(), 1, text.size(), file->stream());
    }
    return packed(std::move(file), name, options_);
}

std::vector<finished_file_t> navigation_output_t::finish(const rinex::station_t& station, double first_epoch,
                                                         const std::function<std::string(char)>& name_of)
{
    std::vector<finished_file_t> files;
    if (spool_ == nullptr) return files;
    const int leaps = leap_seconds().value_or(rinex::leap_seconds(first_epoch));
    spool_->check("the navigation data");
    std::sort(entries_.begin(), entries_.end(),
              [](const entry_t& a, const entry_t& b) { return a.order() < b.order(); });
    if (mixed_) {
        files.push_back(write('M', station, leaps, name_of('M')));
        return files;
    }
    for (const rinex::constellation_t& c : rinex::kConstellations) {
        const bool any = std::any_of(entries_.begin(), entries_.end(),
                                     [&](const entry_t& e) { return e.satellite.letter() == c.letter; });
        if (any) files.push_back(write(c.letter, station, leaps, name_of(c.letter)));
    }
    return files;
}

}   // namespace kvx
