// kvx check: RINEX files against the published formats.
#include <fnmatch.h>
#include <unistd.h>

#include <algorithm>
#include <memory>

#include "common/batch.h"
#include "common/command.h"
#include "common/error.h"
#include "common/input_file.h"
#include "common/interrupt.h"
#include "common/json_text.h"
#include "common/progress.h"
#include "common/standard_streams.h"
#include "common/text_format.h"
#include "rinex/check_file.h"

namespace kvx {

namespace {

using rinex::findings_t;
using rinex::rules;
using rinex::severity_t;

constexpr std::uint64_t kMostOfARule = 10, kAll = ~std::uint64_t{0};

struct check_options_t {
    std::vector<std::string> files, allow;
    bool json = false, quiet = false, strict = false, all = false, rules = false;
};

const char* name_of(severity_t severity)
{
    return severity == severity_t::error ? "error" : "warning";
}

nlohmann::ordered_json json_of(const rinex::finding_t& finding)
{
    const rinex::rule_info_t& rule = rules()[static_cast<std::size_t>(finding.rule)];
    return {{"rule", rule.id},
            {"severity", name_of(rule.severity)},
            {"line", finding.line},
            {"column", finding.column},
            {"concerns", finding.subject.empty() ? rule.concerns : finding.subject},
            {"text", finding.text}};
}

// Prints the findings of one file as they come, so that many of them take no memory.
class report_t {
public:
    report_t(const input_file_t& file, const check_options_t& options, const std::vector<bool>& allowed)
        : name_(file.name()),
          options_(options),
          findings_([this](const rinex::finding_t& finding) { print(finding); },
                    options.quiet ? 0
                    : options.all ? kAll
                                  : kMostOfARule,
                    allowed)
    {
        if (options.json) std::printf("{\"file\":%s,\"findings\":[", json_text(name_).c_str());
    }

    findings_t& findings() { return findings_; }

    void finish(const rinex::file_summary_t& summary)
    {
        const std::uint64_t errors = findings_.count(severity_t::error),
                            warnings = findings_.count(severity_t::warning);
        const bool navigation = summary.kind == "navigation";
        if (options_.json) {
            std::string end = json_text({{"version", summary.version},
                                         {"kind", summary.kind},
                                         {"compressed", summary.compressed},
                                         {navigation ? "records" : "epochs", summary.records},
                                         {"satellites", summary.satellites},
                                         {"errors", errors},
                                         {"warnings", warnings},
                                         {"counts", counts()}});
            end[0] = ',';   // goes on with the object
            std::printf("]%s\n", end.c_str());
            return;
        }
        if (!options_.quiet) print_left_out();
        std::printf("%s: %sRINEX %s %s, %s, %s: %s, %s\n", name_.c_str(), summary.compressed ? "compressed " : "",
                    summary.version.c_str(), summary.kind.c_str(),
                    plural(summary.records, navigation ? "record" : "epoch").c_str(),
                    plural(summary.satellites, "satellite").c_str(), plural(errors, "error").c_str(),
                    plural(warnings, "warning").c_str());
    }

    // An object that cannot be ended as it should still is one.
    void give_up()
    {
        if (options_.json) std::printf("],\"complete\":false}\n");
    }

private:
    void print(const rinex::finding_t& finding)
    {
        const progress_aside_t aside(STDOUT_FILENO);
        const rinex::rule_info_t& rule = rules()[static_cast<std::size_t>(finding.rule)];
        if (options_.json) {
            std::printf("%s%s", first_ ? "" : ",", json_text(json_of(finding)).c_str());
        } else {
            std::string what = finding.subject + (finding.subject.empty() ? "" : ": ") + finding.text;
            std::replace_if(
                what.begin(), what.end(), [](char c) { return c < ' ' || c > '~'; }, '?');
            std::printf("%s:%llu:%zu: %s: %s: %s\n", name_.c_str(), static_cast<unsigned long long>(finding.line),
                        finding.column, name_of(rule.severity), rule.id.c_str(), what.c_str());
        }
        first_ = false;
        look_at_stdout();
    }

    void print_left_out() const
    {
        for (std::size_t i = 0; i < rules().size(); ++i) {
            const std::uint64_t more = findings_.left_out(static_cast<rinex::rule_t>(i));
            if (more == 0) continue;
            std::printf("%s: %s: %s: and %llu more of this kind\n", name_.c_str(), name_of(rules()[i].severity),
                        rules()[i].id.c_str(), static_cast<unsigned long long>(more));
        }
    }

    nlohmann::ordered_json counts() const
    {
        auto all = nlohmann::ordered_json::object();
        for (std::size_t i = 0; i < rules().size(); ++i) {
            const std::uint64_t n = findings_.count(static_cast<rinex::rule_t>(i));
            if (n > 0) all[rules()[i].id] = n;
        }
        return all;
    }

