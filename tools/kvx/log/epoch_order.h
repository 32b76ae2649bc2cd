/// @file epoch_order.h  Tells epochs whose time is wrong from a clock that was set back.
#ifndef KVX_EPOCH_ORDER_H
#define KVX_EPOCH_ORDER_H

#include <algorithm>
#include <array>
#include <cstdint>
#include <functional>
#include <utility>

namespace kvx {

/// What the time of an epoch is to those around it.
enum class order_t {
    follows,       ///< later than the one before
    begins_file,   ///< the first one, or the first after a step back
    out,           ///< the epochs before and after it are in order, and it does not lie between them
};

/// Files that the epochs of a log are written to at most: a clock that is set back more often is no clock.
inline constexpr int kMostFilesOfLog = 99;

/// Judges epochs as soon as the next one has come. Only of a first one that is later than the second the third tells
/// which of the two is out. An epoch before all that was judged, with the next one behind it, begins a new file; a gap
/// forward is no fault.
///
/// @tparam Epoch  something that is swapped, not copied
template <typename Epoch>
class epoch_order_t {
public:
    /// Takes a judged epoch, in the order of the log; may exchange it.
    using take_t = std::function<void(Epoch& epoch, order_t order)>;

    /// @param make  an epoch to be given back for the first ones
    template <typename Make>
    epoch_order_t(Make make, take_t take) : take_(std::move(take))
    {
        for (held_t& held : held_) held.epoch = make();
    }

    /// Takes an epoch, and exchanges it for one of no concern.
    /// @param time  ms
    void add(std::int64_t time, Epoch& epoch)
    {
        held_[count_].time = time;
        std::swap(held_[count_].epoch, epoch);
        ++count_;
        while (count_ > 1 && judge(count_)) {
        }
    }

    /// Judges what can be judged by the time (ms) of the epoch to be added next.
    void expect(std::int64_t time)
    {
        held_[count_].time = time;
        while (count_ > 0 && judge(count_ + 1)) {
        }
    }

    /// Judges what is left, at the end of the log: the last one may lie behind a gap, but not before the others.
    void flush()
    {
        if (count_ > 0) give(files_ == 0 ? order_t::begins_file : is_late() ? order_t::out : order_t::follows);
        if (count_ > 0) give(order_t::out);
    }

private:
    struct held_t {
        std::int64_t time = 0;
        Epoch epoch{};
    };

    bool is_late() const { return held_[0].time <= last_; }

    // @param known  times, at least two
    // @return whether the first one could be judged
    bool judge(std::size_t known)
    {
        if (files_ == 0) return judge_first(known);
        const std::int64_t first = held_[0].time, second = held_[1].time;
        const bool back_with_the_next = is_late() && first < second && second <= last_ && files_ < kMostFilesOfLog;
        const bool out = is_late() || (last_ < second && second <= first);
        give(back_with_the_next ? order_t::begins_file : out ? order_t::out : order_t::follows);
        return true;
    }

    bool judge_first(std::size_t known)
    {
        const std::int64_t first = held_[0].time, second = held_[1].time;
        if (first > second && known == 2) return false;
        const bool contradicted = first > second && held_[2].time <= first;
        give(contradicted ? order_t::out : order_t::begins_file);
        return true;
    }

    void give(order_t order)
    {
        if (order != order_t::out) last_ = held_[0].time;
        files_ += order == order_t::begins_file;
        take_(held_[0].epoch, order);
        --count_;
        std::rotate(held_.begin(), held_.begin() + 1, held_.end());
    }

    take_t take_;
    std::array<held_t, 3> held_;
    std::size_t count_ = 0;
    std::int64_t last_ = 0;   // ms, of the last one in order
    int files_ = 0;
};

}   // namespace kvx

#endif
