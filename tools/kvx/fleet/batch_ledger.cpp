#include "fleet/batch_ledger.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <thread>

#include "common/error.h"
#include "common/output_file.h"
#include "fleet/digest.h"

namespace kvx {

namespace {

using nlohmann::json;

constexpr std::int64_t kSecond = 1'000'000'000;   // ns

// Behind a torn line another one may stand.
json parsed(std::string_view& text)
{
    constexpr std::string_view kBegin = "{\"log\":";
    json line = json::parse(text, nullptr, false);
    const std::size_t last = text.rfind(kBegin);
    if (line.is_discarded() && last != 0 && last != text.npos) {
        text.remove_prefix(last);
        line = json::parse(text, nullptr, false);
    }
    return line;
}

constexpr char kFirst = '{';   // byte of every ledger

constexpr std::chrono::milliseconds kPause{50}, kPatience{2000};

// A worker that was killed holds the lock until the disk has answered it.
bool take_lock(int fd)
{
    const auto end = std::chrono::steady_clock::now() + kPatience;
    while (::flock(fd, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK) {
        if (std::chrono::steady_clock::now() > end) return false;
        std::this_thread::sleep_for(kPause);
    }
    return true;   // also where files have no locks
}

template <class T>
T whole_number(const json& object, const char* name)
{
    const json& value = object.at(name);
    if (!value.is_number_integer()) throw json::type_error::create(302, "no whole number", &value);
    return value.get<T>();
}

}   // namespace

std::optional<identity_t> identity_t::of(const std::string& path, bool checksum)
{
    struct stat status {};
    if (::stat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) return std::nullopt;
    identity_t identity{static_cast<std::uint64_t>(status.st_size),
                        static_cast<std::int64_t>(status.st_mtim.tv_sec) * kSecond + status.st_mtim.tv_nsec, ""};
    if (checksum) identity.sha256 = sha256_of(path);
    return identity;
}

bool identity_t::same(const identity_t& other) const
{
    return bytes == other.bytes && modified / kSecond == other.modified / kSecond &&
           (sha256.empty() || other.sha256.empty() || sha256 == other.sha256);
}

identity_t identity_in(const json& object)
{
    return {whole_number<std::uint64_t>(object, "bytes"), whole_number<std::int64_t>(object, "modified"),
            object.value("sha256", "")};
}

std::vector<std::string> adopted_in(const nlohmann::json& line)
{
    return line.value("instead_of", std::vector<std::string>());
}

std::uint64_t read_ledger(const std::string& path,
                          const std::function<void(const nlohmann::json& line, std::string_view text)>& take)
{
    std::error_code error;
    std::ifstream ledger(path);
    if (ledger && !std::filesystem::is_regular_file(path, error)) throw error_t(path, "is no ledger of a batch", "");
    if (!ledger) throw system_error(path, "reading the ledger");
    std::uint64_t torn = 0;
    std::string text;
    for (std::uint64_t number = 1; std::getline(ledger, text); ++number) {
        if (number == 1 && !text.empty() && text[0] != kFirst) throw error_t(path, "is no ledger of a batch", "");
        std::string_view whole = text;
        const json line = parsed(whole);
        try {
            line.is_discarded() ? static_cast<void>(++torn) : take(line, whole);
        } catch (const json::exception&) {
            throw error_t(path + ":" + std::to_string(number), "is no line of a batch's ledger", "");
        }
    }
    if (ledger.bad()) throw system_error(path, "reading the ledger");
    return torn;
}

ledger_file_t::ledger_file_t(std::string path)
    : path_(std::move(path)), fd_(::open(path_.c_str(), O_RDWR | O_APPEND | O_CREAT | O_CLOEXEC, 0666))
{
    if (fd_ < 0) throw system_error(path_, "opening the ledger");
    if (!take_lock(fd_)) {
        ::close(fd_);
        throw error_t(path_, "another run writes this ledger", "wait for it, or name another one with --ledger");
    }
    struct stat status {};
    char last = '\n';
    if (::fstat(fd_, &status) != 0 || (status.st_size > 0 && ::pread(fd_, &last, 1, status.st_size - 1) != 1)) {
        ::close(fd_);
        throw system_error(path_, "reading the ledger");
    }
    char first = kFirst;
    if (status.st_size > 0 && ::pread(fd_, &first, 1, 0) == 1 && first != kFirst) {
        ::close(fd_);
        throw error_t(path_, "is no ledger of a batch", "name another file with --ledger");
    }
    if (last != '\n' && ::write(fd_, "\n", 1) != 1) {   // the end of a run that was killed
        ::close(fd_);
        throw system_error(path_, "writing the ledger");
    }
}

ledger_file_t::~ledger_file_t()
{
    ::close(fd_);
}

// One call a line: lines of several processes do not mix.
void ledger_file_t::add(std::string text)
{
    text += '\n';
    const ssize_t written = ::write(fd_, text.data(), text.size());
    if (written >= 0 && static_cast<std::size_t>(written) < text.size()) errno = ENOSPC;
    if (written != static_cast<ssize_t>(text.size()) || !is_on_disk(fd_))
        throw system_error(path_, "writing the ledger");
}

}   // namespace kvx
