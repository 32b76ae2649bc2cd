#include "common/command_line.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <type_traits>
#include <utility>

#include "common/nearest.h"
#include "common/text_format.h"

namespace kvx {

namespace {

std::function<std::string(const std::string&)> fault_of(const CLI::Validator& validator)
{
    return [validator](const std::string& text) { return validator(text); };
}

void apply(const option_traits_t& traits, CLI::App& app, CLI::Option& option)
{
    option.required(traits.required);
    option.delimiter(traits.delimiter);
    if (traits.check.fault) option.check(traits.check.fault, traits.check.form);
    if (!traits.excludes.empty()) option.excludes(app.get_option(std::string(traits.excludes)));
    if (traits.values > 0) option.expected(traits.values);
    if (traits.one_argument) option.allow_extra_args(false);
    if (traits.show_default) option.capture_default_str();
}

// Short names first, as they are typed.
std::vector<std::string> names_of(const CLI::Option& option)
{
    std::vector<std::string> names;
    for (const std::string& name : option.get_snames()) names.push_back("-" + name);
    for (const std::string& name : option.get_lnames()) names.push_back("--" + name);
    return names;
}

// What the value is called tells what it is.
value_kind_t kind_of(const option_entry_t& entry)
{
    if (entry.value.empty()) return value_kind_t::none;
    if (!entry.choices.empty()) return value_kind_t::choice;
    for (const char* name : {"FILE", "LOG", "DEVICE", "LIBRARY"})
        if (entry.value == name) return value_kind_t::file;
    return entry.value == "DIR" ? value_kind_t::folder : value_kind_t::text;
}

// A list would come in the brackets of the parser.
std::string default_of(const CLI::Option& option)
{
    std::string text = option.get_default_str();
    if (!text.empty() && text.front() == '[') text = text.substr(1, text.size() - 2);
    return text;
}

std::string first_filled(std::initializer_list<std::string_view> texts)
{
    const auto* found = std::find_if(texts.begin(), texts.end(), [](std::string_view text) { return !text.empty(); });
    return found == texts.end() ? "" : std::string(*found);
}

constexpr const char kText[] = "TEXT", kNumber[] = "N";

template <class T>
constexpr const char* value_of(const T* /*variable*/)
{
    return std::is_arithmetic_v<T> ? kNumber : kText;
}

// The texts that the values were read from: thousands of names, which every forked process would have to take over.
void forget_texts(CLI::App& app)
{
    for (CLI::Option* option : app.get_options()) option->clear();
    for (CLI::App* command : app.get_subcommands()) forget_texts(*command);
}

std::vector<std::string> options_of(const CLI::App& command)
{
    std::vector<std::string> all;
    for (const CLI::Option* option : command.get_options())
        for (const std::string& name : names_of(*option)) all.push_back(name);
    return all;
}

// The page of the last command that the line names.
const command_page_t& asked_page(const CLI::App& program, const command_page_t& page)
{
    std::vector<std::string> names;
    for (const CLI::App* app = &program; !app->get_subcommands().empty(); names.push_back(app->get_name()))
        app = app->get_subcommands().front();
    return *page.find(names);
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

std::shared_ptr<command_page_t> new_page(std::string_view name, std::string_view what)
{
    auto page = std::make_shared<command_page_t>();
    page->name = name;
    page->what = what;
    page->options.push_back({.names = {"-h", "--help"}, .help = "Print this help"});
    return page;
}

}   // namespace

check_t one_of(std::initializer_list<const char*> words)
{
    const std::vector<std::string> choices(words.begin(), words.end());
    return {fault_of(CLI::IsMember(choices)), "", choices};
}

check_t one_of(const std::vector<int>& numbers)
{
    std::vector<std::string> choices;
    choices.reserve(numbers.size());
    for (const int number : numbers) choices.push_back(std::to_string(number));
    return {fault_of(CLI::IsMember(numbers)), "", choices};
}

// CLI::Range would tell the bounds with six decimals.
check_t within(double low, double high)
{
    const auto fault = [low, high](const std::string& text) {
        double value = 0.0;
        const bool number = CLI::detail::lexical_cast(text, value);
        return number && value >= low && value <= high
                   ? std::string()
                   : "'" + text + "' is not a number from " + kvx::text("%.10g to %.10g", low, high);
    };
    return {fault, "", {}, text("%.10g to %.10g", low, high)};
}

check_t whole_within(int low, int high)
{
    check_t check = {.fault = {}, .form = "", .choices = {}, .range = text("%d to %d", low, high)};
    check.fault = fault_of(CLI::Range(low, high));
    return check;
}

command_line_t::command_line_t(std::string_view program, std::string_view what, std::string_view version)
    : app_(std::make_shared<CLI::App>(std::string(what), std::string(program))), page_(new_page(program, what))
{
    app_->set_version_flag("--version", std::string(version));
    page_->options.push_back({.names = {"--version"}, .help = "Print the version"});
}

command_line_t::command_line_t(std::shared_ptr<CLI::App> app, std::shared_ptr<command_page_t> page)
    : app_(std::move(app)), page_(std::move(page))
{}

command_line_t command_line_t::command(std::string_view name, std::string_view what)
{
    app_->require_subcommand(1);
    CLI::App* command = app_->add_subcommand(std::string(name), std::string(what));
    page_->commands.push_back(*new_page(page_->name + " " + std::string(name), what));
    page_->commands.back().exit_codes = page_->exit_codes;
    return {{app_, command}, {page_, &page_->commands.back()}};   // they live as long as the program's
}

// Enters an option that the parser knows into the page.
void command_line_t::declare(CLI::Option& option, std::string_view help, const option_traits_t& traits,
                             const char* value)
{
    apply(traits, *app_, option);
    option_entry_t entry = {.names = names_of(option), .help = std::string(help), .section = section_};
    const std::string place = option.get_positional() ? option.get_name(true) : "";
    if (value != nullptr) entry.value = first_filled({traits.type_name, place, traits.check.form, value});
    entry.choices = traits.check.choices.empty() ? traits.words : traits.check.choices;
    entry.kind = kind_of(entry);
    entry.required = traits.required;
    entry.many = option.get_expected_max() > 1 && traits.values == 0;
    entry.separated = traits.delimiter != '\0';
    entry.range = traits.check.range;
    entry.default_text = first_filled({traits.default_text, traits.show_default ? default_of(option) : ""});
    entry.excludes = traits.excludes;
    for (option_entry_t& other : page_->options)
        if (other.is_called(entry.excludes)) other.excludes = entry.names.empty() ? entry.value : entry.names.back();
    page_->options.insert(page_->options.end() - 1, entry);   // the help stays last
}

void command_line_t::option(std::string_view names, variable_t variable, std::string_view help,
                            const option_traits_t& traits)
{
    const auto add = [&](auto* v) {
        declare(*app_->add_option(std::string(names), *v, std::string(help)), help, traits, value_of(v));
    };
    std::visit(add, variable);
}

void command_line_t::option(std::string_view names, const take_one_t& take, std::string_view help,
                            const option_traits_t& traits)
{
    declare(*app_->add_option_function(std::string(names), take, std::string(help)), help, traits, kText);
}

void command_line_t::option(std::string_view names, const take_all_t& take, std::string_view help,
                            const option_traits_t& traits)
{
    declare(*app_->add_option_function(std::string(names), take, std::string(help)), help, traits, kText);
}

void command_line_t::flag(std::string_view names, bool* given, std::string_view help, const option_traits_t& traits)
{
    declare(*app_->add_flag(std::string(names), *given, std::string(help)), help, traits, nullptr);
}

void command_line_t::section(std::string_view title)
{
    section_ = title;
}

void command_line_t::describe(std::string_view text)
{
    page_->description = text;
}

void command_line_t::example(std::string_view command, std::string_view what)
{
    page_->examples.push_back({std::string(command), std::string(what)});
}

void command_line_t::exit_codes(const std::vector<exit_code_text_t>& codes)
{
    for (const exit_code_text_t& code : codes) {
        auto& all = page_->exit_codes;
        const auto told = std::find_if(all.begin(), all.end(), [&](const auto& c) { return c.first == code.first; });
        const auto place = told == all.end() ? told : all.erase(told);
        if (!code.second.empty()) all.insert(place, code);
    }
}

void command_line_t::when_read(const std::function<void()>& complete)
{
    app_->parse_complete_callback(complete);
}

void command_line_t::when_read(const std::function<void(const command_line_t& command)>& complete)
{
    app_->parse_complete_callback([app = std::weak_ptr(app_), page = std::weak_ptr(page_), complete] {
        complete(command_line_t(app.lock(), page.lock()));
    });
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
    } catch (const CLI::CallForHelp&) {
        std::fputs(help_text(asked_page(*app_, *page_)).c_str(), stdout);
        return false;
    } catch (const CLI::Success& asked) {
        app_->exit(asked);
        return false;
    } catch (const CLI::ParseError& e) {
        const std::string wrong = wrong_word(*app_);
        throw usage_error_t(wrong.empty() ? e.what() : wrong);
    }
}

std::string command_line_t::spelled(const std::vector<std::string_view>& but) const
{
    std::string text;
    for (const CLI::Option* option : app_->get_options()) {
        const std::string name = option->get_name();
        if (option->count() == 0 || option->get_positional()) continue;
        if (std::any_of(but.begin(), but.end(),
                        [&](std::string_view other) { return option->check_name(std::string(other)); }))
            continue;
        text += " " + name;
        for (const std::string& value : option->results()) text += " " + value;
    }
    return text;
}

bool command_line_t::given() const
{
    return app_->parsed();
}

}   // namespace kvx
