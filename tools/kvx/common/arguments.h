/// @file arguments.h  Values on command lines that several commands take.
#ifndef KVX_ARGUMENTS_H
#define KVX_ARGUMENTS_H

#include <CLI/CLI.hpp>

namespace kvx {

/// A number within these bounds; unlike CLI::Range it refuses what is not a number.
CLI::Validator within(double low, double high);

/// One letter or more of GRECJS.
CLI::Validator system_letters();

}   // namespace kvx

#endif
