/// @file command_page.h  What is to be said of a command. Help, manual pages and completions are made of it.
#ifndef KVX_COMMAND_PAGE_H
#define KVX_COMMAND_PAGE_H

#include <list>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace kvx {

/// What a shell offers for a value.
enum class value_kind_t { none, text, choice, file, folder };

/// An option, or an argument known by its place.
struct option_entry_t {
    std::vector<std::string> names = {};   ///< "-o", "--output"; an argument has none
    std::string value = {};                ///< what its value is called, "DIR"; a flag has none
    value_kind_t kind = value_kind_t::none;
    std::vector<std::string> choices = {};   ///< words that the value is one of, or that it lists
    bool required = false;
    bool many = false;               ///< several values, or given several times
    bool separated = false;          ///< the words of one value have commas between them
    std::string help = {};           ///< one sentence, without a full stop
    std::string range = {};          ///< "1 to 256"
    std::string default_text = {};   ///< empty: there is none
    std::string excludes = {};       ///< an option or argument that cannot be given with it
    std::string section = {};        ///< heading; empty: none of its own

    bool is_argument() const { return names.empty(); }
    bool is_flag() const { return value.empty(); }
    /// One of its names, or what an argument is called.
    bool is_called(const std::string& name) const;

    /// The value as help writes it: of an option "split|mixed|none" if that is short, else "DIR".
    std::string shown_value() const;
    /// What it may be and what it is if not given: "[1 to 256; default: 1]"; empty if there is nothing to say.
    std::string remarks() const;
};

/// The options under one heading, in the order in which they were declared.
struct section_t {
    std::string title;
    std::vector<const option_entry_t*> entries;
};

struct example_t {
    std::string command;
    std::string what;   ///< it does, or shows
};

/// An exit code, or several of one meaning ("129, 130 or 143"), and the meaning.
using exit_code_text_t = std::pair<std::string, std::string>;

struct command_page_t {
    std::string name;          ///< with those it belongs to: "kvx dump cat"
    std::string what;          ///< one line
    std::string description;   ///< paragraphs, with an empty line between them
    std::vector<option_entry_t> options;
    std::vector<example_t> examples;
    std::vector<exit_code_text_t> exit_codes;
    std::list<command_page_t> commands;

    std::string_view last_name() const;
    /// One of its commands, of a command of these and so on; nullptr when there is none.
    const command_page_t* find(const std::vector<std::string>& names) const;
    std::vector<const option_entry_t*> arguments() const;
    /// Options by heading. Those without one come first, under "Options"; when that is the help alone, last.
    std::vector<section_t> sections() const;
    /// The line of the usage: "kvx convert [OPTIONS] LOG...".
    std::string usage() const;
};

/// The help of a command as a terminal of 80 columns shows it.
std::string help_text(const command_page_t& page);

}   // namespace kvx

#endif
