#include "revise/observation_source.h"

#include <algorithm>

#include "common/error.h"
#include "revise/header_revision.h"
#include "rinex/dates.h"

namespace kvx {

namespace {

std::string_view scale_name(const rinex::file_header_t& header)
{
    return header.time_system().empty() ? scale_of(header.system) : header.time_system();
}

bool is_types_label(const std::string& label)
{
    return label == "# / TYPES OF OBSERV" || label == "SYS / # / OBS TYPES";
}

}   // namespace

std::size_t source_epoch_t::values() const
{
    return static_cast<std::size_t>(std::count_if(read.values.begin(), read.values.end(),
                                                  [](const rinex::read_value_t& value) { return value.present; }));
}

observation_source_t::observation_source_t(const std::string& path, std::size_t input, faults_t& faults)
    : faults_(faults),
      file_(
          path, [this](const std::string& text) { faults_.add(text); }, &tape_),
      reader_(file_.lines(), file_.header(), file_.findings()),
      input_(input),
      scale_(scale_name(file_.header()), file_.header().leap_seconds())
{
    if (!header().is_observation()) throw error_t(path, "is no observation file", "");
    listed_ = types_ = std::make_shared<const rinex::type_names_t>(names_of(header()));
    header_lines_ = kvx::header_lines(header(), tape_);
    tape_.forget_before(file_.lines().number() + 1);
}

void observation_source_t::take_text(source_epoch_t& epoch)
{
    const std::string_view text = tape_.lines(epoch.read.line, file_.lines().number());
    epoch.text.assign(text);
    epoch.begins.clear();
    for (std::size_t at = 0; at < text.size(); at = text.find('\n', at) + 1) epoch.begins.push_back(at);
    epoch.begins.push_back(text.size());
    tape_.forget_before(file_.lines().number() + 1);
}

// Types that an event changes.
void observation_source_t::follow_types(source_epoch_t& epoch)
{
    epoch.before = types_;
    const auto& records = epoch.read.records;
    if (std::any_of(records.begin(), records.end(), [](const auto& record) { return is_types_label(record.label); })) {
        rinex::type_names_t names = names_of(header());
        if (names != *types_) types_ = std::make_shared<const rinex::type_names_t>(std::move(names));
    }
    epoch.types = types_;
}

bool observation_source_t::next(source_epoch_t& epoch)
{
    const std::uint64_t faults = faults_.count;
    do {
        if (!reader_.next(epoch.read)) {
            file_.finish();
            return false;
        }
        take_text(epoch);
        if (epoch.text.empty()) faults_.add(file_.place(epoch.read.line) + ": an epoch of more than 64 MB");
    } while (epoch.text.empty());
    if (epoch.read.has_time) time_ = milliseconds(scale_.gps(epoch.read.time));
    epoch.time = time_;
    epoch.input = input_;
    epoch.version = header().version;
    follow_types(epoch);
    epoch.faulty = faults_.count != faults;
    return true;
}

}   // namespace kvx
