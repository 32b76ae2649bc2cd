// kvx summary: the ledgers of batches in one account.
#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <memory>

#include "common/command.h"
#include "common/error.h"
#include "common/json_text.h"
#include "common/output_file.h"
#include "common/publish.h"
#include "common/text_format.h"
#include "fleet/batch_page.h"
#include "fleet/batch_totals.h"
#include "fleet/plan.h"

namespace kvx {

namespace {

constexpr std::size_t kMostNamed = 20;   // in the text; the others stand on the page and in the JSON

struct summary_options_t {
    std::vector<std::string> ledgers;
    std::string list, page;
    bool json = false, force = false;
};

double megabytes(std::uint64_t bytes)
{
    return static_cast<double>(bytes) / 1e6;
}

std::vector<std::string> faults_of(const batch_totals_t& t, std::size_t most)
{
    std::vector<std::string> faults;
    for (const std::string& log : t.without) {
        if (faults.size() < most) faults.push_back(joined({log, "has no line"}, ": "));
    }
    for (const auto& [log, outcome] : t.logs) {
        if (const std::string fault = outcome.fault(); !fault.empty() && faults.size() < most)
            faults.push_back(joined({log, fault}, ": "));
    }
    return faults;
}

void print_text(const batch_totals_t& t)
{
    const outcome_of_log_t& s = t.sum;
    const auto n = [](std::uint64_t number) { return static_cast<unsigned long long>(number); };
    std::printf("%s: %llu converted, %llu damaged, %llu failed", plural(t.logs.size(), "log").c_str(), n(t.converted),
                n(t.damaged), n(t.failed));
    if (!t.without.empty()) std::printf("; %llu planned have no line", n(t.without.size()));
    std::printf("\nread    %12.1f MB, %llu observations, %llu epochs missing\n", megabytes(s.bytes), n(s.in_log),
                n(s.missing_epochs));
    std::printf("written %12.1f MB in %llu files, %llu observations in %llu epochs\n", megabytes(s.bytes_of_files),
                n(s.files), n(s.written), n(s.epochs));
    for (const auto& [reason, count] : s.left_out) std::printf("  %s: %llu\n", reason.c_str(), n(count));
    std::printf("lost    %12llu bytes, %llu wrong checksums, %llu messages refused\n", n(s.lost_bytes),
                n(s.bad_checksum), n(s.refused));
    std::printf("took    %12.1f s of processes, %.1f s of processors", s.seconds, s.processor_seconds);
    if (s.processor_seconds > 0.0)
        std::printf(": %.1f MB of log a second of these", megabytes(s.bytes) / s.processor_seconds);
    std::printf("\n");
    if (t.torn_lines > 0)
        std::printf("%s skipped, as runs leave them that are killed\n", plural(t.torn_lines, "torn line").c_str());
    if (t.not_well() == 0) return;
    std::printf("not well:\n");
    for (const std::string& fault : faults_of(t, kMostNamed)) std::printf("  %s\n", fault.c_str());
    if (t.not_well() > kMostNamed) std::printf("  and %llu more\n", n(t.not_well() - kMostNamed));
}

void print_json(const batch_totals_t& t)
{
    const outcome_of_log_t& s = t.sum;
    const nlohmann::ordered_json j = {
        {"logs", t.logs.size()},
        {"converted", t.converted},
        {"damaged", t.damaged},
        {"failed", t.failed},
        {"without_line", t.without.size()},
        {"bytes", s.bytes},
        {"files", s.files},
        {"bytes_of_files", s.bytes_of_files},
        {"epochs", s.epochs},
        {"missing_epochs", s.missing_epochs},
        {"observations", {{"in_log", s.in_log}, {"written", s.written}, {"left_out", s.left_out}}},
        {"lost",
         {{"bytes", s.lost_bytes},
          {"bad_checksum", s.bad_checksum},
          {"refused", s.refused},
          {"epochs_out_of_order", s.epochs_out_of_order}}},
        {"seconds", s.seconds},
        {"processor_seconds", s.processor_seconds},
        {"torn_lines", t.torn_lines},
        {"not_well", faults_of(t, t.not_well())}};
    std::printf("%s\n", json_text(j).c_str());
}

void write_page(const batch_totals_t& t, const summary_options_t& o)
{
    const std::filesystem::path path(o.page);
    const std::string folder = path.has_parent_path() ? path.parent_path().string() : ".";
    make_folder(folder);
    std::vector<std::string> inputs = o.ledgers;
    if (!o.list.empty()) inputs.push_back(o.list);
    begin_run(inputs);
    auto file = std::make_unique<output_file_t>(folder);
    const std::string page = page_of_batch(t);
    std::fwrite(page.data(), 1, page.size(), file->stream());
    publish(std::move(file), path.filename().string(), o.force);
}

// What is not UTF-8 is replaced there.
std::string name_in_ledgers(const std::string& path)
{
    return nlohmann::json::parse(json_text(path)).get<std::string>();
}

int run(const summary_options_t& options)
{
    std::vector<std::string> planned;
    if (!options.list.empty()) {
        for (const planned_log_t& log : read_list(options.list)) planned.push_back(name_in_ledgers(log.path));
    }
    const batch_totals_t totals = totals_of(options.ledgers, planned);
    if (!options.page.empty()) write_page(totals, options);
    options.json ? print_json(totals) : print_text(totals);
    if (totals.failed > 0 || !totals.without.empty()) return kFailed;
    return totals.damaged > 0 ? kDamaged : kDone;
}

}   // namespace

command_t summary_command(command_line_t& program)
{
    auto options = std::make_shared<summary_options_t>();
    command_line_t app = program.command("summary", "The ledgers of batches in one account");
    app.describe(
        "Of each log the last line counts. Tells what was converted, damaged and failed, what was lost and left out, "
        "and how fast it went.");
    app.exit_codes({{"0", "all logs are well"}, {"1", "a log failed, or has no line"}, {"3", "a log is damaged"}});
    app.example("kvx summary out/kvx-ledger.ndjson", "What became of a batch");
    app.example("kvx summary job/*.ndjson --list logs.txt -o job.html",
                "Of a job on many machines, as a page; of each log "
                "of the list there must be a line");
    app.option("LEDGER", &options->ledgers, "Ledgers as kvx convert --batch writes them", {.required = true});
    app.option("--list", &options->list, "List of the logs that were to be converted", {.type_name = "FILE"});
    app.option("-o,--output", &options->page, "Page to write, x.html", {.type_name = "FILE"});
    app.flag("--force", &options->force, "Replace a page that exists");
    app.flag("--json", &options->json, "Print the account as JSON");
    return {app, [options] { return run(*options); }};
}

}   // namespace kvx
