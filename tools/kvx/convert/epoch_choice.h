/// @file epoch_choice.h  Which epochs of a log are used.
#ifndef KVX_EPOCH_CHOICE_H
#define KVX_EPOCH_CHOICE_H

#include <functional>
#include <memory>
#include <optional>
#include <utility>

#include "convert/selection.h"
#include "convert/thinning.h"
#include "rinex/dates.h"
#include "rinex/ledger.h"

namespace kvx {

/// Takes epochs in their order and gives all of them on: those to use, and those outside of the window or off the grid,
/// whose phases are to be followed all the same.
///
/// @tparam Epoch  has a time (ms)
template <typename Epoch>
class epoch_choice_t {
public:
    /// @param fate  written (to be used), outside or off_grid
    using release_t = std::function<void(Epoch& epoch, rinex::fate_t fate)>;

    /// @param options, selection  must outlive it
    epoch_choice_t(const selection_options_t& options, const selection_t& selection, release_t release)
        : options_(options), selection_(selection), release_(std::move(release))
    {}

    /// Before the first epoch, and where the clock was set back: an interval is looked for in what comes from here on.
    void begin()
    {
        flush();
        thinning_.emplace(options_.interval, options_.anchor_first, [this](Epoch& epoch, bool on_grid) {
            release_(epoch, on_grid ? rinex::fate_t::written : rinex::fate_t::off_grid);
        });
    }

    /// Takes an epoch, which it may exchange for another one.
    void take(std::unique_ptr<Epoch>& epoch)
    {
        if (selection_.in_window(epoch->time * rinex::kTicksPerMs)) return thinning_->add(epoch);
        flush();
        release_(*epoch, rinex::fate_t::outside);
    }

    /// At the end; gives on what is still held.
    void flush()
    {
        if (thinning_) thinning_->flush();
    }

private:
    const selection_options_t& options_;
    const selection_t& selection_;
    release_t release_;
    std::optional<thinning_t<Epoch>> thinning_;
};

}   // namespace kvx

#endif
