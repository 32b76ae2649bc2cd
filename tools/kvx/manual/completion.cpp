// kvx completion: scripts for shells.
#include "manual/completion.h"

#include <cstdio>
#include <memory>

#include "common/command.h"

namespace kvx {

void for_each_page(const command_page_t& page, const std::function<void(const command_page_t&)>& visit)
{
    visit(page);
    for (const command_page_t& command : page.commands) for_each_page(command, visit);
}

std::string path_of(const command_page_t& page)
{
    const std::size_t blank = page.name.find(' ');
    return blank == page.name.npos ? "" : page.name.substr(blank + 1);
}

command_t completion_command(command_line_t& program)
{
    auto shell = std::make_shared<std::string>();
    command_line_t app = program.command("completion", "Completion of command lines, for bash, zsh and fish");
    app.describe("Packages install it. By hand it is a file for the shell to read.");
    app.example("source <(kvx completion bash)", "In this bash, for now");
    app.example("kvx completion fish > ~/.config/fish/completions/kvx.fish", "In fish, from now on");
    app.exit_codes({{"3", ""}});
    app.option("SHELL", shell.get(), "Shell to make it for",
               {.required = true, .check = one_of({"bash", "zsh", "fish"})});
    const auto run = [program, shell] {
        const auto script = *shell == "bash" ? bash_completion : *shell == "zsh" ? zsh_completion : fish_completion;
        std::fputs(script(program.page()).c_str(), stdout);
        return static_cast<int>(kDone);
    };
    return {app, run};
}

}   // namespace kvx
