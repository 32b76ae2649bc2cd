// kvx convert: RINEX from logs.
#include <sys/wait.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <csignal>
#include <cstdio>
#include <memory>
#include <set>

#include "common/command.h"
#include "common/error.h"
#include "common/interrupt.h"
#include "common/json_text.h"
#include "common/output_file.h"
#include "convert/conversion.h"
#include "convert/convert_options.h"
#include "host/host_options.h"

namespace kvx {

namespace {

int convert_one(const convert_options_t& options, const std::string& log)
{
    try {
        const summary_t summary = convert_log(options, log);
        const std::string text = options.json ? json_text(summary_json(summary)) + "\n" : summary_text(summary, false);
        std::fputs(text.c_str(), stdout);
        return summary.damaged() ? kDamaged : kDone;
    } catch (const std::exception& e) {
        std::fprintf(stderr, "kvx: error: %s\n", e.what());
        return kFailed;
    }
}

int worse(int a, int b)
{
    if (a == kFailed || b == kFailed) return kFailed;
    return a == kDamaged || b == kDamaged ? kDamaged : kDone;
}

// The library's writers keep process-wide state: logs at once are processes at once.
class jobs_t {
public:
    explicit jobs_t(const convert_options_t& options) : options_(options) {}

    int run()
    {
        for (const std::string& log : options_.logs) {
            while (children_.size() >= static_cast<std::size_t>(options_.jobs) && !interrupted()) wait_for_one();
            if (interrupted()) break;
            start(log);
        }
        while (!children_.empty()) wait_for_one();
        return interrupted() ? static_cast<int>(kFailed) : code_;
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
            children_.insert(pid);
        } else {
            code_ = worse(code_, convert_one(options_, log));
        }
    }

    void wait_for_one()
    {
        int status = 0;
        const pid_t done = wait(&status);
        if (done < 0) {   // a signal that perhaps only this process got; the children finish what they have
            for (const pid_t child : children_) kill(child, SIGUSR1);
            return;
        }
        children_.erase(done);
        code_ = worse(code_, WIFEXITED(status) ? WEXITSTATUS(status) : static_cast<int>(kFailed));
    }

    const convert_options_t& options_;
    std::set<pid_t> children_;
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
    catch_interrupts();
    if (options.logs.size() == 1) return convert_one(options, options.logs.front());
    return jobs_t(options).run();
}

}   // namespace

command_t convert_command(CLI::App& program)
{
    auto options = std::make_shared<convert_options_t>();
    CLI::App* app = program.add_subcommand("convert", "RINEX files from logs of the receiver board");
    add_convert_options(*app, *options);
    app->callback([options] {
        if (!options->name.empty() && options->logs.size() > 1) {
            throw CLI::ValidationError("--name", "names the files of one log");
        }
    });
    return {app, [options] { return run(*options); }};
}

}   // namespace kvx
