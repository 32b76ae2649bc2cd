#include "gnss/rinex/nav_record.h"

#include "gnss/foundation/numbers.h"
#include "gnss/rinex/nav_number.h"

namespace rinex {

namespace {

constexpr int kRinex3Indent = 4;

// Seconds are rounded without a carry: 59.6 is printed as 60.
void put_epoch_rinex3(text_t& out, char letter, int number, const date_t& d)
{
    out.put(letter).integer(number, 2, '0').put(' ').integer(d.year, 4);
    for (const int part : {d.month, d.day, d.hour, d.minute, int_part(d.second + 0.5)}) {
        out.put(' ').integer(part, 2, '0');
    }
}

void put_epoch_rinex2(text_t& out, int number, const date_t& d)
{
    out.integer(number, 2).put(' ').integer(d.year % 100, 2, '0');
    for (const int part : {d.month, d.day, d.hour, d.minute}) out.put(' ').integer(part, 2, '0');
    out.put(' ').fixed(d.second, 4, 1);
}

}   // namespace

nav_record_t::nav_record_t(const nav_system_t& system, int version, int number, const date_t& date,
                           std::initializer_list<double> clock)
    : indent_(system.is_rinex3(version) ? kRinex3Indent : system.rinex2_indent)
{
    if (system.is_rinex3(version)) {
        put_epoch_rinex3(out_, system.letter, number, date);
    } else {
        put_epoch_rinex2(out_, number, date);
    }
    put(clock);
}

void nav_record_t::put(std::initializer_list<double> numbers)
{
    for (const double x : numbers) put_nav_number(out_, x, kRecordDigits);
}

nav_record_t& nav_record_t::line(std::initializer_list<double> numbers)
{
    out_.put('\n').blanks(indent_);
    put(numbers);
    return *this;
}

int nav_record_t::write(std::FILE* fp)
{
    out_.put('\n').write(fp);
    return 1;
}

}   // namespace rinex
