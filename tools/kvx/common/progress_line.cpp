#include "common/progress_line.h"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "common/error.h"
#include "common/interrupt.h"

namespace kvx {

namespace {

constexpr std::int64_t kSecond = 1'000'000'000;   // ns
constexpr std::int64_t kBetween = kSecond / 5;
constexpr double kMemory = 3.0;    // s, of the rate
constexpr int kMostPercent = 99;   // what is done is not shown any more

using shared_number_t = std::atomic_ref<std::uint64_t>;

std::int64_t now()
{
    return std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

// The terminal may be another one than that which controls us: then no other job has it.
bool in_foreground()
{
    const pid_t owner = ::tcgetpgrp(STDERR_FILENO);
    return owner < 0 || owner == ::getpgrp();
}

std::size_t columns()
{
    constexpr std::size_t kUsual = 80;
    winsize size{};
    if (::ioctl(STDERR_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_col == 0) return kUsual;
    return size.ws_col;
}

// What a terminal does not take is not worth an error.
void put(std::string_view text)
{
    [[maybe_unused]] const ssize_t n = ::write(STDERR_FILENO, text.data(), text.size());
}

bool lock(int fd, int how, short type)
{
    struct flock all {};   // of the process: flock() would not keep forked ones apart
    all.l_type = type;
    all.l_whence = SEEK_SET;
    int result = 0;
    do {
        result = ::fcntl(fd, how, &all);
    } while (result != 0 && errno == EINTR && how == F_SETLKW);
    return result == 0;
}

}   // namespace

progress_line_t::progress_line_t(std::size_t pieces)
    : pieces_(pieces),
      drawn_(1),
      begun_(now()),
      lock_(::memfd_create("kvx-progress", MFD_CLOEXEC)),
      stdout_seen_(::isatty(STDOUT_FILENO) != 0)
{
    drawn_[0].due = begun_ + kSecond;
    drawn_[0].at = begun_;
}

progress_line_t::~progress_line_t()
{
    if (hold(STDERR_FILENO)) let_go();
    ::close(lock_);
}

bool progress_line_t::can_be_shown()
{
    const char* const terminal = std::getenv("TERM");
    return ::isatty(STDERR_FILENO) != 0 && terminal != nullptr && std::strcmp(terminal, "dumb") != 0;
}

void progress_line_t::end(std::size_t piece)
{
    progress_share_t& p = pieces_[piece];
    shared_number_t(p.total) = shared_number_t(p.done).load();
    shared_number_t(p.ended) = 1;
}

void progress_line_t::draw_next(std::int64_t when)
{
    std::atomic_ref(drawn_[0].due) = when;
}

std::int64_t progress_line_t::draw(const std::string& name)
{
    const std::int64_t time = now();
    const std::atomic_ref due(drawn_[0].due);
    std::int64_t before = due;
    const bool mine = time >= before && due.compare_exchange_strong(before, time + kBetween);
    if (mine && in_foreground() && lock(lock_, F_SETLK, F_WRLCK)) redraw(name, time);
    return time;
}

void progress_line_t::redraw(const std::string& name, std::int64_t time)
{
    if (interrupted()) {   // a second signal would leave it there
        wipe();
    } else {
        progress_state_t all = state(time);
        all.name = name;
        put("\r" + progress_text(all, columns() - 1) + "\x1b[K");
        drawn_[0].shown = true;
    }
    lock(lock_, F_SETLK, F_UNLCK);
}

progress_state_t progress_line_t::state(std::int64_t time)
{
    progress_state_t all;
    bool endless = false;
    all.pieces = pieces_.size();
    for (progress_share_t& p : pieces_) {
        all.done += shared_number_t(p.done);
        all.total += shared_number_t(p.total);
        all.ended += shared_number_t(p.ended) != 0;
        endless |= p.endless != 0;
    }
    go_on(all, time);
    all.rate = drawn_[0].rate;
    all.seconds = static_cast<double>(time - begun_) / kSecond;
    if (!endless && all.total > 0) all.percent = std::min(static_cast<int>(100.0 * drawn_[0].part), kMostPercent);
    return all;
}

void progress_line_t::go_on(const progress_state_t& state, std::int64_t time)
{
    drawn_t& last = drawn_[0];
    const double seconds = static_cast<double>(time - last.at) / kSecond;
    if (seconds <= 0.0 || state.done < last.done) return;
    const auto step = static_cast<double>(state.done - last.done);
    const double rate = step / seconds;
    // That of the last seconds: copying has another one than reading.
    const double weight = last.rate > 0.0 ? 1.0 - std::exp(-seconds / kMemory) : 1.0;
    last.rate += weight * (rate - last.rate);
    // A part of what was left: where more is left than was guessed it goes slower, and never back.
    if (state.total > last.done) last.part += (1.0 - last.part) * step / static_cast<double>(state.total - last.done);
    last.at = time;
    last.done = state.done;
}

void progress_line_t::wipe()
{
    if (drawn_[0].shown && in_foreground()) put("\r\x1b[K");
    drawn_[0].shown = false;
}

void progress_line_t::step_aside()
{
    hold(STDERR_FILENO);
    draw_next(std::max(now(), begun_ + kSecond));
    let_go();
}

bool progress_line_t::hold(int fd)
{
    if (fd == STDOUT_FILENO && !stdout_seen_) return false;
    lock(lock_, F_SETLKW, F_WRLCK);
    wipe();
    draw_next(now() + kSecond);   // perhaps more is printed
    return true;
}

void progress_line_t::let_go()
{
    lock(lock_, F_SETLK, F_UNLCK);
}

}   // namespace kvx
