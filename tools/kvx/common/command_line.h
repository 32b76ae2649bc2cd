/// @file command_line.h  Command lines: commands, their options, and what is wrong with them. CLI11 reads them; it
/// stays in one source, for every one that includes it takes ten seconds more to compile.
#ifndef KVX_COMMAND_LINE_H
#define KVX_COMMAND_LINE_H

#include <array>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "common/command_page.h"

namespace CLI {
class App;
class Option;
}   // namespace CLI

namespace kvx {

/// What is wrong with a command line.
class usage_error_t : public std::runtime_error {
public:
    explicit usage_error_t(const std::string& fault) : std::runtime_error(fault) {}
    usage_error_t(const std::string& argument, const std::string& fault) : usage_error_t(argument + ": " + fault) {}
};

/// A condition on the text of a value.
struct check_t {
    std::function<std::string(const std::string&)> fault = {};   ///< of a text; empty when there is none
    std::string form = "";                                       ///< what good texts are called, "TIME"
    std::vector<std::string> choices = {};                       ///< all good texts
    std::string range = "";                                      ///< "1 to 256"
};

check_t one_of(std::initializer_list<const char*> words);
check_t one_of(const std::vector<int>& numbers);
check_t within(double low, double high);
check_t whole_within(int low, int high);   ///< a whole number

/// A variable that takes a value, or several. It must live until the command line is read.
using variable_t =
    std::variant<std::string*, std::optional<std::string>*, int*, std::uint16_t*, std::int64_t*, std::uint64_t*,
                 double*, std::array<double, 3>*, std::optional<std::vector<double>>*, std::vector<std::string>*>;

/// Functions that take a value, or all of a list. They may throw usage_error_t.
using take_one_t = std::function<void(const std::string&)>;
using take_all_t = std::function<void(const std::vector<std::string>&)>;

/// What else is to be said of an option.
struct option_traits_t {
    bool required = false;
    check_t check = {};
    std::string_view excludes = "";        ///< an option, added before, that cannot be given with it
    char delimiter = '\0';                 ///< between several values in one argument
    int values = 0;                        ///< so many exactly
    bool one_argument = false;             ///< for a list, each time the option is given; else all that follow
    std::string_view type_name = "";       ///< what the value is called; shells offer files for FILE, folders for DIR
    std::vector<std::string> words = {};   ///< that a shell offers, where the check does not list them
    bool show_default = false;             ///< in the help: what the variable holds beforehand
    std::string_view default_text = "";    ///< the same for a function
};

/// A handle of the program's command line, or of a command's part of it.
///
/// What is declared here is also what help, manual pages and completions tell: see page().
class command_line_t {
public:
    command_line_t(std::string_view program, std::string_view what, std::string_view version);

    /// Adds a command. One of those that were added must be given.
    command_line_t command(std::string_view name, std::string_view what);

    /// Adds an option, "-o,--output", or an argument known by its place, "FILE".
    void option(std::string_view names, variable_t variable, std::string_view help, const option_traits_t& = {});
    void option(std::string_view names, const take_one_t& take, std::string_view help, const option_traits_t& = {});
    void option(std::string_view names, const take_all_t& take, std::string_view help, const option_traits_t& = {});
    void flag(std::string_view names, bool* given, std::string_view help, const option_traits_t& = {});

    /// The heading of options that are added afterwards; empty: none of their own.
    void section(std::string_view title);
    /// What the command does, in sentences; an empty line parts paragraphs.
    void describe(std::string_view text);
    /// A command line and what it does, without a full stop.
    void example(std::string_view command, std::string_view what);
    /// The meaning of exit codes, also for commands that are added afterwards. Codes that were told already get another
    /// meaning or, by an empty one, none.
    void exit_codes(const std::vector<exit_code_text_t>& codes);

    /// Calls a function, which may throw usage_error_t, once the options of a command have their values ...
    void when_read(const std::function<void()>& complete);
    void when_read(const std::function<void(const command_line_t& command)>& complete);
    /// ... or once the whole line has been read.
    void when_all_read(const std::function<void()>& complete);

    /// Reads the program's command line.
    /// @return false when it asks for the help or the version: they have been printed
    /// @throw usage_error_t
    bool read(int argc, char** argv);

    /// Options and their values as they were given, but for some: " --rinex 4.02 --xyz". To be asked for when the
    /// options have just been read.
    std::string spelled(const std::vector<std::string_view>& but) const;

    /// The command was chosen.
    bool given() const;
    /// What was declared of the command and of those below it.
    const command_page_t& page() const { return *page_; }

private:
    command_line_t(std::shared_ptr<CLI::App> app, std::shared_ptr<command_page_t> page);
    void declare(CLI::Option& option, std::string_view help, const option_traits_t& traits, const char* value);

    std::shared_ptr<CLI::App> app_;
    std::shared_ptr<command_page_t> page_;
    std::string section_;
};

}   // namespace kvx

#endif
