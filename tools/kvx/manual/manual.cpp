// kvx help and kvx manual: what the option table tells, on the terminal and as manual pages.
#include <cstdio>
#include <memory>

#include "common/command.h"
#include "common/output_file.h"
#include "common/publish.h"
#include "manual/manual_page.h"

namespace kvx {

namespace {

struct manual_options_t {
    std::string command, folder;
    bool force = false;
};

const command_page_t& page_of(const command_page_t& program, const std::vector<std::string>& names)
{
    const command_page_t* page = program.find(names);
    if (page == nullptr) throw usage_error_t("COMMAND", "'" + names.back() + "' is no command (see kvx help)");
    return *page;
}

std::vector<std::string> commands_of(const command_page_t& program)
{
    std::vector<std::string> names;
    for (const command_page_t& command : program.commands) names.emplace_back(command.last_name());
    return names;
}

finished_file_t page_file(const command_page_t& program, const command_page_t& page, const std::string& folder)
{
    auto file = std::make_unique<output_file_t>(folder);
    std::fputs(manual_page(program, page).c_str(), file->stream());
    return {std::move(file), manual_name(page) + ".1"};
}

void write_pages(const command_page_t& program, const manual_options_t& options)
{
    make_folder(options.folder);
    std::vector<finished_file_t> files;
    files.push_back(page_file(program, program, options.folder));
    for (const command_page_t& page : program.commands) files.push_back(page_file(program, page, options.folder));
    publish(files, {.replace = options.force});
}

}   // namespace

command_t help_command(command_line_t& program)
{
    auto names = std::make_shared<std::vector<std::string>>();
    command_line_t app = program.command("help", "The help of a command, as its --help prints it");
    app.exit_codes({{"3", ""}});
    app.example("kvx help convert", "What kvx convert --help tells");
    app.option("COMMAND", names.get(), "Command, such as convert or dump cat", {.words = commands_of(program.page())});
    return {app, [program, names] {
                std::fputs(help_text(page_of(program.page(), *names)).c_str(), stdout);
                return static_cast<int>(kDone);
            }};
}

command_t manual_command(command_line_t& program)
{
    auto options = std::make_shared<manual_options_t>();
    command_line_t app = program.command("manual", "Manual pages, in the format of man");
    app.exit_codes({{"3", ""}});
    app.example("kvx manual convert | man -l -", "The page of a command, where it is not installed");
    app.example("kvx manual -o man1/", "Files of all pages");
    app.option("COMMAND", &options->command, "Command whose page is printed; else that of kvx itself",
               {.words = commands_of(program.page())});
    app.option("-o,--output", &options->folder, "Folder for the files of all pages",
               {.excludes = "COMMAND", .type_name = "DIR"});
    app.flag("--force", &options->force, "Replace files that exist");
    const auto run = [program, options] {
        const command_page_t& page = program.page();
        if (!options->folder.empty()) {
            write_pages(page, *options);
        } else {
            const bool whole = options->command.empty();
            std::fputs(manual_page(page, whole ? page : page_of(page, {options->command})).c_str(), stdout);
        }
        return static_cast<int>(kDone);
    };
    return {app, run};
}

}   // namespace kvx
