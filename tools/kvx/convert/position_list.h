/// @file position_list.h  Listing of the receiver's positions, a line a fix.
#ifndef KVX_POSITION_LIST_H
#define KVX_POSITION_LIST_H

#include <memory>
#include <optional>
#include <string>

#include "common/output_file.h"
#include "convert/packing.h"
#include "convert/station_messages.h"

namespace kvx {

/// A fix that two messages tell is listed once, as the one with Cartesian coordinates has it.
class position_list_t {
public:
    explicit position_list_t(const convert_options_t& options) : options_(options) {}

    void add(const fix_t& fix);
    bool exists() const { return waiting_.has_value() || file_ != nullptr; }

    /// Leaves nothing of what has been written in memory.
    void bring_to_disk()
    {
        if (file_ != nullptr) std::fflush(file_->stream());
    }

    finished_file_t finish(const std::string& name);

private:
    void write();

    const convert_options_t& options_;
    std::unique_ptr<output_file_t> file_;
    std::optional<fix_t> waiting_;
};

}   // namespace kvx

#endif
