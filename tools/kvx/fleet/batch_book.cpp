#include "fleet/batch_book.h"

#include <unistd.h>

#include <cerrno>
#include <nlohmann/json.hpp>

#include "common/command.h"
#include "common/error.h"
#include "common/folder.h"

namespace kvx {

namespace {

using nlohmann::json;

// Below the folder of the files: what a ledger names may be replaced.
std::string name_in(const json& file)
{
    auto name = file.at("name").get<std::string>();
    if (!lies_below(name)) throw error_t(name, "lies elsewhere than the files of a ledger", "");
    return name;
}

bool is_there(const std::string& path)
{
    return ::access(path.c_str(), F_OK) == 0 || errno != ENOENT;
}

}   // namespace

book_t::book_t(const std::string& own, const std::vector<std::string>& others, std::set<std::string> wanted)
    : wanted_(std::move(wanted))
{
    for (const std::string& path : others) read(path, false);
    if (is_there(own)) read(own, true);
}

const account_t* book_t::account(const std::string& log) const
{
    const auto found = accounts_.find(log);
    return found == accounts_.end() ? nullptr : &found->second;
}

const file_maker_t* book_t::maker(const std::string& name) const
{
    const auto found = makers_.find(name);
    return found == makers_.end() ? nullptr : &found->second;
}

std::set<std::string> book_t::made_of(const std::string& log) const
{
    std::set<std::string> names;
    const auto found = files_.find(log);
    if (found == files_.end()) return names;
    for (const std::string& name : found->second) {
        if (makers_.at(name).log == log) names.insert(name);
    }
    return names;
}

void book_t::read(const std::string& path, bool own)
{
    read_ledger(path, [&](const json& line, std::string_view text) {
        take(line);
        const auto account = accounts_.find(line.at("log").get<std::string>());
        if (account != accounts_.end()) account->second.line = own ? "" : text;
    });
}

void book_t::take(const json& line)
{
    const auto log = line.at("log").get<std::string>();
    for (const std::string& other : adopted_in(line)) hand_over(other, log);
    take_files(line, log);
    if (wanted_.count(log) == 0) return;
    account_t& account = accounts_[log];
    account.files.clear();
    for (const json& file : line.at("files")) account.files.emplace(name_in(file), identity_in(file));
    account.options = line.at("options").get<std::string>();
    account.log.reset();
    if (line.at("code").get<int>() != kFailed) account.log = identity_in(line);
}

void book_t::take_files(const json& line, const std::string& log)
{
    for (const json& file : line.at("files")) {
        const std::string name = name_in(file);
        file_maker_t& maker = makers_[name];
        if (maker.log != log) maker = {log, {}};
        maker.sha256s.insert(identity_in(file).sha256);
        files_[log].insert(name);
    }
}

void book_t::hand_over(const std::string& other, const std::string& log)
{
    accounts_.erase(other);
    for (const std::string& name : made_of(other)) {
        makers_[name].log = log;
        files_[log].insert(name);
    }
    files_.erase(other);
}

}   // namespace kvx
