#include "fleet/batch_run.h"

#include <malloc.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <new>
#include <nlohmann/json.hpp>
#include <optional>
#include <set>
#include <utility>
#include <vector>

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

using file_t = std::pair<dev_t, ino_t>;

std::optional<file_t> file_at(const std::string& path)
{
    struct stat status {};
    if (::stat(path.c_str(), &status) != 0) return std::nullopt;
    return file_t{status.st_dev, status.st_ino};
}

// A folder may be that of the files, too: what is made there is no log.
void leave_out_made(std::vector<planned_log_t>& plan, const book_t& book, const convert_options_t& options)
{
    std::set<std::optional<file_t>> made{file_at(options.ledger)};
    for (const std::string& ledger : options.known) made.insert(file_at(ledger));
    for (const auto& [name, maker] : book.makers()) made.insert(file_at((fs::path(options.folder) / name).string()));
    made.erase(std::nullopt);   // of files that are no more
    std::erase_if(plan, [&made](const planned_log_t& log) { return made.count(file_at(log.path)) > 0; });
}

class batch_run_t {
public:
    batch_run_t(const convert_options_t& options, const std::vector<planned_log_t>& plan, const book_t& book,
                ledger_file_t& ledger)
        : options_(options),
          plan_(plan),
          ledger_(ledger),
          work_(absolute_path(options.folder)),
          terms_{options_, absolute_path(options.folder), work_.made(), book},
          progress_(paths_of(plan_), options.quiet, options.passes()),
          shared_(1),
          under_way_(static_cast<std::size_t>(options.jobs)),
          workers_(under_way_.size())
    {
        options_.folder = work_.path();   // until files are whole; terms_ has that of the tree
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
            if (const auto read = identity_t::of(log.path, false)) std::atomic_ref(shared_[0].bytes) += read->bytes;
        } catch (const interruption_t&) {   // for the next run
        } catch (const std::exception& e) {
            fail(task, e);
        }
    }

    void fail(std::uint64_t task, const std::exception& e)
    {
        add(kFailedLogs);
        const progress_aside_t aside(STDERR_FILENO);
        const std::string& log = plan_[task].path;
        const bool out_of_memory = dynamic_cast<const std::bad_alloc*>(&e) != nullptr;
        if (out_of_memory || std::strstr(e.what(), log.c_str()) != nullptr)
            print_failure(e, log);
        else   // of its files
            std::fprintf(stderr, "kvx: error: %s: %s\n", log.c_str(), e.what());
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
        const error_t why(
            plan_[task - 1].path,
            signal == 0 ? "its process ended early" : "its process was killed by signal " + std::to_string(signal),
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
    const std::vector<planned_log_t>& plan_;
    ledger_file_t& ledger_;
    work_folder_t work_;
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
    std::error_code error;
    const bool folder = fs::is_directory(options.batch, error);
    std::vector<planned_log_t> plan = folder ? logs_below(options.batch, options.match) : read_list(options.batch);
    if (folder && plan.empty()) throw error_t(options.batch, "has no log", "--match takes the names " + options.match);
    make_folder(options.folder);
    ledger_file_t ledger(options.ledger);
    std::vector<std::string> paths = paths_of(plan);
    const book_t book(options.ledger, options.known, {paths.begin(), paths.end()});
    if (folder) leave_out_made(plan, book, options);
    warn_of(options, plan);
    begin_run(paths_of(plan));
    catch_interrupts();
    return batch_run_t(options, plan, book, ledger).run();
}

}   // namespace kvx