    std::string name_;
    const check_options_t& options_;
    bool first_ = true;
    findings_t findings_;
};

void read_file(input_file_t& file, findings_t& findings, rinex::file_summary_t& summary)
{
    progress_t progress(file);
    rinex::line_ends_t ends;
    std::uint64_t bytes = 0;
    rinex::byte_lines_t lines([&](char* to, std::size_t n) {
        const std::size_t got = file.read(reinterpret_cast<std::uint8_t*>(to), n);
        ends.add(to, got);
        bytes += got;
        progress.at(file.position_on_disk());
        return got;
    });
    const bool is_rinex = rinex::check_file(lines, findings, summary);
    if (file.ended_by_signal()) throw interruption_t(file.name(), "at byte " + std::to_string(bytes));
    if (!file.damage().empty()) throw error_t(file.name(), file.damage(), "behind byte " + std::to_string(bytes));
    if (!is_rinex) throw error_t(file.name(), "is no RINEX file", "no RINEX VERSION / TYPE in the first line");
    ends.report(findings);
}

// @return whether the file is as it should be
bool check(std::size_t number, const check_options_t& options, const std::vector<bool>& allowed, batch_t& batch)
{
    input_file_t file(options.files[number]);
    report_t report(file, options, allowed);
    rinex::file_summary_t summary;
    try {
        const progress_piece_t piece(number);
        read_file(file, report.findings(), summary);
    } catch (...) {
        report.give_up();
        throw;
    }
    report.finish(summary);
    const findings_t& findings = report.findings();
    const std::uint64_t errors = findings.count(severity_t::error), warnings = findings.count(severity_t::warning);
    if (errors == 0 && (!options.strict || warnings == 0)) return true;
    batch.note(number, "faulty", plural(errors, "error") + ", " + plural(warnings, "warning"));
    return false;
}

// By rule, what the patterns name. A pattern that names none is a mistake.
std::vector<bool> allowed_rules(const std::vector<std::string>& patterns)
{
    std::vector<bool> allowed(rules().size());
    for (const std::string& pattern : patterns) {
        bool any = false;
        for (std::size_t i = 0; i < allowed.size(); ++i) {
            if (fnmatch(pattern.c_str(), rules()[i].id.c_str(), 0) != 0) continue;
            any = allowed[i] = true;
        }
        if (!any) throw usage_error_t("--allow", pattern + " is no rule (see --rules)");
    }
    return allowed;
}

int list_rules(bool json)
{
    for (const rinex::rule_info_t& rule : rules()) {
        if (json) {
            const nlohmann::ordered_json row = {{"rule", rule.id},
                                                {"severity", name_of(rule.severity)},
                                                {"concerns", rule.concerns},
                                                {"text", rule.text}};
            std::printf("%s\n", json_text(row).c_str());
        } else {
            std::printf("%-28s %-7s  %-22s %s\n", rule.id.c_str(), name_of(rule.severity), rule.concerns.c_str(),
                        rule.text.c_str());
        }
    }
    return kDone;
}

int check_all(const check_options_t& options, const std::vector<bool>& allowed, batch_t& batch)
{
    const progress_run_t progress(options.files, options.quiet);
    int code = kDone;
    for (std::size_t i = 0; i < options.files.size() && !interrupted(); ++i) {
        try {
            if (!check(i, options, allowed, batch) && code == kDone) code = kDamaged;
        } catch (const std::exception& e) {
            std::fflush(stdout);
            print_failure(e, options.files[i]);
            batch.failed(i, e);
            code = kFailed;
        }
    }
    return code;
}

int run(const check_options_t& options)
{
    const std::vector<bool> allowed = allowed_rules(options.allow);
    if (options.rules) return list_rules(options.json);
    if (options.files.empty()) throw usage_error_t("FILE is required");
    catch_interrupts();
    batch_t batch(options.files, "files");
    const int code = check_all(options, allowed, batch);
    batch.tell();
    return interrupted() ? interrupt_code() : code;
}

std::vector<std::string> rule_names()
{
    std::vector<std::string> names;
    names.reserve(rules().size());
    for (const rinex::rule_info_t& rule : rules()) names.push_back(rule.id);
    return names;
}

}   // namespace

command_t check_command(command_line_t& program)
{
    auto options = std::make_shared<check_options_t>();
    command_line_t app = program.command("check", "RINEX files against the published formats");
    app.describe(
        "Errors are what the format forbids, warnings what it allows and is unwise. A finding is a line: file, line "
        "and "
        "column, rule.");
    app.example("kvx check rinex/*.rnx", "Findings, and a summary of each file");
    app.example("kvx check --allow 'missing-*,cr-lf' --strict rinex/*.rnx",
                "Some rules are tolerated, all other warnings fail");
    app.option("FILE", &options->files,
               "RINEX files, observation or navigation; .gz is read directly, - is standard input");
    app.option("--allow", &options->allow, "Rules to tolerate, by name or pattern: missing-*,cr-lf",
               {.delimiter = ',', .one_argument = true, .type_name = "RULE", .words = rule_names()});
    app.flag("--all", &options->all, "Print every finding, not only the first ten of a rule");
    app.flag("--strict", &options->strict, "Exit code 3 for warnings, too");
    app.flag("--quiet,-q", &options->quiet, "Print the summary lines alone, and show no progress");
    app.flag("--json", &options->json, "Print an object a file, each on its own line");
    app.flag("--rules", &options->rules, "List the rules");
    app.exit_codes(
        {{"0", "no errors"}, {"1", "a file cannot be read or is no RINEX file"}, {"3", "errors were found"}});
    return {app, [options] { return run(*options); }};
}

}   // namespace kvx
