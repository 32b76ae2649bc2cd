#include "revise/observation_part.h"

#include "common/error.h"
#include "common/progress.h"
#include "convert/header_settings.h"

namespace kvx {

namespace {

constexpr std::size_t kBlock = 1 << 18;   // bytes

// What is left of columns, by their new places.
rinex::type_names_t picked(const rinex::type_names_t& columns, const rinex::column_orders_t& used)
{
    rinex::type_names_t names;
    for (std::size_t list = 0; list < columns.size(); ++list) {
        for (const std::size_t i : used.orders[list]) names[list].push_back(columns[list][i]);
    }
    return names;
}

tally_t picked(tally_t tally, const rinex::column_orders_t& used)
{
    for (std::size_t at = 0; at < tally.values.size(); ++at) {
        auto& counts = tally.values[at];
        if (counts.empty()) continue;
        std::vector<std::uint64_t> left;
        for (const std::size_t i : used.orders[used.one_list ? 0 : at / tally_t::kNumbers])
            left.push_back(i < counts.size() ? counts[i] : 0);
        left.resize(left.size() + left.empty());
        counts = left;
    }
    return tally;
}

}   // namespace

observation_part_t::observation_part_t(revision_context_t& context, rinex::type_names_t columns)
    : context_(context),
      columns_(std::move(columns)),
      file_(std::make_unique<output_file_t>(context.options.folder_of(!context.options.packs_observations()), 0))
{
    block_.reserve(2 * kBlock);
}

void observation_part_t::write(std::string_view text)
{
    (void)std::fwrite(text.data(), 1, text.size(), file_->stream());   // the stream keeps its error
}

void observation_part_t::write_block()
{
    if (header_size_ == 0) {
        const std::string text = header(columns_, tally_);
        header_size_ = text.size();
        write(text);
    }
    write(block_);
    block_.clear();
}

bool observation_part_t::add(const source_epoch_t& epoch, column_plan_t& plan, observation_rows_t& rows)
{
    if (!rows.put(epoch, plan, tally_, block_)) return false;
    if (epoch.read.flag <= 1) tally_.add_time(epoch.read.time, epoch.time);
    if (block_.size() >= kBlock) write_block();
    return true;
}

void observation_part_t::add_event(const source_epoch_t& event, observation_rows_t& rows)
{
    if (event.before != event.types) change_types();
    rows.put_event(event, block_);
    if (block_.size() >= kBlock) write_block();
}

coverage_t observation_part_t::coverage() const
{
    const double usual = tally_.steps.usual();
    return {static_cast<double>(tally_.first_ms) / 1000.0, static_cast<double>(tally_.last_ms) / 1000.0,
            usual > 0.0 ? usual : context_.options.interval};
}

std::string observation_part_t::header(const rinex::type_names_t& columns, const tally_t& tally)
{
    const double usual = tally.steps.usual();
    const double interval = context_.interval > 0.0 && usual > 0.0 ? usual : context_.interval;
    const std::string text =
        revised({context_.version, context_.header, context_.lines, context_.listed, columns, tally, context_.maker,
                 context_.letter, interval, context_.channels, context_.shifts},
                context_.lost);
    return with_settings(text, context_.options, 'O', context_.version);
}

// In their order.
rinex::column_orders_t observation_part_t::used_columns() const
{
    rinex::column_orders_t used{context_.version < 300, columns_[0].size(), {}};
    for (std::size_t list = 0; list < columns_.size(); ++list) {
        for (std::size_t i = 0; i < columns_[list].size(); ++i) {
            if (tally_.in_column(list, used.one_list, i) > 0) used.orders[list].push_back(i);
        }
    }
    return used;
}

bool observation_part_t::uses_all(const rinex::column_orders_t& used) const
{
    for (std::size_t list = 0; list < columns_.size(); ++list) {
        if (used.orders[list].size() != columns_[list].size()) return false;
    }
    return true;
}

// Another file with another header, and without the columns that stayed empty.
void observation_part_t::rewrite(const std::string& header, const rinex::column_orders_t* used, const std::string& name)
{
    auto copy = std::make_unique<output_file_t>(context_.options.folder_of(!context_.options.packs_observations()), 0);
    (void)std::fwrite(header.data(), 1, header.size(), copy->stream());
    file_->seek(static_cast<std::int64_t>(header_size_));
    progress_t progress(name, *file_);
    if (used != nullptr) {
        rinex::copy_in_order(file_->stream(), copy->stream(), *used, [&](std::uint64_t n) { progress.at(n); });
    } else {
        block_.resize(kBlock);
        while (const std::size_t n = std::fread(block_.data(), 1, block_.size(), file_->stream()))
            (void)std::fwrite(block_.data(), 1, n, copy->stream());
    }
    if (std::ferror(file_->stream()) != 0) throw error_t(file_->path(), "reading back failed", "completing the header");
    file_ = std::move(copy);
}

finished_file_t observation_part_t::finish(const std::string& name)
{
    const rinex::column_orders_t used = used_columns();
    const bool all = !context_.may_lose_columns || changing_ || tally_.epochs == 0 || uses_all(used);
    const std::string text = all ? header(columns_, tally_) : header(picked(columns_, used), picked(tally_, used));
    if (header_size_ == 0 && all) {   // nothing has been written
        write(text);
        write(block_);
    } else {
        write_block();
        file_->check(name);
        if (all && text.size() == header_size_) {
            file_->seek(0);
            write(text);
        } else {
            rewrite(text, all ? nullptr : &used, name);
        }
    }
    return packed_observations(std::move(file_), name, context_.options);
}

}   // namespace kvx
