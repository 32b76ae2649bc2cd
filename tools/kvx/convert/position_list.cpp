#include "convert/position_list.h"

#include <rtk_gnss.h>

namespace kvx {

void position_list_t::add(const fix_t& fix)
{
    if (!options_.position_listing) return;
    if (waiting_ && waiting_->time == fix.time) {
        if (fix.cartesian) waiting_ = fix;
        return;
    }
    write();
    waiting_ = fix;
}

void position_list_t::write()
{
    if (!waiting_) return;
    if (file_ == nullptr) file_ = std::make_unique<output_file_t>(options_.folder);
    constexpr std::int64_t kWeekMs = 604800000;
    const auto record = std::make_unique<raw_t>();
    record->week = static_cast<std::uint16_t>(waiting_->time / kWeekMs);
    record->tow = static_cast<double>(waiting_->time % kWeekMs) / 1000.0;
    std::copy(waiting_->position.begin(), waiting_->position.end(), record->pos);
    WriteBestxyzFile(file_->stream(), record.get());
    waiting_.reset();
}

finished_file_t position_list_t::finish(const std::string& name)
{
    write();
    file_->check(name);
    return {std::move(file_), name};
}

}   // namespace kvx
