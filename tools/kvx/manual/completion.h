/// @file completion.h  Completion of command lines. A script has the whole table of commands and options in it, so that
/// kvx need not run while somebody types.
#ifndef KVX_COMPLETION_H
#define KVX_COMPLETION_H

#include <functional>
#include <string>

#include "common/command_page.h"

namespace kvx {

std::string bash_completion(const command_page_t& program);
std::string zsh_completion(const command_page_t& program);
std::string fish_completion(const command_page_t& program);

/// Calls a function for a command and all below it.
void for_each_page(const command_page_t& page, const std::function<void(const command_page_t&)>& visit);

/// A command without the program's name: "dump cat"; of the program itself, empty.
std::string path_of(const command_page_t& page);

}   // namespace kvx

#endif
