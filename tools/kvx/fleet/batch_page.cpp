#include "fleet/batch_page.h"

#include <algorithm>

#include "common/text_format.h"
#include "report/markup.h"
#include "report/page.h"

namespace kvx {

namespace {

using namespace report;

constexpr std::size_t kMostNamed = 1000;   // logs in a table: a page is to be looked at
constexpr std::size_t kSlowest = 10;

std::string megabytes(std::uint64_t bytes)
{
    return fixed(static_cast<double>(bytes) / 1e6, 1) + " MB";
}

std::string a_second(std::uint64_t bytes, double seconds)
{
    return seconds > 0.0 ? fixed(static_cast<double>(bytes) / 1e6 / seconds, 1) + " MB" : "-";
}

std::string totals_table(const batch_totals_t& t)
{
    const outcome_of_log_t& s = t.sum;
    return table({{"What", "In all"},
                  {{"Logs", grouped(t.logs.size())},
                   {"Logs converted", grouped(t.converted)},
                   {"Logs damaged", grouped(t.damaged)},
                   {"Logs failed", grouped(t.failed)},
                   {"Logs planned that have no line", grouped(t.without.size())},
                   {"Read of logs that did not fail", megabytes(s.bytes)},
                   {"Written", megabytes(s.bytes_of_files) + " in " + grouped(s.files) + " files"},
                   {"Epochs written", grouped(s.epochs)},
                   {"Epochs missing", grouped(s.missing_epochs)},
                   {"Observations sent", grouped(s.in_log)},
                   {"Observations written", grouped(s.written) + ", " + percent(s.written, s.in_log)},
                   {"Bytes lost", grouped(s.lost_bytes)},
                   {"Wrong checksums", grouped(s.bad_checksum)},
                   {"Messages refused", grouped(s.refused)},
                   {"Epochs out of order", grouped(s.epochs_out_of_order)}}});
}

std::string speed_table(const batch_totals_t& t)
{
    const outcome_of_log_t& s = t.sum;
    return table(
        {{"What", "In all", "Log a second"},
         {{"Time of the processes", fixed(s.seconds, 1) + " s", a_second(s.bytes, s.seconds)},
          {"Time of processors", fixed(s.processor_seconds, 1) + " s", a_second(s.bytes, s.processor_seconds)}}});
}

std::string reasons_table(const batch_totals_t& t)
{
    table_t reasons{{"Observations left out", "Number"}, {}};
    for (const auto& [reason, n] : t.sum.left_out) reasons.rows.push_back({reason, grouped(n)});
    return reasons.rows.empty() ? "" : table(reasons);
}

std::string faults_table(const batch_totals_t& t)
{
    table_t faults{{"Log", "What is wrong"}, {}, true};
    const auto add = [&faults](const std::string& log, const std::string& fault) {
        if (!fault.empty() && faults.rows.size() < kMostNamed) faults.rows.push_back({log, fault});
    };
    for (const std::string& log : t.without) add(log, "has no line");
    for (const auto& [log, outcome] : t.logs) add(log, outcome.fault());
    if (faults.rows.empty()) return "";
    const std::uint64_t more = t.not_well() - faults.rows.size();
    return table(faults) + (more > 0 ? element("p", "", "and " + grouped(more) + " more") : "");
}

std::string slowest_table(const batch_totals_t& t)
{
    using row_t = std::pair<double, std::string>;
    std::vector<row_t> logs;
    for (const auto& [log, outcome] : t.logs) logs.emplace_back(outcome.seconds, log);
    const std::size_t n = std::min(kSlowest, logs.size());
    std::partial_sort(logs.begin(), logs.begin() + static_cast<std::ptrdiff_t>(n), logs.end(), std::greater<>());
    table_t slowest{{"Log", "Seconds", "Size"}, {}};
    for (std::size_t i = 0; i < n; ++i)
        slowest.rows.push_back({logs[i].second, fixed(logs[i].first, 3), megabytes(t.logs.at(logs[i].second).bytes)});
    return table(slowest);
}

}   // namespace

std::string page_of_batch(const batch_totals_t& t)
{
    const std::string about = t.not_well() == 0 ? "All of them are well." : "Not well: " + grouped(t.not_well()) + ".";
    return page_of_sections(plural(t.logs.size(), "log"), about,
                            {{"Totals", totals_table(t)},
                             {"Not well", faults_table(t)},
                             {"Left out", reasons_table(t)},
                             {"Speed", speed_table(t)},
                             {"The slowest", slowest_table(t)}});
}

}   // namespace kvx
