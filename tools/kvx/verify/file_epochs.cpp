#include "verify/file_epochs.h"

#include <algorithm>
#include <cstdlib>
#include <limits>

namespace kvx {

namespace {

rinex::ticks_t first_time(const std::string& path)
{
    rinex_file_t file(path, {});
    rinex::observation_reader_t reader(file.lines(), file.header(), file.findings());
    for (rinex::read_epoch_t epoch; reader.next(epoch);) {
        if (!epoch.is_event() && epoch.has_time) return epoch.time;
    }
    return std::numeric_limits<rinex::ticks_t>::max();
}

}   // namespace

file_epochs_t::file_epochs_t(const std::vector<std::string>& files, verification_t& result) : result_(result)
{
    for (const std::string& file : files) unread_.push_back({file, files.size() > 1 ? first_time(file) : 0});
    std::stable_sort(unread_.begin(), unread_.end(),
                     [](const unread_t& a, const unread_t& b) { return a.first < b.first; });
}

void file_epochs_t::open(std::vector<unread_t>::iterator file)
{
    reader_.reset();
    file_ = std::make_unique<rinex_file_t>(file->path, faults_of(result_));
    reader_.emplace(file_->lines(), file_->header(), file_->findings());
    unread_.erase(file);
    ++types_change_;
}

bool file_epochs_t::begin_run(rinex::ticks_t time)
{
    last_.reset();
    if (unread_.empty()) return false;
    open(std::min_element(unread_.begin(), unread_.end(), [time](const unread_t& a, const unread_t& b) {
        return std::llabs(a.first / 2 - time / 2) < std::llabs(b.first / 2 - time / 2);   // the last may be without end
    }));
    return true;
}

// What begins in a gap of this run may be of another one.
const rinex::read_epoch_t* file_epochs_t::next_file(rinex::ticks_t time, bool expected)
{
    const auto ahead =
        std::find_if(unread_.begin(), unread_.end(), [this](const unread_t& f) { return !last_ || f.first > *last_; });
    auto file = std::find_if(ahead, unread_.end(), [time](const unread_t& f) { return f.first == time; });
    if (file == unread_.end() && expected) file = ahead;
    if (file == unread_.end() || file->first > time) return nullptr;
    open(file);
    return next();
}

bool file_epochs_t::is_usable() const
{
    const char* what = nullptr;
    if (!epoch_.has_time)
        what = "has no time";
    else if (epoch_.flag > 1)
        what = "has no observations by its flag";
    else if (epoch_.picoseconds != 0)
        what = "has picoseconds, the log has none";
    else if (last_ && epoch_.time <= *last_)
        what = "does not follow the one before it";
    if (what == nullptr) return true;
    result_.fault([&] {
        return file_->place(epoch_.line) + ": epoch " + (epoch_.has_time ? rinex::ticks_text(epoch_.time) + " " : "") +
               what;
    });
    return false;
}

const rinex::read_epoch_t* file_epochs_t::next()
{
    while (reader_ && reader_->next(epoch_)) {
        types_change_ += epoch_.is_event() && !epoch_.records.empty();
        if (epoch_.is_event() || !is_usable()) continue;
        last_ = epoch_.time;
        return &epoch_;
    }
    if (reader_) file_->finish();
    reader_.reset();
    return nullptr;
}

}   // namespace kvx
