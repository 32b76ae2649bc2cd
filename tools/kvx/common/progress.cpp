#include "common/progress.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>

namespace kvx {

progress_t::progress_t(std::string what, std::uint64_t total)
    : what_(std::move(what)),
      total_(total),
      on_terminal_(isatty(STDERR_FILENO) != 0),
      next_(std::chrono::steady_clock::now() + std::chrono::milliseconds(300))
{}

progress_t::~progress_t()
{
    if (shown_) std::fputs("\r\033[K", stderr);
}

void progress_t::at(std::uint64_t done)
{
    if (!on_terminal_) return;
    const auto now = std::chrono::steady_clock::now();
    if (now < next_) return;
    next_ = now + std::chrono::milliseconds(200);
    shown_ = true;
    if (total_ > 0) {
        std::fprintf(stderr, "\r%s: %3llu %%", what_.c_str(),
                     static_cast<unsigned long long>(std::min(done, total_) * 100 / total_));
    } else {
        std::fprintf(stderr, "\r%s: %llu MB", what_.c_str(), static_cast<unsigned long long>(done / 1000000));
    }
}

}   // namespace kvx
