#include "fleet/batch_log.h"

#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cmath>
#include <filesystem>

#include "common/ascii.h"
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
    std::string all = terms.options.spelled;
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
    options.marker = log.marker.empty() ? to_ascii(expanded(options.marker, log)).value_or("").substr(0, kMarkerColumns)
                                        : log.marker;
    if (!log.country.empty()) options.country = log.country;
    options.settings.insert(options.settings.end(), log.settings.begin(), log.settings.end());
    for (header_setting_t& line : options.settings) line.text = expanded(line.text, log);
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

bool is_gone(const std::string& log)
{
    return ::access(log.c_str(), F_OK) != 0 && (errno == ENOENT || errno == ENOTDIR);
}

// Enters a conversion, and knows the files of those before it.
class entry_t : public recorder_t {
public:
    entry_t(const batch_terms_t& terms, const planned_log_t& log, ledger_file_t& ledger)
        : terms_(terms),
          log_(log),
          account_(terms.book.account(log.path)),
          ledger_(ledger),
          identity_(identity_t::of(log.path, false))
    {}

    // A log that grows while it is read is another one for the next run. What another ledger tells the batch's own is
    // to tell, too.
    void begin()
    {
        if (terms_.options.checksum) identity_ = identity_t::of(log_.path, true);
        if (account_ != nullptr && !account_->line.empty()) ledger_.add(account_->line);
    }

    // Whether the files are those of the log as it is now.
    bool is_done() const
    {
        const bool checksum = terms_.options.checksum;
        if (account_ == nullptr || !account_->log || !identity_) return false;
        if (!account_->log->same(*identity_) || account_->options != spelled(terms_, log_)) return false;
        if (checksum && account_->log->sha256.empty()) return false;
        return std::all_of(account_->files.begin(), account_->files.end(), [&](const auto& file) {
            const auto there = identity_t::of(path_of(file.first), checksum);
            return there && there->same(file.second);
        });
    }

    void keep_files()
    {
        for (const auto& [name, file] : account_->files) made_.insert(name);
        remove_stale();
    }

    std::string root() const override { return terms_.root; }

    std::string obstacle(const std::string& path) override
    {
        const auto there = identity_t::of(path, true);
        if (!there) return "another program has just made it";
        const file_maker_t* const maker = terms_.book.maker(name_of(path));
        if (maker == nullptr) return "the ledger does not tell of it";
        if (maker->sha256s.count(there->sha256) == 0)
            return "it is not what was made of " + maker->log + "; remove it, or move it away";
        if (maker->log == log_.path) return "";
        if (!is_gone(maker->log)) return "it was made of " + maker->log;
        return terms_.options.adopt ? "" : "it was made of " + maker->log + ", which is gone; --adopt replaces it";
    }

    void look_at(const std::vector<finished_file_t>& files) override
    {
        for (const auto& [file, name] : files) identities_.push_back(identity_t::of(file->path(), true).value());
    }

    // Files that wait for their names are those that get them: should the run be killed in between the next one finds
    // them missing, and that they are its own.
    void record(const summary_t& summary, const std::vector<std::string>& paths) override
    {
        damaged_ = summary.damaged();
        json_object_t line = head(damaged_ ? kDamaged : kDone);
        for (const std::string& path : paths) adopt_maker(name_of(path));
        if (!adopted_.empty()) line.add("instead_of", std::vector<std::string>(adopted_.begin(), adopted_.end()));
        add_counts(line, summary);
        std::vector<json_object_t> files(paths.size());
        for (std::size_t i = 0; i < paths.size(); ++i) {
            made_.insert(name_of(paths[i]));
            files[i].add("name", name_of(paths[i]));
            add_identity(files[i], identities_[i]);
        }
        line.add("files", files);
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

    // What was made before under other names is replaced, too. A file that came in this run is another log's: of the
    // same bytes, perhaps.
    void remove_stale() const
    {
        std::set<std::string> stale = terms_.book.made_of(log_.path);
        for (const std::string& other : adopted_) stale.merge(terms_.book.made_of(other));
        for (const std::string& name : stale) {
            if (made_.count(name) > 0) continue;
            const auto there = identity_t::of(path_of(name), true);
            const file_maker_t* const maker = terms_.book.maker(name);
            if (!there || there->modified >= terms_.began || maker->sha256s.count(there->sha256) == 0) continue;
            if (::unlink(path_of(name).c_str()) != 0)
                throw system_error(path_of(name), "removing what was made of the log before");
        }
    }

    bool damaged() const { return damaged_; }

private:
    void adopt_maker(const std::string& name)
    {
        const file_maker_t* const maker = terms_.book.maker(name);
        if (terms_.options.adopt && maker != nullptr && maker->log != log_.path && is_gone(maker->log))
            adopted_.insert(maker->log);
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
    const account_t* account_;   // null: the ledger tells nothing of the log
    ledger_file_t& ledger_;
    stopwatch_t watch_;
    std::optional<identity_t> identity_;
    std::vector<identity_t> identities_;     // of the files
    std::set<std::string> made_, adopted_;   // files; logs
    bool damaged_ = false;
};

}   // namespace

batch_result_t convert_planned(const batch_terms_t& terms, const planned_log_t& log, ledger_file_t& ledger)
{
    if (!log.fault.empty()) throw error_t(log.path, log.fault, "");
    entry_t entry(terms, log, ledger);
    try {
        entry.begin();
        if (entry.is_done()) {
            entry.keep_files();
            return batch_result_t::skipped;
        }
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
