#include "revise/site_changes.h"

#include <algorithm>

#include "rinex/header.h"

namespace kvx {

namespace {

// Those of which a header has one line each.
constexpr std::string_view kLabels[] = {
    "MARKER NAME",          "MARKER NUMBER",        "MARKER TYPE",          "OBSERVER / AGENCY",
    "REC # / TYPE / VERS",  "ANT # / TYPE",         "APPROX POSITION XYZ",  "ANTENNA: DELTA H/E/N",
    "ANTENNA: DELTA X/Y/Z", "ANTENNA: B.SIGHT XYZ", "ANTENNA: ZERODIR AZI", "ANTENNA: ZERODIR XYZ",
    "CENTER OF MASS: XYZ",
};

template <typename Records>
auto found(Records& records, std::string_view label)
{
    return std::find_if(records.begin(), records.end(), [label](const auto& record) { return record.label == label; });
}

}   // namespace

void site_changes_t::take(const std::vector<rinex::header_record_t>& records)
{
    for (const rinex::header_record_t& record : records) {
        if (std::find(std::begin(kLabels), std::end(kLabels), record.label) == std::end(kLabels)) continue;
        const auto at = found(changes_, record.label);
        if (at == changes_.end()) {
            changes_.push_back(record);
        } else {
            *at = record;
        }
    }
}

void site_changes_t::apply(rinex::file_header_t& header, std::vector<std::string>& lines)
{
    for (rinex::header_record_t& change : changes_) {
        auto at = found(header.records, change.label);
        if (at != header.records.end() && at->text == change.text) continue;
        const bool there = at != header.records.end();
        if (!there) at = found(header.records, "END OF HEADER");
        const auto line = lines.begin() + (at - header.records.begin());
        const std::string text = rinex::header_line(change.text, change.label);
        if (there) {
            *line = text;
            at->text = change.text;
        } else {
            lines.insert(line, text);
            header.records.insert(at, change);
        }
    }
    changes_.clear();
}

}   // namespace kvx
