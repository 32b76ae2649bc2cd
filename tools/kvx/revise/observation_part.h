/// @file observation_part.h  One observation file that is made of others.
#ifndef KVX_OBSERVATION_PART_H
#define KVX_OBSERVATION_PART_H

#include <map>
#include <memory>
#include <string>

#include "common/output_file.h"
#include "convert/file_names.h"
#include "convert/packing.h"
#include "revise/header_revision.h"
#include "revise/observation_rows.h"
#include "rinex/relay.h"

namespace kvx {

/// What all files of a run have in common; it outlives them.
struct revision_context_t {
    const convert_options_t& options;
    int version;
    rinex::file_header_t header;   ///< of the first source, with its lines and types
    std::vector<std::string> lines;
    rinex::type_names_t listed;
    maker_t maker;
    char letter = ' ';                           ///< see revised_header_t
    double interval = 0.0;                       ///< s that the header is to say; 0: as it says
    std::map<int, int> channels;                 ///< of GLONASS
    std::map<std::string, std::string> shifts;   ///< of phases, of all sources
    bool may_lose_columns = false;               ///< those that have become empty go
    lost_labels_t lost;
};

class observation_part_t {
public:
    /// @param columns  of its first line
    observation_part_t(revision_context_t& context, rinex::type_names_t columns);

    bool add(const source_epoch_t& epoch, column_plan_t& plan, observation_rows_t& rows);   ///< see observation_rows_t
    void add_event(const source_epoch_t& event, observation_rows_t& rows);

    /// The types change on the way: none of its columns can go.
    void change_types() { changing_ = true; }

    const tally_t& tally() const { return tally_; }
    coverage_t coverage() const;

    /// The file with its whole header, in the form that the options ask for.
    finished_file_t finish(const std::string& name);

private:
    std::string header(const rinex::type_names_t& columns, const tally_t& tally);
    void write(std::string_view text);
    void write_block();
    rinex::column_orders_t used_columns() const;
    bool uses_all(const rinex::column_orders_t& used) const;
    void rewrite(const std::string& header, const rinex::column_orders_t* used, const std::string& name);

    revision_context_t& context_;
    rinex::type_names_t columns_;
    std::unique_ptr<output_file_t> file_;
    std::string block_;
    std::size_t header_size_ = 0;   // 0: not written yet
    tally_t tally_;
    bool changing_ = false;
};

}   // namespace kvx

#endif
