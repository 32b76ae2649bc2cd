// kvx convert: RINEX from logs.
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
#include <memory>

#include "common/command.h"
#include "common/error.h"
#include "common/interrupt.h"
#include "common/left_overs.h"
#include "common/publish.h"
#include "common/standard_streams.h"
#include "convert/conversion.h"
#include "convert/convert_options.h"
#include "host/host_options.h"

namespace kvx {

namespace {

int convert_one(const convert_options_t& options, const std::string& log)
{
    try {
        const summary_t summary = convert_log(options, log);
        const std::string text = options.json ? summary_json(summary) : summary_text(summary);
        std::fputs(text.c_str(), stdout);
        if (summary.outcome->partial) {
            const error_t cut(summary.log, "interrupted", "what was read is in " + summary.outcome->files.front());
            std::fprintf(stderr, "kvx: error: %s\n", cut.what());
        }
        if (summary.ended_by_signal) return interrupt_code();
        return summary.damaged() ? kDamaged : kDone;
    } catch (const interruption_t& e) {
        std::fprintf(stderr, "kvx: error: %s\n", e.what());
        return interrupt_code();
    } catch (const std::exception& e) {
        print_failure(e, log);
        return kFailed;
    }
}

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
    explicit jobs_t(const convert_options_t& options) : options_(options) {}
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
        for (const std::string& log : options_.logs) {
            while (children_.size() >= static_cast<std::size_t>(options_.jobs) && !interrupted()) wait_for_one();
            if (interrupted()) break;
            start(log);
        }
        while (!children_.empty()) wait_for_one();
        return interrupted() ? interrupt_code() : code_;
    }

private:
    void start(const std::string& log)
    {
        std::fflush(stdout);
        const pid_t pid = fork();
        if (pid == 0) {
            // One write per summary keeps those of several logs apart.
            std::setvbuf(stdout, nullptr, _IOFBF, 1 << 20);
            _exit(finished(convert_one(options_, log)));
        }
        if (pid > 0) {
            ++running_;
            children_.emplace(pid, log);
        } else {
            code_ = worse(code_, convert_one(options_, log));
        }
    }

    void wait_for_one()
    {
        if (interrupted() && !told_) {   // a signal that perhaps only this process got
            told_ = true;
            for (const auto& [child, log] : children_) kill(child, SIGUSR1);
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

    void tell_end(const std::string& log, int signal) const
    {
        const char* name = sigdescr_np(signal);
        const error_t end(log == "-" ? "standard input" : log, "killed by signal " + std::to_string(signal),
                          name == nullptr ? "" : name);
        std::fprintf(stderr, "kvx: error: %s\n", end.what());
        remove_left_overs(options_.folder);
    }

    const convert_options_t& options_;
    std::map<pid_t, std::string> children_;   // and their logs
    int running_ = 0;                         // of them, also without memory for its place
    bool told_ = false;                       // that there was an interrupt
    int code_ = kDone;
};

void warn(const convert_options_t& o)
{
    if (o.as_host && header_and_records_disagree(o)) {
        std::fprintf(stderr,
                     "kvx: warning: receiver type \"%s\" with kind %d: header and records choose their "
                     "observation types by different rules; use a type with KV3A0 or KV4A0 and a kind other than 1\n",
                     o.receiver_type.c_str(), o.receiver_kind);
    }
    if (!o.as_host && o.marker.empty()) {
        std::fputs("kvx: warning: nothing names the site: marker UNKNOWN, files of site XXXX; name it with --marker\n",
                   stderr);
    }
    if (!o.as_host && o.version() < 300 && o.nav == "split") {
        std::fputs(
            "kvx: warning: RINEX 2.11 knows navigation files of GPS, GLONASS and SBAS; those of other systems are "
            "written in the form of the GPS files, and few programs read them\n",
            stderr);
    }
}

int run(const convert_options_t& options)
{
    warn(options);
    make_folder(options.folder);
    begin_run(options.logs);
    remove_left_overs_once(options.folder);   // not in every process
    catch_interrupts();
    if (options.logs.size() == 1) return convert_one(options, options.logs.front());
    return jobs_t(options).run();
}

}   // namespace

command_t convert_command(command_line_t& program)
{
    auto options = std::make_shared<convert_options_t>();
    command_line_t app = program.command("convert", "RINEX files from logs of the receiver board");
    add_convert_options(app, *options);
    app.when_all_read([options] {
        if (!options->name.empty() && options->logs.size() > 1)
            throw usage_error_t("--name", "names the files of one log");
    });
    return {app, [options] { return run(*options); }};
}

}   // namespace kvx
