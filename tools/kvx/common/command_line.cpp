#include "common/command_line.h"

#include <CLI/CLI.hpp>
#include <utility>

#include "common/nearest.h"
#include "common/text_format.h"

namespace kvx {

namespace {

check_t check_of(const CLI::Validator& validator)
{
    return {[validator](const std::string& text) { return validator(text); }, validator.get_description()};
}

void apply(const option_traits_t& traits, CLI::App& app, CLI::Option& option)
{
    option.required(traits.required);
    option.delimiter(traits.delimiter);
    if (traits.check.fault) option.check(traits.check.fault, traits.check.form);
    if (!traits.excludes.empty()) option.excludes(app.get_option(std::string(traits.excludes)));
    if (traits.values > 0) option.expected(traits.values);
    if (traits.one_argument) option.allow_extra_args(false);
    if (!traits.type_name.empty()) option.type_name(std::string(traits.type_name));
    if (traits.show_default) option.capture_default_str();
    if (!traits.default_text.empty()) option.default_str(std::string(traits.default_text));
}

// The texts that the values were read from: thousands of names, which every forked process would have to take over.
void forget_texts(CLI::App& app)
{
    for (CLI::Option* option : app.get_options()) option->clear();
    for (CLI::App* command : app.get_subcommands()) forget_texts(*command);
}

std::vector<std::string> options_of(const CLI::App& command)
{
    std::vector<std::string> names;
    for (const CLI::Option* option : command.get_options()) {
        for (const std::string& name : option->get_lnames()) names.push_back("--" + name);
        for (const std::string& name : option->get_snames()) names.push_back("-" + name);
    }
    return names;
}

std::vector<std::string> commands_of(const CLI::App& command)
{
    std::vector<std::string> names;
    for (const CLI::App* c : command.get_subcommands([](const CLI::App*) { return true; }))
        names.push_back(c->get_name());
    return names;
}

// Of a command line that could not be read: the word that is neither option nor command, and the one that was meant.
std::string wrong_word(const CLI::App& program)
{
    const CLI::App* command = &program;
    std::string name = program.get_name();
    for (; !command->get_subcommands().empty(); name += " " + command->get_name())
        command = command->get_subcommands().front();
    const std::vector<std::string> commands = commands_of(*command);
    for (const std::string& word : program.remaining(true)) {
        const bool option = word.size() > 1 && word[0] == '-';
        if (!option && commands.empty()) continue;
        const std::string meant = nearest(word.substr(0, word.find('=')), option ? options_of(*command) : commands);
        std::string fault = "'" + word + "' is no ";
        fault.append(option ? "option" : "command").append(" of ").append(name);
        if (!meant.empty()) fault.append(", did you mean '").append(meant).append("'?");
        return fault;
    }
    return "";
}

}   // namespace

check_t one_of(std::initializer_list<const char*> words)
{
    return check_of(CLI::IsMember(std::vector<std::string>(words.begin(), words.end())));
}

check_t one_of(const std::vector<int>& numbers)
{
    return check_of(CLI::IsMember(numbers));
}

// CLI::Range would tell the bounds with six decimals.
check_t within(double low, double high)
{
    const auto fault = [low, high](const std::string& text) {
        double value = 0.0;
        const bool number = CLI::detail::lexical_cast(text, value);
        return number && value >= low && value <= high
                   ? std::string()
                   : "'" + text + "' is not a number from " + kvx::text("%g", low) + " to " + kvx::text("%g", high);
    };
    return {fault, text("in [%g - %g]", low, high)};
}

check_t whole_within(int low, int high)
{
    return check_of(CLI::Range(low, high));
}

command_line_t::command_line_t(std::string_view program, std::string_view what, std::string_view version)
    : app_(std::make_shared<CLI::App>(std::string(what), std::string(program)))
{
    app_->set_version_flag("--version", std::string(version));
}

command_line_t::command_line_t(std::shared_ptr<CLI::App> app) : app_(std::move(app)) {}

command_line_t command_line_t::command(std::string_view name, std::string_view what)
{
    app_->require_subcommand(1);
    CLI::App* command = app_->add_subcommand(std::string(name), std::string(what));
    return command_line_t({app_, command});   // lives as long as the program's
}

void command_line_t::option(std::string_view names, variable_t variable, std::string_view help,
                            const option_traits_t& traits)
{
    const auto add = [&](auto* v) { return app_->add_option(std::string(names), *v, std::string(help)); };
    apply(traits, *app_, *std::visit(add, variable));
}

void command_line_t::option(std::string_view names, const take_one_t& take, std::string_view help,
                            const option_traits_t& traits)
{
    apply(traits, *app_, *app_->add_option_function(std::string(names), take, std::string(help)));
}

void command_line_t::option(std::string_view names, const take_all_t& take, std::string_view help,
                            const option_traits_t& traits)
{
    apply(traits, *app_, *app_->add_option_function(std::string(names), take, std::string(help)));
}

void command_line_t::flag(std::string_view names, bool* given, std::string_view help, const option_traits_t& traits)
{
    apply(traits, *app_, *app_->add_flag(std::string(names), *given, std::string(help)));
}

void command_line_t::footer(std::string_view text)
{
    app_->footer(std::string(text));
}

void command_line_t::when_read(const std::function<void()>& complete)
{
    app_->parse_complete_callback(complete);
}

void command_line_t::when_all_read(const std::function<void()>& complete)
{
    app_->final_callback(complete);
}

bool command_line_t::read(int argc, char** argv)
{
    try {
        app_->parse(argc, argv);
        forget_texts(*app_);
        return true;
    } catch (const CLI::Success& asked) {
        app_->exit(asked);
        return false;
    } catch (const CLI::ParseError& e) {
        const std::string wrong = wrong_word(*app_);
        throw usage_error_t(wrong.empty() ? e.what() : wrong);
    }
}

std::string command_line_t::help() const
{
    return app_->help();
}

bool command_line_t::given() const
{
    return app_->parsed();
}

}   // namespace kvx
