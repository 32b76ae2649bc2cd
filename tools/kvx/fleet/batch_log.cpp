#include "fleet/batch_log.h"

#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <filesystem>

#include "common/command.h"
#include "common/error.h"
#include "common/gps_time.h"
#include "common/interrupt.h"
#include "common/rinex_file.h"
#include "convert/conversion.h"
#include "convert/file_names.h"
#include "convert/name_pattern.h"
#include "convert/recorder.h"
#include "fleet/json_object.h"

namespace kvx {

namespace {

namespace fs = std::filesystem;

bool is_utf8(const std::string& text)
{
    try {
        static_cast<void>(nlohmann::json(text).dump());
        return true;
    } catch (const nlohmann::json::exception&) {
        return false;
    }
}

std::string spelled(const batch_terms_t& terms, const planned_log_t& log)
{
    std::string all = terms.spelled;
    if (!log.marker.empty()) all += " marker=" + log.marker;
    if (!log.country.empty()) all += " country=" + log.country;
    for (const header_setting_t& line : log.settings) all += " " + line.label + "=" + line.text;
    return all;
}

std::string expanded(const std::string& pattern, const planned_log_t& log)
{
    return expand_fields(pattern, [&log](std::string_view field) -> std::optional<std::string> {
        if (field == "stem") return log_stem(log.path);
        if (field == "dir") return fs::path(log.path).parent_path().filename().string();
        return std::nullopt;
    });
}

convert_options_t options_of(const batch_terms_t& terms, const planned_log_t& log)
{
    convert_options_t options = terms.options;
    options.logs = {log.path};
    options.marker = log.marker.empty() ? expanded(options.marker, log) : log.marker;
    if (!log.country.empty()) options.country = log.country;
    for (header_setting_t& line : options.settings) line.text = expanded(line.text, log);
    options.settings.insert(options.settings.end(), log.settings.begin(), log.settings.end());
    options.tree = expanded(options.tree, log);
    if (const std::string fault = fault_in_tree(options.tree); !fault.empty())
        throw error_t(log.path, "--tree " + options.tree + " " + fault, "");
    return options;
}

class stopwatch_t {
public:
    double seconds() const { return std::chrono::duration<double>(std::chrono::steady_clock::now() - began_).count(); }
    double processor() const { return used() - used_; }

private:
    static double used()
    {
        rusage usage{};
        ::getrusage(RUSAGE_SELF, &usage);
        const auto seconds = [](const timeval& t) {
            return static_cast<double>(t.tv_sec) + 1e-6 * static_cast<double>(t.tv_usec);
        };
        return seconds(usage.ru_utime) + seconds(usage.ru_stime);
    }
    std::chrono::steady_clock::time_point began_ = std::chrono::steady_clock::now();
    double used_ = used();
};

double in_thousandths(double seconds)
{
    return std::round(seconds * 1000.0) / 1000.0;
}

void add_identity(json_object_t& j, const identity_t& i)
{
    j.add("bytes", i.bytes);
    j.add("modified", i.modified);
    if (!i.sha256.empty()) j.add("sha256", i.sha256);
}

json_object_t observations_json(const outcome_t& o)
{
    std::array<std::uint64_t, rinex::kFates> fates{};
    std::uint64_t records = 0;
    for (const signal_count_t& signal : o.signals) {
        records += signal.counts.records();
        for (std::size_t fate = 0; fate < rinex::kFates; ++fate) fates[fate] += signal.counts.fates[fate];
    }
    json_object_t j, left_out;
    for (std::size_t fate = 1; fate < rinex::kFates; ++fate) {
        if (fates[fate] > 0) left_out.add(rinex::kFateNames[fate], fates[fate]);
    }
    j.add("in_log", records);
    j.add("written", fates[0]);
    j.add("left_out", left_out);
    return j;
}

json_object_t losses_json(const summary_t& s)
{
    json_object_t j;
    j.add("bytes", s.lost.bytes());
    j.add("bad_checksum", s.lost.bad_checksum);
    j.add("refused", s.refused);
    if (s.clock.epochs_out > 0) j.add("epochs_out_of_order", s.clock.epochs_out);
    if (!s.source_damage.empty()) j.add("source", s.source_damage);
    return j;
}

void add_counts(json_object_t& j, const summary_t& s)
{
    j.add("epochs", s.outcome->observations.epochs);
    if (s.epochs.epochs > 0) {
        j.add("first_epoch", date_text(s.epochs.first));
        j.add("last_epoch", date_text(s.epochs.last));
        j.add("interval", s.epochs.steps.usual());
        j.add("missing_epochs", s.epochs.steps.missing());
    }
    j.add("observations", observations_json(*s.outcome));
    if (s.outcome->navigation) j.add("ephemerides", s.outcome->navigation->written);
    j.add("lost", losses_json(s));
}

// Enters a conversion, and knows the files of those before it.
class entry_t : public recorder_t {
public:
    entry_t(const batch_terms_t& terms, const planned_log_t& log, ledger_file_t& ledger)
        : terms_(terms), log_(log), ledger_(ledger), identity_(identity_t::of(log.path, false))
    {
        const auto account = terms.book.accounts.find(log.path);
        if (account != terms.book.accounts.end()) account_ = &account->second;
    }

