#include "rinex/relay.h"

#include "rinex/fields.h"
#include "rinex/lines.h"

namespace rinex {

namespace {

constexpr std::size_t kRowOf2 = 5, kSatellitesOf2 = 12;
constexpr std::size_t kFlush = 1 << 18;
constexpr std::size_t kName = 3;   // columns of a satellite's name
constexpr int kSlips = 6;          // flag of records with the form of observations

std::string_view without_blanks(std::string_view line)
{
    return line.substr(0, line.find_last_not_of(' ') + 1);
}

using on_read_t = std::function<void(std::uint64_t)>;

class relay_t {
public:
    relay_t(std::FILE* from, std::FILE* to, const column_orders_t& columns, const on_read_t& on_read)
        : lines_([this, from, &on_read](char* at, std::size_t n) {
              if (on_read) on_read(read_);
              const std::size_t got = std::fread(at, 1, n, from);
              read_ += got;
              return got;
          }),
          to_(to),
          rinex2_(columns.one_list),
          orders_(columns.orders),
          old_rows_((columns.columns + kRowOf2 - 1) / kRowOf2)
    {}

    void run()
    {
        for (std::string_view line; lines_.next(line);) {
            const int flag = line[rinex2_ ? 28 : 31] - '0';
            const int count = number(line.substr(rinex2_ ? 29 : 32, 3));
            put(line);
            if (flag > 1 && flag != kSlips) {
                copy(count);
            } else {
                rinex2_ ? epoch2(static_cast<std::size_t>(count)) : epoch3(count);
            }
            if (out_.size() >= kFlush) flush();
        }
        flush();
    }

private:
    static int number(std::string_view text)
    {
        int n = 0;
        for (const char c : text) n = 10 * n + (c == ' ' ? 0 : c - '0');
        return n;
    }

    void flush()
    {
        (void)std::fwrite(out_.data(), 1, out_.size(), to_);
        out_.clear();
    }

    void put(std::string_view line) { out_.append(without_blanks(line)).push_back('\n'); }

    void copy(int n)
    {
        for (std::string_view line; n > 0 && lines_.next(line); --n) put(line);
    }

    std::string_view field(std::size_t column) const
    {
        const std::size_t at = column * kFieldWidth;
        return at < row_.size() ? std::string_view(row_).substr(at, kFieldWidth) : std::string_view();
    }

    // The columns of a list from place to place, in order, into one line.
    void put_fields(const std::vector<std::size_t>& order, std::size_t begin, std::size_t end)
    {
        for (std::size_t i = begin; i < end; ++i) {
            const std::string_view text = field(order[i]);
            out_.append(text).append(i + 1 < end ? kFieldWidth - text.size() : 0, ' ');
        }
        out_.resize(out_.find_last_not_of(' ') + 1);
        out_.push_back('\n');
    }

    void epoch3(int count)
    {
        for (std::string_view line; count > 0 && lines_.next(line); --count) {
            const std::size_t system = line.size() < kName ? kSystemCount : system_index(line[0]);
            if (system == kSystemCount) {
                put(line);
                continue;
            }
            row_ = line.substr(kName);
            out_.append(line.substr(0, kName));
            const auto& order = orders_[system];
            put_fields(order, 0, order.size());
        }
    }

    void epoch2(std::size_t count)
    {
        if (count > 0) copy(static_cast<int>((count - 1) / kSatellitesOf2));
        const auto& order = orders_[0];
        for (; count > 0; --count) {
            row_.clear();
            std::string_view line;
            for (std::size_t k = 0; k < old_rows_ && lines_.next(line); ++k)
                row_.append(line).resize((k + 1) * kRowOf2 * kFieldWidth, ' ');
            for (std::size_t i = 0; i < order.size(); i += kRowOf2)
                put_fields(order, i, std::min(i + kRowOf2, order.size()));
        }
    }

    std::uint64_t read_ = 0;   // bytes
    byte_lines_t lines_;
    std::FILE* to_;
    bool rinex2_;
    const std::array<std::vector<std::size_t>, kSystemCount>& orders_;
    std::size_t old_rows_;
    std::string row_, out_;
};

}   // namespace

void copy_in_order(std::FILE* from, std::FILE* to, const columns_t& columns, const on_read_t& on_read)
{
    column_orders_t orders{columns.one_list(), columns.size(0), {}};
    if (columns.one_list()) orders.orders[0] = columns.order(0);
    for (std::size_t c = 0; c < kConstellationCount && !columns.one_list(); ++c)
        orders.orders[system_index(kConstellations[c].letter)] = columns.order(c);
    copy_in_order(from, to, orders, on_read);
}

void copy_in_order(std::FILE* from, std::FILE* to, const column_orders_t& columns, const on_read_t& on_read)
{
    relay_t(from, to, columns, on_read).run();
}

}   // namespace rinex
