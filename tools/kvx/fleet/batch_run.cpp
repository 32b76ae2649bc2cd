#include "fleet/batch_run.h"

#include <malloc.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <map>
#include <nlohmann/json.hpp>
#include <utility>

#include "common/command.h"
#include "common/error.h"
#include "common/interrupt.h"
#include "common/left_overs.h"
#include "common/output_file.h"
#include "common/progress.h"
#include "common/publish.h"
#include "common/shared_array.h"
#include "common/text_format.h"
#include "fleet/batch_log.h"
#include "fleet/work_folder.h"

namespace kvx {

namespace {

namespace fs = std::filesystem;

constexpr int kKept = 1 << 25;   // bytes of a worker's free memory

enum count_t : std::size_t { kConverted, kDamagedLogs, kSkipped, kFailedLogs, kCounts };

std::vector<std::string> paths_of(const std::vector<planned_log_t>& plan)
{
    std::vector<std::string> paths(plan.size());
    std::transform(plan.begin(), plan.end(), paths.begin(), [](const planned_log_t& log) { return log.path; });
    return paths;
}

// A folder may be that of the files, too: what is made there is no log.
std::vector<planned_log_t> plan_of(const convert_options_t& options)
{
    std::error_code error;
    if (!fs::is_directory(options.batch, error)) return read_list(options.batch);
    std::vector<planned_log_t> plan = logs_below(options.batch, options.match);
    const fs::path root = absolute_path(options.folder);
    std::set<std::string> made{absolute_path(options.ledger)};
    for (const std::string& ledger : options.known) made.insert(absolute_path(ledger));
    const book_t book = read_book(options.ledger, options.known, [](const std::string&) { return false; });
    for (const auto& [name, log] : book.makers) made.insert((root / name).string());
    std::erase_if(plan, [&made](const planned_log_t& log) { return made.count(log.path) > 0; });
    if (plan.empty()) throw error_t(options.batch, "has no log", "--match takes the names " + options.match);
    return plan;
}

class batch_run_t {
public:
    batch_run_t(const convert_options_t& options, std::vector<planned_log_t> plan)
        : options_(options),
          plan_(std::move(plan)),
          ledger_(options.ledger),
          root_(absolute_path(options.folder)),
          work_(root_),
          book_(read_book_of_plan()),
          terms_{options_, options.spelled, root_, book_},
          progress_(paths_of(plan_), options.quiet, options.passes()),
          shared_(1),
          under_way_(static_cast<std::size_t>(options.jobs)),
          workers_(under_way_.size())
    {
        options_.folder = work_.path();
        make_folder(options_.folder_of(false));
        clear();
    }

    ~batch_run_t()   // who gives up half way waits for what is under way
    {
        tell_workers(SIGTERM);
        while (running_ > 0) {
            if (::wait(nullptr) > 0)
                --running_;
            else if (errno != EINTR)
                break;
        }
        clear();
    }
    batch_run_t(const batch_run_t&) = delete;
    batch_run_t& operator=(const batch_run_t&) = delete;

    int run()
    {
        malloc_trim(0);
        const std::size_t workers = std::min(plan_.size(), under_way_.size());
        for (std::size_t place = 0; place < workers; ++place) start(place);
        while (running_ > 0) wait_for_one();
        tell();
        if (interrupted()) return interrupt_code();
        return count(kFailedLogs) > 0 ? kFailed : count(kDamagedLogs) > 0 ? kDamaged : kDone;
    }

private:
    // Shared by all processes.
    struct shared_t {
        std::uint64_t next;   // log
        std::uint64_t counts[kCounts], bytes;
    };

    book_t read_book_of_plan() const
    {
        std::set<std::string> wanted;
        for (const planned_log_t& log : plan_) wanted.insert(log.path);
        return read_book(options_.ledger, options_.known,
                         [&wanted](const std::string& log) { return wanted.count(log) > 0; });
    }

    // Files that are not whole and nobody writes.
    void clear() const
    {
        remove_left_overs(work_.path());
        remove_left_overs(options_.folder_of(false));
    }

    std::uint64_t count(count_t which) { return std::atomic_ref(shared_[0].counts[which]).load(); }
    void add(count_t which) { ++std::atomic_ref(shared_[0].counts[which]); }

    void start(std::size_t place)
    {
        std::fflush(stdout);
        const pid_t parent = ::getpid(), pid = ::fork();
        if (pid == 0) work_and_exit(place, parent);
        if (pid < 0) throw system_error("kvx", "starting a process");
        workers_[place] = pid;
        ++running_;
    }

    [[noreturn]] void work_and_exit(std::size_t place, pid_t parent)
    {
        ::prctl(PR_SET_PDEATHSIG, SIGTERM);   // without a parent nobody tells what became of the logs
        ::mallopt(M_MMAP_THRESHOLD, kKept);   // each log takes what the one before gave back, not new pages
        ::mallopt(M_TRIM_THRESHOLD, kKept);
        int code = kDone;
        try {
            if (::getppid() == parent) work(place);
        } catch (...) {   // of telling that something failed
            code = kFailed;
        }
        std::fflush(nullptr);
        ::_exit(code);
    }

