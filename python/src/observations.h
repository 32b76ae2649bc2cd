/// @file observations.h  Observations as columns: what an observation file prints, unrounded.
#ifndef RTK_PYTHON_OBSERVATIONS_H
#define RTK_PYTHON_OBSERVATIONS_H

#include <cstdint>
#include <vector>

#include "column.h"
#include "rinex/ledger.h"
#include "rinex/locks.h"

namespace rtk_python {

/// A row is one signal of one satellite at one epoch.
class observations_t {
public:
    /// @param names, ledger  must outlive it
    observations_t(const rinex::signals_t& names, rinex::ledger_t& ledger);

    /// Takes what can be used of an epoch, satellites and signals in the order of a file.
    /// @param locks  have followed all epochs before it
    /// @return whether there was anything
    bool add(rinex::epoch_t& epoch, rinex::lock_tracker_t& locks);

    struct columns_t {
        column_t<std::int64_t> time;
        column_t<text_t<3>> satellite;
        column_t<text_t<2>> code;
        column_t<double> values[rinex::kKindCount];
        column_t<std::uint8_t> lli;
        column_t<float> lock_time;

        template <typename Visit>
        void each(Visit visit)
        {
            visit(time);
            visit(satellite);
            visit(code);
            for (auto& column : values) visit(column);
            visit(lli);
            visit(lock_time);
        }
    };

    /// The rows so far; there are none then.
    columns_t take() { return std::exchange(columns_, {}); }

private:
    struct row_t;
    row_t extend(std::size_t n);

    const std::vector<text_t<3>> satellites_;     // by place
    std::vector<std::vector<text_t<2>>> codes_;   // by constellation and signal
    rinex::ledger_t& ledger_;
    columns_t columns_;
};

/// All columns by name.
py::dict arrays_of(observations_t::columns_t columns);

}   // namespace rtk_python

#endif
