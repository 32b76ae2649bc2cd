// kvx report: what logs and RINEX files hold and how good it is, as pages to look at.
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <memory>

#include "common/batch.h"
#include "common/command.h"
#include "common/error.h"
#include "common/interrupt.h"
#include "common/progress.h"
#include "common/publish.h"
#include "info/inputs.h"
#include "report/destination.h"
#include "report/page.h"

namespace kvx {

namespace {

using namespace report;

struct report_options_t {
    inspection_options_t inspection;
    std::vector<std::string> paths;
    std::string output;
    bool force = false, quiet = false;
};

// What comes in live is whole when a signal ends it; a file is not.
bool is_live(const std::string& path)
{
    struct stat status {};
    const bool known = (path == "-" ? fstat(STDIN_FILENO, &status) : stat(path.c_str(), &status)) == 0;
    return known && !S_ISREG(status.st_mode);
}

class run_t {
public:
    explicit run_t(const report_options_t& options)
        : options_(options),
          inputs_(inputs_of(options.paths)),
          destination_(options.output, inputs_.described.size() > 1, options.force),
          batch_(inputs_.described, "files"),
          progress_(inputs_.described, options.quiet)
    {}

    int run()
    {
        for (std::size_t i = 0; i < inputs_.described.size() && !interrupted(); ++i) {
            const std::string& path = inputs_.described[i];
            try {
                add(i);
            } catch (const std::exception& e) {
                print_failure(e, path);
                batch_.failed(i, e);
                entries_.push_back({path, "", e.what(), grade_t::unknown, "", "", {}});
                code_ = kFailed;
            }
        }
        if (destination_.several() && !interrupted()) write(index_of(entries_), destination_.index());
        batch_.tell();
        return interrupted() ? interrupt_code() : code_;
    }

private:
    void write(const std::string& page, const std::string& name) const
    {
        const std::string path = destination_.write(page, name);
        if (!path.empty() && !options_.quiet) std::printf("wrote %s\n", path.c_str());
    }

    inspection_t inspected(std::size_t number, history_t& history)
    {
        const progress_piece_t piece(number);
        return inspect(options_.inspection, inputs_.described[number], inputs_,
                       [&history](quality::quality_t& q) { history.listen(q); });
    }

    void add(std::size_t number)
    {
        const std::string& path = inputs_.described[number];
        const std::string name = destination_.page_of(path);
        history_t history;
        inspection_t inspection = inspected(number, history);
        if (interrupted() && !is_live(path)) throw interruption_t(path, "no page is made of a part");
        subject_t subject{inspection, history, signal_rows(inspection), satellite_rows(inspection)};
        const verdict_t verdict = verdict_of(subject);
        write(report::page_of(subject, verdict, destination_.index()), name);
        entries_.push_back(entry_of(subject, verdict, name));
        if (!inspection.damaged()) return;
        batch_.note(number, "damaged", damage_line(inspection));
        if (code_ == kDone) code_ = kDamaged;
    }

    const report_options_t& options_;
    inputs_t inputs_;
    destination_t destination_;
    batch_t batch_;
    progress_run_t progress_;
    std::vector<entry_t> entries_;
    int code_ = kDone;
};

int run(const report_options_t& options)
{
    begin_run(options.paths);
    catch_interrupts();
    return run_t(options).run();
}

}   // namespace

command_t report_command(command_line_t& program)
{
    auto options = std::make_shared<report_options_t>();
    command_line_t app = program.command("report", "What info tells, as a page that works offline");
    app.example("kvx report survey.log -o survey.html", "A page of a log");
    app.example("kvx report *.log -o reports/", "A page of each log, and an index that compares them");
    app.option("FILE", &options->paths,
               "Logs of the receiver board; RINEX observation files, with navigation files for their positions; .gz is "
               "read directly, - is a log on standard input",
               {.required = true});
    app.option("-o,--output", &options->output,
               "Page to write, x.html, or folder for pages; of several logs it is an index that compares them, pages "
               "beside it",
               {.required = true, .type_name = "FILE"});
    app.flag("--force", &options->force, "Replace files that exist");
    add_quiet_option(app, &options->quiet, "and no names of the pages written");
    add_selection_options(app, options->inspection, "to look at");
    return {app, [options] { return run(*options); }};
}

}   // namespace kvx
