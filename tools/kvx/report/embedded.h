/// @file embedded.h  What pages bring with them: styles and scripts, from files beside this one and third_party/uplot.
#ifndef KVX_REPORT_EMBEDDED_H
#define KVX_REPORT_EMBEDDED_H

namespace kvx::report {

extern const char* const kStyle;
extern const char* const kScript;
extern const char* const kChartStyle;
extern const char* const kChartScript;

}   // namespace kvx::report

#endif
