/// @file pictures.h  The pictures of a page, HTML each; empty where there is nothing to be seen.
#ifndef KVX_REPORT_PICTURES_H
#define KVX_REPORT_PICTURES_H

#include <string>
#include <vector>

#include "info/inspection.h"
#include "info/signal_rows.h"
#include "report/history.h"

namespace kvx::report {

/// What a page is about.
struct subject_t {
    inspection_t& inspection;
    history_t& history;
    std::vector<signal_row_t> signals;
    std::vector<satellite_row_t> satellites;
};

std::string availability_picture(subject_t& subject);
std::string sky_picture(subject_t& subject);
std::string strength_picture(subject_t& subject);
std::string multipath_picture(subject_t& subject);
std::string position_picture(subject_t& subject);
std::string charts(subject_t& subject);

/// The numbers of the charts, for the page's script.
std::string chart_data(subject_t& subject);

/// Signals, satellites, slips, damage and messages, as tables.
std::string all_tables(subject_t& subject);

/// The antenna moved by more than its positions scatter.
bool is_moving(const history_t& history);

/// How far computed positions lie from the receiver's of the same time, on the ground: 95 % of them (m); 0: not known.
double apart(const history_t& history);

/// Azimuths at which most satellites between 10 and 40 degrees were not observed: "90° to 150°"; empty: none.
std::string hidden_sectors(const subject_t& subject);

}   // namespace kvx::report

#endif
