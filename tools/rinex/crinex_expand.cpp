#include "rinex/crinex_expand.h"

#include <algorithm>
#include <charconv>
#include <utility>

#include "rinex/fixed_point.h"

namespace rinex {

using crinex::columns;
using crinex::label;
using crinex::quoted;
using crinex::trimmed;

namespace {

constexpr char kNoFlag = ' ';   // a difference against nothing tells every flag, one against blanks as well

}   // namespace

bool crinex_expander_t::is_compact(std::string_view first_line)
{
    return label(first_line) == kVersionLabel;
}

bool crinex_expander_t::next(std::string_view& line)
{
    while (given_ == out_.size()) {
        out_.clear();
        given_ = 0;
        const at_t at = std::exchange(at_, at_t::end);   // where it stays after an error
        if (at == at_t::end) return false;
        try {
            at_ = expand(at);
        } catch (...) {
            out_.clear();
            throw;
        }
    }
    const std::size_t end = out_.find('\n', given_);
    line = columns(out_, given_, end - given_);
    given_ = end + 1;
    return true;
}

// The next compact line, without trailing blanks.
bool crinex_expander_t::take()
{
    if (!compact_.next(in_)) return false;
    ++line_;
    if (in_.size() >= byte_lines_t::kLongest) fail("a line that is too long");
    in_ = trimmed(in_);
    return true;
}

void crinex_expander_t::need()
{
    if (!take()) fail("the file ends behind this line, in the middle of its header or an epoch");
}

crinex_expander_t::at_t crinex_expander_t::expand(at_t at)
{
    switch (at) {
        case at_t::version:
            expand_head();
            return at_t::header;
        case at_t::header:
            need();
            note_types(in_);
            add_line(in_);
            return label(in_) == "END OF HEADER" ? at_t::epoch : at_t::header;
        case at_t::epoch:
            if (!take()) return at_t::end;
            expand_epoch();
            return at_t::epoch;
        case at_t::end:
            break;
    }
    return at_t::end;
}

void crinex_expander_t::expand_head()
{
    if (!take() || !is_compact(in_)) fail("this is no compact RINEX file");
    const std::string version(trimmed(columns(in_, 0, 20)));
    const auto* const layout = std::find_if(kLayouts.begin(), kLayouts.end(),
                                            [&](const crinex_layout_t& known) { return known.version == version; });
    if (version == "3.1") fail("CRINEX 3.1 cannot be expanded: its details are not public");
    if (layout == kLayouts.end()) fail("CRINEX version " + quoted(version) + " is not known");
    need();
    if (label(in_) != kProgramLabel) fail("this is no second line of a compact RINEX file");
    need();
    layout_ = &layout_for(in_);
    if (layout_ != layout) fail("CRINEX " + version + " holds " + std::string(layout->holds) + " only");
    add_line(in_);
}

void crinex_expander_t::expand_epoch()
{
    read_epoch_text();
    if (is_event(text_)) return expand_event();
    const std::size_t count = number_of_satellites(text_);
    const std::size_t size = count == 0 ? std::min(text_.size(), layout_->head) : layout_->list + kId * count;
    if (text_.size() != size) fail("the number of satellites and their list do not agree");
    demand_blank(text_, layout_->head, layout_->list);
    begin_epoch();
    add_epoch_lines(count);
    for (std::size_t i = 0; i < count; ++i) add_satellite(columns(text_, layout_->list + kId * i, kId));
}

void crinex_expander_t::read_epoch_text()
{
    const char first = in_.empty() ? ' ' : in_[0];
    if (first == layout_->initial) {
        text_ = in_;
        text_[0] = layout_->mark;
        initial_ = true;
    } else if (first != ' ') {
        fail("this is no epoch line");
    } else if (initial_) {
        fail("an epoch told as a difference, and there is none before it");
    } else {
        crinex::apply_difference(text_, in_);
        text_.resize(trimmed(text_).size());
    }
}

void crinex_expander_t::expand_event()
{
    if (in_.empty() || in_[0] != layout_->initial) fail("an event told as a difference");
    initial_ = true;
    add_line(text_);
    for (std::size_t left = number_of_satellites(text_); left > 0; --left) {
        need();
        note_types(in_);
        add_line(in_);
    }
}

// What RINEX has in front of the values: the head with the clock, and the satellites where they are listed there.
void crinex_expander_t::add_epoch_lines(std::size_t count)
{
    need();
    const crinex_number_t& clock = layout_->clock;
    const std::size_t a_line = layout_->satellites_a_line;
    record_ = columns(text_, 0, layout_->head + kId * std::min(a_line, count));
    if (in_.empty()) {
        clock_.end();
    } else {
        const auto width = static_cast<std::size_t>(clock.width);
        record_.resize(clock.at + width, ' ');
        if (!read_number(in_, clock_) || !put_fixed(&record_[clock.at], clock.width, clock.decimals, clock_.value()))
            fail(quoted(in_) + " is no clock offset");
    }
    add_line(record_);
    for (std::size_t i = a_line; a_line > 0 && i < count; i += a_line) {
        out_.append(layout_->list, ' ');
        add_line(columns(text_, layout_->list + kId * i, kId * a_line));
    }
}

void crinex_expander_t::add_satellite(std::string_view id)
{
    need();
    satellite_ = &satellite(id, kNoFlag);
    read_values();
    if (layout_->satellites_a_line == 0) out_ += id;
    const std::size_t width = kField * layout_->values_a_line;
    for (std::size_t at = 0; at < record_.size(); at += width) add_line(columns(record_, at, width));
}

void crinex_expander_t::read_values()
{
    const std::size_t n = satellite_->series.size();
    std::string& flags = satellite_->flags;
    record_.assign(n * kField, ' ');
    for (std::size_t i = 0; i < n; ++i) {
        const std::string_view number = in_.substr(0, in_.find(' '));
        in_.remove_prefix(std::min(number.size() + 1, in_.size()));
        crinex_series_t& series = satellite_->series[i];
        if (number.empty()) {
            series.end();
            if (!layout_->keeps_lone_flags) flags.replace(2 * i, 2, 2, kNoFlag);
        } else if (!read_number(number, series) ||
                   !put_fixed(&record_[i * kField], kValue, kDecimals, series.value())) {
            fail(quoted(number) + " leads to no value of an observation");
        }
    }
    crinex::apply_difference(flags, in_);
    if (flags.size() > 2 * n || !std::all_of(flags.begin(), flags.end(), crinex::is_flag))
        fail(quoted(in_) + " leads to no flags of observations");
    for (std::size_t i = 0; i < n; ++i) flags.copy(&record_[i * kField + kValue], 2, 2 * i);
}

// "3&123" begins a series of order 3 with a value, "-45" is the next number of one.
bool crinex_expander_t::read_number(std::string_view text, crinex_series_t& series)
{
    const bool begins = text.size() > 2 && text[1] == '&' && text[0] >= '0' && text[0] <= '9';
    const std::string_view digits = text.substr(begins ? 2 : 0);
    std::int64_t number = 0;
    const auto end = digits.data() + digits.size();
    const auto [stop, error] = std::from_chars(digits.data(), end, number);
    if (stop != end || error != std::errc() || !(begins || series.alive())) return false;
    const auto bits = static_cast<std::uint64_t>(number);
    if (begins) {
        series.begin(text[0] - '0', bits);
    } else {
        series.join(bits);
    }
    return true;
}

void crinex_expander_t::add_line(std::string_view line)
{
    out_.append(trimmed(line)) += '\n';
}

}   // namespace rinex
