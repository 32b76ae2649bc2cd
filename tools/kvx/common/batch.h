/// @file batch.h  What became of each of several inputs, told once more at the end.
#ifndef KVX_BATCH_H
#define KVX_BATCH_H

#include <array>
#include <cstddef>
#include <exception>
#include <string>
#include <string_view>
#include <vector>

#include "common/shared_array.h"

namespace kvx {

/// Keeps a line for each input that was not well. Processes that are forked keep theirs here, too.
class batch_t {
public:
    /// @param names  of the inputs; - is standard input
    /// @param what   they are: "logs"
    batch_t(const std::vector<std::string>& names, const char* what);

    /// Keeps what is wrong with an input; needs no memory. The first that is told stays, the end of a long one goes.
    /// @param verdict  "damaged"
    void note(std::size_t input, std::string_view verdict, std::string_view fault);

    /// The same for one that nothing came of.
    void failed(std::size_t input, const std::exception& failure);

    /// Prints the lines, on stderr. Of a single input all has been said.
    void tell() const;

private:
    using line_t = std::array<char, 256>;

    std::vector<std::string> names_;
    const char* what_;
    shared_array_t<line_t> lines_;   // ended by a zero
};

}   // namespace kvx

#endif
