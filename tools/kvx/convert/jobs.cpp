#include "convert/jobs.h"

#include <malloc.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <map>

#include "common/command.h"
#include "common/error.h"
#include "common/interrupt.h"
#include "common/left_overs.h"
#include "common/standard_streams.h"

namespace kvx {

namespace {

int worse(int a, int b)
{
    constexpr std::array kRising = {int{kDone},    int{kDamaged},    128 + SIGHUP, 128 + SIGINT,
                                    128 + SIGTERM, int{kReaderGone}, int{kFailed}};
    return *std::max(std::find(kRising.begin(), kRising.end() - 1, a),
                     std::find(kRising.begin(), kRising.end() - 1, b));
}

// The library's writers keep process-wide state: logs at once are processes at once.
class jobs_t {
public:
    jobs_t(const convert_options_t& options, const tasks_t& tasks, const convert_t& convert)
        : options_(options), tasks_(tasks), convert_(convert)
    {}
    ~jobs_t()   // who gives up half way waits for what is under way
    {
        for (; running_ > 0; --running_) {
            while (wait(nullptr) < 0 && errno == EINTR) {
            }
        }
    }
    jobs_t(const jobs_t&) = delete;
    jobs_t& operator=(const jobs_t&) = delete;

    int run()
    {
        malloc_trim(0);   // each process takes over what this one holds
        for (std::size_t task = 0; task < tasks_.sources.size(); ++task) {
            while (children_.size() >= static_cast<std::size_t>(options_.jobs) && !interrupted()) wait_for_one();
            if (interrupted()) break;
            start(task);
        }
        while (!children_.empty()) wait_for_one();
        return interrupted() ? interrupt_code() : code_;
    }

private:
    void start(std::size_t task)
    {
        std::fflush(stdout);
        const pid_t pid = fork();
        if (pid == 0) {
            // One write per summary keeps those of several logs apart.
            std::setvbuf(stdout, nullptr, _IOFBF, 1 << 20);
            const int code = convert_(task);
            const progress_aside_t aside(STDOUT_FILENO);
            _exit(finished(code));
        }
        if (pid > 0) {
            ++running_;
            children_.emplace(pid, task);
        } else {
            code_ = worse(code_, convert_(task));
        }
    }

    void wait_for_one()
    {
        if (interrupted() && !told_) {   // a signal that perhaps only this process got
            told_ = true;
            for (const auto& [child, task] : children_) kill(child, SIGUSR1);
        }
        int status = 0;
        const pid_t done = wait(&status);
        if (done < 0) return;   // a signal; the children finish what they have
        const auto child = children_.find(done);
        if (child == children_.end()) return;   // of the program that has become this one
        if (WIFSIGNALED(status)) tell_end(child->second, WTERMSIG(status));
        children_.erase(child);
        --running_;
        code_ = worse(code_, WIFEXITED(status) ? WEXITSTATUS(status) : static_cast<int>(kFailed));
    }

    void tell_end(std::size_t task, int signal) const
    {
        const std::string& log = tasks_.sources[task].front();
        const std::string what = "killed by signal " + std::to_string(signal);
        const char* name = sigdescr_np(signal);
        const error_t end(log == "-" ? "standard input" : log, what, name == nullptr ? "" : name);
        tasks_.progress.end(task);
        tasks_.batch.failed(task, end);
        const progress_aside_t aside(STDERR_FILENO);
        std::fprintf(stderr, "kvx: error: %s\n", end.what());
        remove_left_overs(options_.folder);
        remove_left_overs(options_.folder_of(false));
    }

    const convert_options_t& options_;
    const tasks_t& tasks_;
    const convert_t& convert_;
    std::map<pid_t, std::size_t> children_;   // and their tasks
    int running_ = 0;                         // of them, also without memory for its place
    bool told_ = false;                       // that there was an interrupt
    int code_ = kDone;
};

}   // namespace

int run_jobs(const convert_options_t& options, const tasks_t& tasks, const convert_t& convert)
{
    return jobs_t(options, tasks, convert).run();
}

}   // namespace kvx
