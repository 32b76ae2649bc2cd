#include "common/standard_streams.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "common/command.h"

namespace kvx {

namespace {

// A pipe or connection without its other end. The error of the write that failed may be long gone.
bool reader_has_gone()
{
    struct pollfd out = {STDOUT_FILENO, 0, 0};
    return ::poll(&out, 1, 0) == 1 && (out.revents & (POLLERR | POLLHUP)) != 0;
}

}   // namespace

bool occupy_closed_streams()
{
    for (const int fd : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (::fcntl(fd, F_GETFD) != -1 || errno != EBADF) continue;
        if (::open("/dev/null", fd == STDIN_FILENO ? O_WRONLY : O_RDONLY) != fd) return false;   // the lowest is free
    }
    return true;
}

void look_at_stdout()
{
    if (std::ferror(stdout) != 0) throw stdout_lost_t();
}

int finished(int code)
{
    const bool flushed = std::fflush(stdout) == 0;
    if (flushed && std::ferror(stdout) == 0) return code;
    const char* why = flushed ? "a write failed" : std::strerror(errno);
    if (reader_has_gone()) return code == kDone || code == kDamaged ? kReaderGone : code;
    std::fprintf(stderr, "kvx: error: standard output: %s (writing the results)\n", why);
    return kFailed;
}

}   // namespace kvx