    void work(std::size_t place)
    {
        while (!interrupted()) {
            const std::uint64_t task = std::atomic_ref(shared_[0].next)++;
            if (task >= plan_.size()) return;
            under_way_[place] = task + 1;
            convert(task);
            under_way_[place] = 0;
        }
    }

    void convert(std::uint64_t task)
    {
        const planned_log_t& log = plan_[task];
        const progress_piece_t piece(task);
        try {
            switch (convert_planned(terms_, log, ledger_)) {
                case batch_result_t::skipped:
                    return add(kSkipped);
                case batch_result_t::damaged:
                    add(kDamagedLogs);
                    break;
                case batch_result_t::converted:
                    add(kConverted);
            }
            std::error_code error;
            std::atomic_ref(shared_[0].bytes) += fs::file_size(log.path, error);
        } catch (const interruption_t&) {   // for the next run
        } catch (const std::exception& e) {
            fail(task, e);
        }
    }

    void fail(std::uint64_t task, const std::exception& e)
    {
        add(kFailedLogs);
        const progress_aside_t aside(STDERR_FILENO);
        print_failure(e, plan_[task].path);
    }

    void tell_workers(int signal)
    {
        for (const pid_t worker : workers_) {
            if (worker > 0) ::kill(worker, signal);
        }
    }

    void wait_for_one()
    {
        if (interrupted() && !std::exchange(told_, true)) tell_workers(SIGUSR1);   // perhaps only this process got it
        int status = 0;
        const pid_t done = ::wait(&status);
        const auto worker = std::find(workers_.begin(), workers_.end(), done);
        if (done < 0 || worker == workers_.end()) return;
        *worker = 0;
        --running_;
        const auto place = static_cast<std::size_t>(worker - workers_.begin());
        if (WIFEXITED(status) && WEXITSTATUS(status) == kDone) return;
        end_lost(place, WIFSIGNALED(status) ? WTERMSIG(status) : 0);
        if (!interrupted()) start(place);
    }

    // The others go on, without the log that it was at.
    void end_lost(std::size_t place, int signal)
    {
        const std::uint64_t task = std::exchange(under_way_[place], 0);
        clear();
        if (task == 0) return;
        progress_.end(task - 1);
        const char* name = sigdescr_np(signal);
        const error_t why(plan_[task - 1].path,
                          signal == 0 ? "out of memory" : "its process was killed by signal " + std::to_string(signal),
                          name == nullptr ? "" : name);
        fail(task - 1, why);
        enter_failure(terms_, plan_[task - 1], why.what(), ledger_);
    }

    void tell()
    {
        const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - began_).count();
        const std::uint64_t left =
            plan_.size() - count(kConverted) - count(kDamagedLogs) - count(kSkipped) - count(kFailedLogs);
        if (options_.quiet && !options_.json) return;
        const double megabytes = static_cast<double>(shared_[0].bytes) / 1e6;
        if (options_.json) {
            const nlohmann::ordered_json j = {{"logs", plan_.size()},           {"converted", count(kConverted)},
                                              {"damaged", count(kDamagedLogs)}, {"skipped", count(kSkipped)},
                                              {"failed", count(kFailedLogs)},   {"left", left},
                                              {"bytes", shared_[0].bytes},      {"seconds", seconds},
                                              {"ledger", options_.ledger}};
            std::printf("%s\n", j.dump().c_str());
            return;
        }
        std::printf(
            "%s: %llu converted, %llu damaged, %llu done before, %llu failed", plural(plan_.size(), "log").c_str(),
            static_cast<unsigned long long>(count(kConverted)), static_cast<unsigned long long>(count(kDamagedLogs)),
            static_cast<unsigned long long>(count(kSkipped)), static_cast<unsigned long long>(count(kFailedLogs)));
        if (left > 0) std::printf(", %llu left", static_cast<unsigned long long>(left));
        std::printf("\n%.1f MB in %.1f s; what became of each stands in %s\n", megabytes, seconds,
                    options_.ledger.c_str());
    }

    convert_options_t options_;
    std::vector<planned_log_t> plan_;
    ledger_file_t ledger_;
    std::string root_;     // folder of the tree
    work_folder_t work_;   // in it
    book_t book_;
    batch_terms_t terms_;
    progress_run_t progress_;
    shared_array_t<shared_t> shared_;
    shared_array_t<std::uint64_t> under_way_;   // of each worker its log and one, 0: none
    std::vector<pid_t> workers_;                // 0: none
    std::size_t running_ = 0;                   // of them
    bool told_ = false;                         // that there was an interrupt
    std::chrono::steady_clock::time_point began_ = std::chrono::steady_clock::now();
};

void warn_of(convert_options_t options, const std::vector<planned_log_t>& plan)
{
    const auto nameless = [](const planned_log_t& log) { return log.marker.empty(); };
    if (std::none_of(plan.begin(), plan.end(), nameless)) options.marker = "of the list";
    warn(options);
}

}   // namespace

int convert_batch(const convert_options_t& options)
{
    std::vector<planned_log_t> plan = plan_of(options);
    warn_of(options, plan);
    make_folder(options.folder);
    begin_run(paths_of(plan));
    catch_interrupts();
    return batch_run_t(options, std::move(plan)).run();
}

}   // namespace kvx
