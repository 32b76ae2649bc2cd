#include "rinex/crinex_compress.h"

#include <algorithm>
#include <charconv>
#include <cstring>

#include "rinex/fixed_point.h"

namespace rinex {

using crinex::columns;
using crinex::label;
using crinex::quoted;
using crinex::trimmed;

namespace {

constexpr std::size_t kPiece = 1 << 16;
constexpr int kOrder = 3;
constexpr std::int64_t kLeap = 10'000'000'000;   // a difference of this size is not written: a series begins anew
constexpr std::size_t kLongestNumber = 24;       // "3&", 19 digits, sign, blank

// Appends n columns of a line, blanks where it has ended.
void append_columns(std::string& to, std::string_view line, std::size_t at, std::size_t n)
{
    const std::size_t size = to.size();
    to.append(columns(line, at, n)).resize(size + n, ' ');
}

char* put_number(char* to, crinex_series_t& series, std::int64_t value)
{
    const auto bits = static_cast<std::uint64_t>(value);
    auto number = static_cast<std::int64_t>(series.number_for(bits));
    if (series.alive() && number > -kLeap && number < kLeap) {
        series.join(static_cast<std::uint64_t>(number));
    } else {
        series.begin(kOrder, bits);
        number = value;
        *to++ = '0' + kOrder;
        *to++ = '&';
    }
    return std::to_chars(to, to + kLongestNumber, number).ptr;
}

}   // namespace

crinex_compressor_t::crinex_compressor_t(sink_t sink, std::string program, std::string date)
    : sink_(std::move(sink)), program_(std::move(program)), date_(std::move(date))
{}

void crinex_compressor_t::put(std::string_view line)
{
    ++line_;
    line = trimmed(line);
    switch (awaits_) {
        case awaits_t::version:
            begin(line);
            break;
        case awaits_t::header:
            note_types(line);
            add_line(line);
            if (label(line) == "END OF HEADER") awaits_ = awaits_t::epoch;
            break;
        case awaits_t::epoch:
            add_epoch(line);
            break;
        case awaits_t::event:
            note_types(line);
            add_line(line);
            if (--left_ == 0) awaits_ = awaits_t::epoch;
            break;
        case awaits_t::satellites:
            demand_blank(line, 0, layout_->list);
            demand_blank(line, layout_->clock.at, line.npos);
            add_satellites(line);
            break;
        case awaits_t::values:
            add_values(line);
            break;
    }
    if (out_.size() >= kPiece) flush();
}

void crinex_compressor_t::finish()
{
    if (awaits_ == awaits_t::version) fail("this is no RINEX observation file");
    if (awaits_ == awaits_t::header) fail("the file ends in its header");
    if (awaits_ != awaits_t::epoch) fail("the file ends in the middle of an epoch");
    flush();
}

void crinex_compressor_t::begin(std::string_view line)
{
    layout_ = &layout_for(line);
    std::string head;
    append_columns(head, layout_->version, 0, 20);
    append_columns(head, "COMPACT RINEX FORMAT", 0, 40);
    add_line(head.append(kVersionLabel));
    head.clear();
    append_columns(head, program_, 0, 40);
    append_columns(head, date_, 0, 20);
    add_line(head.append(kProgramLabel));
    add_line(line);
    awaits_ = awaits_t::header;
}

void crinex_compressor_t::add_epoch(std::string_view line)
{
    if (columns(line, 0, 1) != std::string_view(&layout_->mark, 1)) fail("this is no epoch line");
    count_ = number_of_satellites(line);
    if (is_event(line)) {
        add_line(line);
        out_[out_.size() - line.size() - 1] = layout_->initial;
        initial_ = true;
        left_ = count_;
        if (left_ > 0) awaits_ = awaits_t::event;
        return;
    }
    before_.swap(text_);
    if (initial_) before_.clear();
    text_.clear();
    append_columns(text_, line, 0, layout_->head);
    text_.resize(layout_->list, ' ');
    done_ = 0;
    begin_epoch();
    body_.clear();
    add_clock(line);
    add_satellites(line);
}

void crinex_compressor_t::add_clock(std::string_view line)
{
    const crinex_number_t& clock = layout_->clock;
    const auto width = static_cast<std::size_t>(clock.width);
    demand_blank(line, clock.at + width, line.npos);
    const std::string_view field = columns(line, clock.at, width);
    std::int64_t value = 0;
    std::array<char, kLongestNumber> text{};
    if (field.find_first_not_of(' ') == field.npos) {
        clock_.end();
    } else if (field.size() == width && read_fixed(field.data(), clock.width, clock.decimals, value)) {
        body_.append(text.data(), put_number(text.data(), clock_, value));
    } else {
        fail(quoted(field) + " is no clock offset");
    }
    body_ += '\n';
}

// Satellites that a line of epoch lists; done_ counts them, and then again those whose values have been read.
void crinex_compressor_t::add_satellites(std::string_view line)
{
    const std::size_t n = std::min(layout_->satellites_a_line, count_ - done_), end = layout_->head + kId * n;
    append_columns(text_, line, layout_->head, kId * n);
    demand_blank(line, end, layout_->clock.at);
    done_ += n;
    if (n > 0 && done_ < count_) {
        awaits_ = awaits_t::satellites;
        return;
    }
    done_ = 0;
    record_.clear();
    awaits_ = awaits_t::values;
    if (count_ == 0) end_epoch();
}

void crinex_compressor_t::add_values(std::string_view line)
{
    if (record_.empty()) {
        if (layout_->satellites_a_line == 0) {
            append_columns(text_, line, 0, kId);
            line.remove_prefix(std::min(kId, line.size()));
        }
        satellite_ = &satellite(columns(text_, layout_->list + kId * done_, kId), layout_->no_flag);
    }
    const std::size_t fields = satellite_->series.size() - record_.size() / kField;
    const std::size_t width = kField * std::min(fields, layout_->values_a_line);
    demand_blank(line, width, line.npos);
    append_columns(record_, line, 0, width);
    if (record_.size() == kField * satellite_->series.size()) end_satellite();
}

void crinex_compressor_t::end_satellite()
{
    const std::size_t n = satellite_->series.size(), begin = body_.size();
    flags_.resize(2 * n);
    body_.resize(begin + n * (kLongestNumber + 2) + 1);
    char* const first = body_.data() + begin;
    char* to = first;
    for (std::size_t i = 0; i < n; ++i) to = put_value(to, i);
    to = crinex::put_difference(to, flags_, satellite_->flags);
    while (to > first && to[-1] == ' ') --to;
    *to++ = '\n';
    body_.resize(static_cast<std::size_t>(to - body_.data()));
    satellite_->flags.swap(flags_);
    record_.clear();
    if (++done_ == count_) end_epoch();
}

// One field of the record: its number goes out, its flags are kept for later.
char* crinex_compressor_t::put_value(char* to, std::size_t i)
{
    constexpr char kBlanks[] = "                ";
    const char* const field = &record_[i * kField];
    crinex_series_t& series = satellite_->series[i];
    std::int64_t value = 0;
    if (std::memcmp(field, kBlanks, kValue) == 0) {
        series.end();
        if (!layout_->keeps_lone_flags) {
            if (std::memcmp(field, kBlanks, kField) != 0)
                fail_value(i, "flags beside a blank value, which CRINEX 1.0 cannot hold");
            satellite_->flags.replace(2 * i, 2, 2, ' ');
        }
    } else if (read_fixed(field, kValue, kDecimals, value)) {
        to = put_number(to, series, value);
    } else {
        fail_value(i, quoted({field, kValue}) + " is no value of an observation");
    }
    if (!crinex::is_flag(field[kValue]) || !crinex::is_flag(field[kValue + 1]))
        fail_value(i, quoted({field + kValue, 2}) + " are no flags of an observation");
    std::memcpy(&flags_[2 * i], field + kValue, 2);
    *to++ = ' ';
    return to;
}

// A record is judged when it is complete: the fault may lie some lines above.
void crinex_compressor_t::fail_value(std::size_t i, const std::string& what)
{
    const std::size_t last = satellite_->series.size() - 1, a_line = layout_->values_a_line;
    line_ -= last / a_line - i / a_line;
    fail(what);
}

void crinex_compressor_t::end_epoch()
{
    const std::size_t begin = out_.size();
    out_.resize(begin + std::max(text_.size(), before_.size()));
    const char* const end = crinex::put_difference(out_.data() + begin, text_, before_);
    if (before_.empty()) out_[begin] = layout_->initial;
    out_.resize(static_cast<std::size_t>(end - out_.data()));
    out_.resize(begin + trimmed(columns(out_, begin)).size());
    out_ += '\n';
    out_ += body_;
    awaits_ = awaits_t::epoch;
}

void crinex_compressor_t::add_line(std::string_view line)
{
    out_.append(line) += '\n';
}

void crinex_compressor_t::flush()
{
    sink_(out_);
    out_.clear();
}

}   // namespace rinex
