/// @file lines.h  Header lines that several writers print.
#ifndef RTK_RINEX_LINES_H
#define RTK_RINEX_LINES_H

#include "gnss/rinex/text.h"
#include "rtk_gnss.h"

namespace rinex {

/// A calendar date of a GPS time.
struct date_t {
    int year, month, day, hour, minute;
    double second;
};

/// GetCommonTime() of the record's time; mode as there.
date_t date_of(int week, double tow, double mode = 0.0);

/// Lines with their newline; of the last two the newline is the caller's.
void put_marker_number(text_t& out, const rnx_t& opt);
void put_receiver(text_t& out, const rnx_t& opt);
void put_antenna(text_t& out, const rnx_t& opt, const char (&type)[32]);
void put_vector(text_t& out, double x, double y, double z, std::string_view label);   // "%14.4f" each
void put_glonass_biases(text_t& out, const double (&bias)[4]);
void put_interval(text_t& out, double interval);
void put_time(text_t& out, const date_t& date, std::string_view label);

}   // namespace rinex

#endif
