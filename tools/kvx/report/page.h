/// @file page.h  Whole pages: of one log, and the one that compares several.
#ifndef KVX_REPORT_PAGE_H
#define KVX_REPORT_PAGE_H

#include <string>
#include <utility>
#include <vector>

#include "report/verdict.h"

namespace kvx::report {

/// The page of a log, that needs nothing else.
/// @param index  file name of the page that compares it with others; empty: there is none
std::string page_of(subject_t& subject, const verdict_t& verdict, const std::string& index);

/// A log in the comparison.
struct entry_t {
    std::string log;       ///< path
    std::string page;      ///< file name; empty: the log could not be read
    std::string failure;   ///< why
    grade_t grade = grade_t::unknown;
    std::string usable, limits;
    std::vector<std::string> values;   ///< of the rules
};

/// What the comparison tells of a log.
entry_t entry_of(const subject_t& subject, const verdict_t& verdict, const std::string& page);

/// The page that compares logs.
std::string index_of(const std::vector<entry_t>& entries);

/// A page of sections, each with its title and its HTML; empty ones are left out.
std::string page_of_sections(const std::string& title, const std::string& about,
                             const std::vector<std::pair<std::string, std::string>>& sections);

}   // namespace kvx::report

#endif
