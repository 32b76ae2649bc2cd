#include "verify/file_epochs.h"

#include <algorithm>
#include <limits>

namespace kvx {

namespace {

rinex::ticks_t first_time(const std::string& path)
{
    rinex_file_t file(path, nullptr);
    rinex::observation_reader_t reader(file.lines(), file.header(), file.findings());
    for (rinex::read_epoch_t epoch; reader.next(epoch);) {
        if (!epoch.is_event() && epoch.has_time) return epoch.time;
    }
    return std::numeric_limits<rinex::ticks_t>::max();
}

}   // namespace

file_epochs_t::file_epochs_t(const std::vector<std::string>& files, verification_t& result)
    : result_(result), files_(files)
{
    if (files_.size() > 1) {
        std::vector<std::pair<rinex::ticks_t, std::string>> order;
        for (const std::string& file : files_) order.emplace_back(first_time(file), file);
        std::sort(order.begin(), order.end());
        for (std::size_t i = 0; i < order.size(); ++i) files_[i] = order[i].second;
    }
    open(0);
}

void file_epochs_t::open(std::size_t file)
{
    at_ = file;
    reader_.reset();
    file_ = std::make_unique<rinex_file_t>(files_[file], &result_);
    reader_.emplace(file_->lines(), file_->header(), file_->findings());
    ++types_change_;
}

// The next epoch or event of any file.
bool file_epochs_t::read()
{
    for (;;) {
        if (reader_->next(epoch_)) return true;
        file_->finish();
        if (at_ + 1 == files_.size()) return false;
        open(at_ + 1);
    }
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
    while (read()) {
        types_change_ += epoch_.is_event() && !epoch_.records.empty();
        if (epoch_.is_event() || !is_usable()) continue;
        last_ = epoch_.time;
        return &epoch_;
    }
    return nullptr;
}

}   // namespace kvx
