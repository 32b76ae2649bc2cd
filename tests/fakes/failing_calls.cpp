// Preloaded into a program: its n-th allocation, dlsym or system call of some kind fails, or all do from there on.
//
// FAIL_KIND names the kind, FAIL_AT the first call that fails (from 1), FAIL_COUNT how many do, FAIL_ERRNO with what.
// The file FAIL_REPORT takes the number of calls, and whether the kind can be counted here. The kernel hands the system
// calls back by SIGSYS, so that those which libc makes for itself are among them. Devices stand in for hardware, and
// the clock stands still.
#include <dlfcn.h>
#include <fcntl.h>
#include <linux/filter.h>
#include <linux/gpio.h>
#include <linux/i2c-dev.h>
#include <linux/i2c.h>
#include <linux/seccomp.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <ucontext.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdlib>
#include <ctime>
#include <string_view>
#include <vector>

namespace {

using std::string_view;

struct report_t {   // the file, shared with forked processes
    std::atomic<long> calls, countable;
};
report_t* g_report = nullptr;   // null: nothing is counted yet
string_view g_kind;
long g_at = 0, g_count = 0;
int g_errno = 0;

bool fails(string_view kind)
{
    if (g_report == nullptr || kind != g_kind) return false;
    const long nth = ++g_report->calls;
    if (nth < g_at || nth >= g_at + g_count) return false;
    errno = g_errno;
    return true;
}

// ---- system calls ----

std::vector<unsigned> calls_of(string_view kind)
{
    if (kind == "fork") return {SYS_clone};   // threads come by clone3
    if (kind == "read") return {SYS_read, SYS_pread64, SYS_readv};
    if (kind == "seek") return {SYS_lseek};
    if (kind == "write") return {SYS_write, SYS_pwrite64, SYS_writev, SYS_ftruncate};
    std::vector<unsigned> calls;
    if (kind == "open") calls = {SYS_openat, SYS_mkdirat, SYS_memfd_create, SYS_getdents64, SYS_dup};
    if (kind == "finish") calls = {SYS_fsync, SYS_fdatasync, SYS_close, SYS_renameat, SYS_renameat2, SYS_linkat};
    if (kind == "look") calls = {SYS_newfstatat, SYS_fstat, SYS_statx, SYS_ioctl, SYS_fcntl, SYS_flock, SYS_fchmod};
#ifdef __x86_64__
    if (kind == "open") calls.insert(calls.end(), {SYS_open, SYS_mkdir});
    if (kind == "finish") calls.insert(calls.end(), {SYS_rename, SYS_link});
#endif
    return calls;
}

constexpr int kPass = 0x5A17;   // as sixth argument, which none of these calls has: the kernel is to do it

void on_call(int, siginfo_t* info, void* context)
{
#ifdef __x86_64__
    auto& r = static_cast<ucontext_t*>(context)->uc_mcontext.gregs;
    const long long argument[] = {r[REG_RDI], r[REG_RSI], r[REG_RDX], r[REG_R10], r[REG_R8]};
    auto& result = r[REG_RAX];
#else
    const auto& argument = static_cast<ucontext_t*>(context)->uc_mcontext.regs;
    auto& result = static_cast<ucontext_t*>(context)->uc_mcontext.regs[0];
#endif
    const int kept = errno;
    const bool message = g_kind == "write" && argument[0] == STDERR_FILENO;   // what went wrong can be told
    const bool failed = !message && fails(g_kind);
    long done = 0;
    if (!failed || info->si_syscall == SYS_close)
        done = syscall(info->si_syscall, argument[0], argument[1], argument[2], argument[3], argument[4], kPass);
    result = failed ? -g_errno : done < 0 ? -errno : done;
    errno = kept;
}

bool catch_calls(const std::vector<unsigned>& calls)
{
    struct sigaction action = {};
    action.sa_sigaction = on_call;
    action.sa_flags = SA_SIGINFO | SA_NODEFER;
    sigaction(SIGSYS, &action, nullptr);
    std::vector<sock_filter> filter = {
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, args[5])),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, kPass, 0, 1),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
    };
    for (const unsigned call : calls) {
        filter.push_back(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, call, 0, 1));
        filter.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_TRAP));
    }
    filter.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW));
    const sock_fprog program = {static_cast<unsigned short>(filter.size()), filter.data()};
    return prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 && prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) == 0;
}

const char* setting(const char* name)
{
    const char* value = std::getenv(name);
    return value == nullptr ? "0" : value;
}

__attribute__((constructor)) void begin()
{
    const int file = open(setting("FAIL_REPORT"), O_RDWR | O_CLOEXEC);
    void* const report = mmap(nullptr, sizeof(report_t), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    if (report == MAP_FAILED) std::abort();
    close(file);
    g_kind = setting("FAIL_KIND");
    g_at = std::atol(setting("FAIL_AT"));
    g_count = std::atol(setting("FAIL_COUNT"));
    g_errno = std::atoi(setting("FAIL_ERRNO"));
    const std::vector<unsigned> calls = calls_of(g_kind);
    const bool countable = calls.empty() || catch_calls(calls);
    g_report = static_cast<report_t*>(report);
    g_report->countable = countable;
}

int g_device = -1;   // the last descriptor of a device that stands in for hardware

}   // namespace

extern "C" {

// ---- functions of libc ----

void* __libc_malloc(std::size_t);
void* __libc_calloc(std::size_t, std::size_t);
void* __libc_realloc(void*, std::size_t);

void* malloc(std::size_t size)
{
    return fails("memory") ? nullptr : __libc_malloc(size);
}
void* calloc(std::size_t n, std::size_t size)
{
    return fails("memory") ? nullptr : __libc_calloc(n, size);
}
void* realloc(void* block, std::size_t size)
{
    return fails("memory") ? nullptr : __libc_realloc(block, size);
}
void* dlsym(void* __restrict library, const char* __restrict name)
{
    static const auto real = reinterpret_cast<decltype(&dlsym)>(dlvsym(RTLD_NEXT, "dlsym", "GLIBC_2.34"));
    return fails("dlsym") ? nullptr : real(library, name);
}

// Hardware that takes everything.
int open(const char* path, int flags, ...)
{
    const bool device = string_view(path).starts_with("/dev/gpiochip") || string_view(path).starts_with("/dev/i2c-");
    va_list rest;
    va_start(rest, flags);
    const mode_t mode = va_arg(rest, mode_t);
    va_end(rest);
    const int fd = openat(AT_FDCWD, device ? "/dev/zero" : path, flags, mode);
    if (device) g_device = fd;
    return fd;
}
int ioctl(int fd, unsigned long call, ...)
{
    va_list rest;
    va_start(rest, call);
    void* const argument = va_arg(rest, void*);
    va_end(rest);
    const long result = syscall(SYS_ioctl, fd, call, argument);
    if (result >= 0 || fd != g_device || errno != ENOTTY) return static_cast<int>(result);
    if (call == GPIO_GET_LINEHANDLE_IOCTL)
        return g_device = static_cast<gpiohandle_request*>(argument)->fd = dup(fd), 0;
    return call == I2C_RDWR ? static_cast<int>(static_cast<i2c_rdwr_ioctl_data*>(argument)->nmsgs) : 0;
}

std::time_t time(std::time_t* to)
{
    constexpr std::time_t kNow = 1700000000;
    if (to != nullptr) *to = kNow;
    return kNow;
}
}
