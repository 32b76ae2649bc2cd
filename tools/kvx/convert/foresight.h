/// @file foresight.h  What a log's observations will be, as samples of it tell.
#ifndef KVX_FORESIGHT_H
#define KVX_FORESIGHT_H

#include <memory>
#include <vector>

#include "common/input_file.h"
#include "convert/convert_options.h"
#include "convert/selection.h"
#include "rinex/observation_text.h"
#include "rinex/ranges.h"

namespace kvx {

/// Samples logs for the columns of their observation file: a file that begins with all of them need not be copied.
class foresight_t {
public:
    static constexpr std::uint64_t kMostSamples = 128;

    /// @param options, selection  must outlive it
    foresight_t(const convert_options_t& options, const selection_t& selection);

    /// Looks at places all over a log: only at plain files, and not at small ones, whose files are copied in a moment.
    void look_at(input_file_t& log, std::uint64_t most_samples = kMostSamples);

    /// nullptr when no log was worth a look.
    const rinex::columns_t* columns() const { return looked_ ? &text_.columns() : nullptr; }

private:
    void sample(input_file_t& log, std::uint64_t offset);
    bool search(int left);
    bool take();
    void on_epoch(rinex::epoch_t& epoch);

    std::unique_ptr<raw_t> frame_;
    std::vector<std::uint8_t> piece_;
    const selection_t& selection_;
    rinex::ledger_t ledger_;   // of no concern
    rinex::range_collector_t ranges_;
    rinex::observation_text_t text_;
    std::vector<char> epoch_text_;   // of no concern either
    bool looked_ = false;
};

}   // namespace kvx

#endif