    // Whether the files are those of the log as it is now; what is left of others that were made of it goes. A log that
    // grows while it is read is another one for the next run.
    bool is_done()
    {
        if (terms_.options.checksum) identity_ = identity_t::of(log_.path, true);
        if (account_ == nullptr || !account_->log || !identity_) return false;
        if (!account_->log->same(*identity_) || account_->options != spelled(terms_, log_)) return false;
        if (terms_.options.checksum && account_->log->sha256.empty()) return false;
        for (const auto& [name, file] : account_->files) {
            const auto there = identity_t::of(path_of(name), terms_.options.checksum);
            if (!there || !there->same(file)) return false;
            made_.insert(name);
        }
        remove_stale();
        if (!account_->line.empty()) ledger_.add(account_->line);   // another ledger's
        return true;
    }

    std::string root() const override { return terms_.root; }

    std::string obstacle(const std::string& path) override
    {
        const std::string name = name_of(path);
        if (is_own(name)) return "";
        const auto maker = terms_.book.makers.find(name);
        if (maker == terms_.book.makers.end()) return "the ledger does not tell of it";
        const bool gone = ::access(maker->second.c_str(), F_OK) != 0 && errno == ENOENT;
        if (maker->second == log_.path) return "it is not what was made of the log; remove it, or move it away";
        if (!gone) return "it was made of " + maker->second;
        if (!terms_.options.adopt) return "it was made of " + maker->second + ", which is gone; --adopt replaces it";
        adopted_.insert(maker->second);
        return "";
    }

    // Files that wait for their names are those that get them: should the run be killed in between the next one finds
    // them missing, and that they are its own.
    void record(const summary_t& summary, const std::vector<finished_file_t>& files,
                const std::vector<std::string>& paths) override
    {
        damaged_ = summary.damaged();
        json_object_t line = head(damaged_ ? kDamaged : kDone);
        if (!adopted_.empty()) line.add("instead_of", std::vector<std::string>(adopted_.begin(), adopted_.end()));
        add_counts(line, summary);
        std::vector<json_object_t> all(files.size());
        for (std::size_t i = 0; i < files.size(); ++i) {
            made_.insert(name_of(paths[i]));
            all[i].add("name", name_of(paths[i]));
            add_identity(all[i], identity_t::of(files[i].file->path(), true).value());
        }
        line.add("files", all);
        ledger_.add(line.text());
    }

    void record_failure(std::string_view why)
    {
        json_object_t line = head(kFailed);
        if (why.starts_with(log_.path + ": ")) why.remove_prefix(log_.path.size() + 2);
        line.add("error", why);
        line.add("files", std::vector<json_object_t>());
        ledger_.add(line.text());
    }

    // What earlier conversions made under other names is replaced, too.
    void remove_stale() const
    {
        if (account_ == nullptr) return;
        for (const auto& [name, checksums] : account_->owned) {
            if (made_.count(name) == 0 && is_own(name) && ::unlink(path_of(name).c_str()) != 0)
                throw system_error(path_of(name), "removing what was made of the log before");
        }
    }

    bool damaged() const { return damaged_; }

private:
    // By its contents: what was moved away may have made room for another log's, or somebody else's.
    bool is_own(const std::string& name) const
    {
        if (account_ == nullptr) return false;
        const auto earlier = account_->owned.find(name);
        if (earlier == account_->owned.end()) return false;
        const auto there = identity_t::of(path_of(name), true);
        return there && earlier->second.count(there->sha256) > 0;
    }

    std::string path_of(const std::string& name) const { return (fs::path(terms_.root) / name).string(); }

    std::string name_of(const std::string& path) const
    {
        return fs::path(path).lexically_relative(terms_.root).string();
    }

    json_object_t head(int code) const
    {
        json_object_t line;
        line.add("log", log_.path);
        add_identity(line, identity_.value_or(identity_t{}));
        line.add("options", spelled(terms_, log_));
        line.add("code", code);
        line.add("seconds", in_thousandths(watch_.seconds()));
        line.add("processor_seconds", in_thousandths(watch_.processor()));
        return line;
    }

    const batch_terms_t& terms_;
    const planned_log_t& log_;
    const account_t* account_ = nullptr;   // null: the ledger tells nothing of the log
    ledger_file_t& ledger_;
    stopwatch_t watch_;
    std::optional<identity_t> identity_;
    std::set<std::string> made_, adopted_;   // files; logs
    bool damaged_ = false;
};

}   // namespace

batch_result_t convert_planned(const batch_terms_t& terms, const planned_log_t& log, ledger_file_t& ledger)
{
    entry_t entry(terms, log, ledger);
    try {
        if (entry.is_done()) return batch_result_t::skipped;
        if (!log.fault.empty()) throw error_t(log.path, log.fault, "");
        if (!is_utf8(log.path)) throw error_t(log.path, "is no name in UTF-8", "a ledger can have no others");
        if (kind_of_file(log.path) != file_kind_t::log)
            throw error_t(log.path, "is a RINEX file", "a batch is of logs");
        convert_options_t options = options_of(terms, log);
        options.recorder = &entry;
        convert_logs(options, options.logs);
        entry.remove_stale();
    } catch (const interruption_t&) {
        throw;
    } catch (const std::exception& e) {
        entry.record_failure(e.what());
        throw;
    }
    return entry.damaged() ? batch_result_t::damaged : batch_result_t::converted;
}

void enter_failure(const batch_terms_t& terms, const planned_log_t& log, const std::string& why, ledger_file_t& ledger)
{
    entry_t(terms, log, ledger).record_failure(why);
}

}   // namespace kvx
