/// @file verdict.h  Whether a log is usable and what limits it, by simple rules.
#ifndef KVX_REPORT_VERDICT_H
#define KVX_REPORT_VERDICT_H

#include <string>
#include <vector>

#include "report/pictures.h"

namespace kvx::report {

enum class grade_t { good, fair, poor, unknown, none };   // none: the rule is not for such a file

/// A rule and what it says of a log.
struct judgement_t {
    const char* what;    ///< "Observed of possible"
    const char* limit;   ///< what it names as a limit: "satellites not observed"
    const char* unit;    ///< may be empty
    std::string value;
    std::string rule;   ///< "good ≥ 95, fair ≥ 80"
    grade_t grade;
};

struct verdict_t {
    grade_t grade = grade_t::good;   ///< the log's
    std::string usable;              ///< "Usable."
    std::string limits;              ///< what limits it
    std::string content;             ///< what there is of it
    std::vector<judgement_t> judgements;
};

verdict_t verdict_of(const subject_t& subject);

/// "44.2 dB-Hz".
std::string with_unit(const judgement_t& judgement);

/// What the rules are about, with units, in their order.
std::vector<std::string> rule_names();

const char* name_of(grade_t grade);

}   // namespace kvx::report

#endif
