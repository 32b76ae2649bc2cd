#include "common/rinex_file.h"

#include <utility>

#include "common/error.h"
#include "common/interrupt.h"
#include "rinex/line_error.h"

namespace kvx {

file_kind_t kind_of_file(const std::string& path)
{
    input_file_t source(path);
    std::string start(160, '\0');
    start.resize(source.read(reinterpret_cast<std::uint8_t*>(start.data()), start.size()));
    if (!source.damage().empty()) throw error_t(path, source.damage(), "finding out what it is");
    const std::string line = start.substr(0, start.find('\n'));
    if (line.find("CRINEX VERS   / TYPE") != std::string::npos) return file_kind_t::crinex;
    return rinex::is_version_line(line) ? file_kind_t::rinex : file_kind_t::log;
}

bool expanded_lines_t::next(std::string_view& line)
{
    try {
        return expander_.next(line);
    } catch (const rinex::line_error_t& e) {
        damage_ = "line " + std::to_string(e.line()) + " of the compact text: " + e.what();
        return false;
    }
}

rinex_file_t::rinex_file_t(const std::string& path, on_fault_t on_fault, rinex::line_tape_t* tape)
    : path_(path),
      on_fault_(std::move(on_fault)),
      source_(path),
      bytes_([this](char* to, std::size_t n) { return source_.read(reinterpret_cast<std::uint8_t*>(to), n); }),
      expanded_(bytes_),
      lines_(source_of_lines(tape)),
      findings_([this](const rinex::finding_t& finding) { receive(finding); }, ~std::uint64_t{0})
{
    if (!rinex::read_header(lines_, findings_, header_))
        throw error_t(path, "is no RINEX file", "no RINEX VERSION / TYPE in the first line");
    if (!header_.is_observation() && !header_.is_navigation())
        throw error_t(path, "is neither an observation nor a navigation file",
                      "file type " + std::string(1, header_.type));
}

rinex::line_source_t& rinex_file_t::source_of_lines(rinex::line_tape_t* tape)
{
    const bool compact = kind_of_file(path_) == file_kind_t::crinex;
    rinex::line_source_t& lines = compact ? static_cast<rinex::line_source_t&>(expanded_) : bytes_;
    if (tape == nullptr) return lines;
    tape->listen_to(lines);
    return *tape;
}

void rinex_file_t::receive(const rinex::finding_t& finding)
{
    const auto& rule = rinex::rules()[static_cast<std::size_t>(finding.rule)];
    if (!on_fault_ || rule.severity != rinex::severity_t::error) return;
    const std::string& subject = finding.subject.empty() ? rule.concerns : finding.subject;
    on_fault_(place(finding.line) + ": " + subject + ": " + finding.text);
}

void rinex_file_t::finish()
{
    if (interrupted()) throw interruption_t(path_, "at line " + std::to_string(lines_.number()));
    if (!on_fault_) return;
    if (!expanded_.damage().empty()) on_fault_(path_ + ": " + expanded_.damage());
    if (!source_.damage().empty()) on_fault_(place(lines_.number()) + ": " + source_.damage());
}

}   // namespace kvx
