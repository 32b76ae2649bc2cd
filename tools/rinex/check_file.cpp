#include "rinex/check_file.h"

#include <algorithm>
#include <cstring>

#include "rinex/check_header.h"
#include "rinex/check_navigation.h"
#include "rinex/check_observations.h"
#include "rinex/field_formats.h"

namespace rinex {

namespace {

constexpr std::string_view kCompressedLabel = "CRINEX VERS   / TYPE", kProgramLabel = "CRINEX PROG / DATE";

// Gives a line that was looked at once more, then the rest.
class rest_of_lines_t : public line_source_t {
public:
    rest_of_lines_t(std::string first, line_source_t& rest) : first_(std::move(first)), rest_(rest) {}

    bool next(std::string_view& line) override
    {
        if (given_) return rest_.next(line);
        given_ = true;
        line = first_;
        return true;
    }

private:
    std::string first_;
    line_source_t& rest_;
    bool given_ = false;
};

void check_observations(numbered_lines_t& lines, file_header_t& header, findings_t& findings, file_summary_t& summary)
{
    observation_reader_t reader(lines, header, findings);
    observation_check_t check(header, reader, findings);
    for (read_epoch_t epoch; reader.next(epoch);) check.add(epoch);
    check.finish();
    summary.records = check.epochs();
    summary.satellites = check.satellites();
}

void check_navigation(numbered_lines_t& lines, const file_header_t& header, findings_t& findings,
                      file_summary_t& summary)
{
    navigation_reader_t reader(lines, header, findings);
    navigation_check_t check(header, reader, findings);
    for (read_nav_record_t record; reader.next(record);) check.add(record);
    summary.records = check.records();
    summary.satellites = check.satellites();
}

bool check_lines(line_source_t& source, findings_t& findings, file_summary_t& summary)
{
    numbered_lines_t lines(source);
    file_header_t header;
    if (!read_header(lines, findings, header)) return false;
    summary.version = header.version_text;
    summary.kind = header.is_observation() ? "observation" : header.is_navigation() ? "navigation" : "other";
    check_header(header, findings);
    if (header.is_observation()) check_observations(lines, header, findings, summary);
    if (header.is_navigation()) check_navigation(lines, header, findings, summary);
    const bool readable = header.is_navigation() || (header.is_observation() && header.has_types());
    if (readable && lines.number() == header.end_line) {
        findings.add(rule_t::no_data, header.end_line, 1, "", "nothing follows the header");
    }
    return true;
}

// "dd-Mon-yy hh:mm" behind the program.
bool is_program_line(std::string_view line)
{
    constexpr std::string_view kForm = "00-Aaa-00 00:00";
    const std::string_view date = cut(line, 40, 15);
    if (date.size() != kForm.size() || trimmed(cut(line, 60, 20)) != kProgramLabel) return false;
    return std::equal(date.begin(), date.end(), kForm.begin(), [](char c, char form) {
        return form == '0'   ? is_digit(c) || c == ' '
               : form == 'A' ? c >= 'A' && c <= 'Z'
               : form == 'a' ? c >= 'a' && c <= 'z'
                             : c == form;
    });
}

void check_compressed(const std::string& first, line_source_t& source, findings_t& findings, file_summary_t& summary)
{
    std::string_view line;
    summary.compressed = true;
    summary.kind = "observation";
    const bool second = source.next(line);
    if (!second || !is_program_line(line)) {
        findings.add(rule_t::crinex_prog_date, 2, 1, std::string(kProgramLabel),
                     "program and date are not in their columns");
        return;
    }
    const std::string version(trimmed(std::string_view(first).substr(0, 20)));
    if (version != "1.0" && version != "3.0") {
        findings.add(rule_t::crinex_version, 1, 1, std::string(kCompressedLabel),
                     "'" + version + "' cannot be expanded");
        return;
    }
    // The expander plugs in here: check_lines(expander, findings, summary), then crinex_version against
    // summary.version.
    findings.add(rule_t::crinex_content, 3, 1, "", "compressed files cannot be expanded here");
}

}   // namespace

bool check_file(line_source_t& source, findings_t& findings, file_summary_t& summary)
{
    std::string_view line;
    if (!source.next(line)) return false;
    std::string first(line);
    if (line.find(kCompressedLabel) != std::string_view::npos) {
        check_compressed(first, source, findings, summary);
        return true;
    }
    rest_of_lines_t all(std::move(first), source);
    return check_lines(all, findings, summary);
}

void line_ends_t::add(const char* bytes, std::size_t n)
{
    if (n == 0) return;
    const auto* cr = first_cr_ > 0 ? nullptr : static_cast<const char*>(std::memchr(bytes, '\r', n));
    if (cr != nullptr) first_cr_ = lines_ + 1 + static_cast<std::uint64_t>(std::count(bytes, cr, '\n'));
    lines_ += static_cast<std::uint64_t>(std::count(bytes, bytes + n, '\n'));
    last_ = bytes[n - 1];
}

void line_ends_t::report(findings_t& findings) const
{
    if (first_cr_ > 0) findings.add(rule_t::cr_lf, first_cr_, 1, "", "lines end with CR LF");
    if (last_ != '\n') findings.add(rule_t::last_line_end, lines_ + 1, 1, "", "the last line has no end");
}

}   // namespace rinex
