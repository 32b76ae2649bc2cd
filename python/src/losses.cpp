#include "losses.h"

#include <pybind11/stl.h>

namespace rtk_python {

namespace {

py::list places_of(const kvx::log_reader_t& reader)
{
    py::list places;
    for (const kvx::damage_t& d : reader.damage()) places.append(py::make_tuple(d.offset, d.bytes, d.cause));
    return places;
}

// Observations by what became of them.
py::dict fates_of(const rinex::ledger_t& ledger)
{
    py::dict fates;
    for (std::size_t i = 1; i < rinex::kFates; ++i) {
        const std::uint64_t n = ledger.count(static_cast<rinex::fate_t>(i));
        if (n > 0) fates[rinex::kFateNames[i]] = n;
    }
    return fates;
}

py::dict messages_of(const kvx::summary_t& summary)
{
    py::dict messages;
    for (const auto& [id, count] : summary.messages) messages[py::int_(id)] = count.frames;
    return messages;
}

}   // namespace

py::dict losses_of(log_source_t& log)
{
    const kvx::summary_t& s = log.summary();
    const kvx::losses_t& lost = log.feed().reader().losses();
    py::dict all;
    all["bytes"] = log.feed().reader().bytes();
    all["good_bytes"] = lost.good_bytes;
    all["skipped_bytes"] = lost.skipped_bytes;
    all["bad_checksum"] = lost.bad_checksum;
    all["bad_checksum_bytes"] = lost.bad_checksum_bytes;
    all["too_long"] = lost.too_long;
    all["too_long_bytes"] = lost.too_long_bytes;
    all["torn_bytes"] = lost.torn_bytes;
    all["refused"] = s.refused;
    all["epochs_out_of_order"] = s.clock.epochs_out;
    all["clock_steps_back"] = s.clock.steps_back;
    all["cut_off"] = text_with_path(log.source().told(log.feed().source().damage()));
    all["places"] = places_of(log.feed().reader());
    all["observations"] = fates_of(log.ledger());
    all["messages"] = messages_of(s);
    return all;
}

}   // namespace rtk_python
