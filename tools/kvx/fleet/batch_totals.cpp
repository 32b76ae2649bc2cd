#include "fleet/batch_totals.h"

#include <nlohmann/json.hpp>

#include "common/command.h"
#include "common/text_format.h"
#include "fleet/batch_ledger.h"

namespace kvx {

namespace {

using nlohmann::json;

outcome_of_log_t outcome_in(const json& line)
{
    outcome_of_log_t o;
    o.code = line.at("code").get<int>();
    o.bytes = line.at("bytes").get<std::uint64_t>();
    o.seconds = line.at("seconds").get<double>();
    o.processor_seconds = line.at("processor_seconds").get<double>();
    for (const json& file : line.at("files")) {
        ++o.files;
        o.bytes_of_files += file.at("bytes").get<std::uint64_t>();
    }
    o.error = line.value("error", "");
    if (o.code == kFailed) return o;
    o.epochs = line.at("epochs").get<std::uint64_t>();
    o.missing_epochs = line.value("missing_epochs", std::uint64_t{0});
    const json& observations = line.at("observations");
    o.in_log = observations.at("in_log").get<std::uint64_t>();
    o.written = observations.at("written").get<std::uint64_t>();
    o.left_out = observations.at("left_out").get<std::map<std::string, std::uint64_t>>();
    const json& lost = line.at("lost");
    o.lost_bytes = lost.at("bytes").get<std::uint64_t>();
    o.bad_checksum = lost.at("bad_checksum").get<std::uint64_t>();
    o.refused = lost.at("refused").get<std::uint64_t>();
    o.epochs_out_of_order = lost.value("epochs_out_of_order", std::uint64_t{0});
    o.source = lost.value("source", "");
    return o;
}

}   // namespace

outcome_of_log_t& outcome_of_log_t::operator+=(const outcome_of_log_t& other)
{
    bytes += other.bytes;
    files += other.files;
    bytes_of_files += other.bytes_of_files;
    epochs += other.epochs;
    missing_epochs += other.missing_epochs;
    in_log += other.in_log;
    written += other.written;
    lost_bytes += other.lost_bytes;
    bad_checksum += other.bad_checksum;
    refused += other.refused;
    epochs_out_of_order += other.epochs_out_of_order;
    seconds += other.seconds;
    processor_seconds += other.processor_seconds;
    for (const auto& [reason, n] : other.left_out) left_out[reason] += n;
    return *this;
}

std::string outcome_of_log_t::fault() const
{
    if (code == kDone) return "";
    if (code == kFailed) return "failed: " + error;
    std::vector<std::string> parts;
    if (!source.empty()) parts.push_back(source);
    if (lost_bytes > 0) parts.push_back(plural(lost_bytes, "byte") + " lost");
    if (bad_checksum > 0) parts.push_back(plural(bad_checksum, "wrong checksum"));
    if (refused > 0) parts.push_back(plural(refused, "message") + " refused");
    if (epochs_out_of_order > 0) parts.push_back(plural(epochs_out_of_order, "epoch") + " out of order");
    return "damaged" + std::string(parts.empty() ? "" : ": ") + joined(parts, ", ");
}

batch_totals_t totals_of(const std::vector<std::string>& ledgers, const std::vector<std::string>& planned)
{
    batch_totals_t totals;
    for (const std::string& path : ledgers) {
        totals.torn_lines += read_ledger(path, [&totals](const json& line, std::string_view) {
            for (const std::string& other : adopted_in(line)) totals.logs.erase(other);
            totals.logs[line.at("log").get<std::string>()] = outcome_in(line);
        });
    }
    for (const auto& [log, outcome] : totals.logs) {
        if (outcome.code != kFailed) totals.sum += outcome;
        ++(outcome.code == kDone ? totals.converted : outcome.code == kFailed ? totals.failed : totals.damaged);
    }
    for (const std::string& log : planned) {
        if (totals.logs.count(log) == 0) totals.without.push_back(log);
    }
    return totals;
}

}   // namespace kvx
