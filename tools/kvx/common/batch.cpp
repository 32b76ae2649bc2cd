#include "common/batch.h"

#include <algorithm>
#include <cstdio>
#include <new>

namespace kvx {

batch_t::batch_t(const std::vector<std::string>& names, const char* what)
    : names_(names), what_(what), lines_(names.size())
{
    std::replace(names_.begin(), names_.end(), std::string("-"), std::string("standard input"));
}

void batch_t::note(std::size_t input, std::string_view verdict, std::string_view fault)
{
    line_t& line = lines_[input];
    if (line[0] != '\0') return;
    std::size_t size = 0;
    for (const std::string_view part : {verdict, std::string_view(": "), fault})
        size += part.copy(line.data() + size, line.size() - 1 - size);
    std::replace(line.begin(), line.end(), '\n', ' ');
    if (verdict.size() + 2 + fault.size() > size) std::fill_n(line.end() - 4, 3, '.');
}

void batch_t::failed(std::size_t input, const std::exception& failure)
{
    const bool memory = dynamic_cast<const std::bad_alloc*>(&failure) != nullptr;
    std::string_view what = memory ? "out of memory" : failure.what();
    const std::string& name = names_[input];   // which errors begin with
    if (what.starts_with(name) && what.substr(name.size()).starts_with(": ")) what.remove_prefix(name.size() + 2);
    note(input, "failed", what);
}

void batch_t::tell() const
{
    const auto is_bad = [this](std::size_t i) { return lines_[i][0] != '\0'; };
    std::size_t bad = 0;
    for (std::size_t i = 0; i < names_.size(); ++i) bad += is_bad(i);
    if (bad == 0 || names_.size() < 2) return;
    std::fflush(stdout);   // behind what has been printed
    std::fprintf(stderr, "kvx: %zu of %zu %s %s not well:\n", bad, names_.size(), what_, bad == 1 ? "is" : "are");
    for (std::size_t i = 0; i < names_.size(); ++i) {
        if (is_bad(i)) std::fprintf(stderr, "  %s: %s\n", names_[i].c_str(), lines_[i].data());
    }
}

}   // namespace kvx
