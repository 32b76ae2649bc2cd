#include "fleet/batch_ledger.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>
#include <nlohmann/json.hpp>

#include "common/command.h"
#include "common/error.h"
#include "common/output_file.h"
#include "fleet/digest.h"

namespace kvx {

namespace {

using nlohmann::json;

constexpr std::int64_t kSecond = 1'000'000'000;   // ns

identity_t identity_in(const json& j)
{
    return {j.at("bytes").get<std::uint64_t>(), j.at("modified").get<std::int64_t>(), j.value("sha256", "")};
}

void take_line(const json& line, account_t& account)
{
    std::map<std::string, identity_t> files;
    for (const json& file : line.at("files")) files.emplace(file.at("name").get<std::string>(), identity_in(file));
    for (const auto& [name, file] : files) account.owned[name].insert(file.sha256);
    account.files = std::move(files);
    account.options = line.at("options").get<std::string>();
    account.log.reset();
    if (line.at("code").get<int>() != kFailed) account.log = identity_in(line);
}

bool is_there(const std::string& path)
{
    return ::access(path.c_str(), F_OK) == 0 || errno != ENOENT;
}

// Behind a torn line another one may stand.
json parsed(const std::string& text)
{
    constexpr const char* kBegin = "{\"log\":";
    json line = json::parse(text, nullptr, false);
    const std::size_t last = text.rfind(kBegin);
    if (line.is_discarded() && last != 0 && last != text.npos) line = json::parse(text.substr(last), nullptr, false);
    return line;
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

std::uint64_t read_ledger(const std::string& path, const std::function<void(const nlohmann::json& line)>& take)
{
    std::ifstream ledger(path);
    if (!ledger) throw system_error(path, "reading the ledger");
    std::uint64_t torn = 0;
    std::string text;
    for (std::uint64_t number = 1; std::getline(ledger, text); ++number) {
        const json line = parsed(text);
        try {
            line.is_discarded() ? static_cast<void>(++torn) : take(line);
        } catch (const json::exception& e) {
            throw error_t(path + ":" + std::to_string(number), "is no line of a batch's ledger", e.what());
        }
    }
    if (ledger.bad()) throw system_error(path, "reading the ledger");
    return torn;
}

std::map<std::string, account_t> read_ledgers(const std::vector<std::string>& paths,
                                              const std::function<bool(const std::string& log)>& wanted)
{
    std::map<std::string, account_t> accounts;
    for (const std::string& path : paths) {
        if (!is_there(path)) continue;
        read_ledger(path, [&](const json& line) {
            const auto log = line.at("log").get<std::string>();
            if (wanted(log)) take_line(line, accounts[log]);
        });
    }
    return accounts;
}

std::set<std::string> files_in_ledger(const std::string& path)
{
    std::set<std::string> names;
    if (!is_there(path)) return names;
    read_ledger(path, [&names](const json& line) {
        for (const json& file : line.at("files")) names.insert(file.at("name").get<std::string>());
    });
    return names;
}

ledger_file_t::ledger_file_t(std::string path)
    : path_(std::move(path)), fd_(::open(path_.c_str(), O_RDWR | O_APPEND | O_CREAT | O_CLOEXEC, 0666))
{
    if (fd_ < 0) throw system_error(path_, "opening the ledger");
    if (::flock(fd_, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK) {
        ::close(fd_);
        throw error_t(path_, "another run writes this ledger", "wait for it, or name another one with --ledger");
    }
    struct stat status {};
    char last = '\n';
    if (::fstat(fd_, &status) != 0 || (status.st_size > 0 && ::pread(fd_, &last, 1, status.st_size - 1) != 1)) {
        ::close(fd_);
        throw system_error(path_, "reading the ledger");
    }
    if (last != '\n' && ::write(fd_, "\n", 1) != 1) {   // the end of a run that was killed
        ::close(fd_);
        throw system_error(path_, "writing the ledger");
    }
    number_ = status.st_ino;
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
