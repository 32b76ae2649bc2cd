#include "fleet/plan.h"

#include <fnmatch.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <map>
#include <set>

#include "common/ascii.h"
#include "common/command_line.h"
#include "common/error.h"
#include "common/folder.h"
#include "convert/file_names.h"
#include "convert/header_settings.h"

namespace kvx {

namespace {

namespace fs = std::filesystem;

std::vector<std::string> fields_of(const std::string& line)
{
    std::vector<std::string> fields;
    for (std::size_t at = 0; at <= line.size(); at += fields.back().size() + 1)
        fields.push_back(line.substr(at, line.find('\t', at) - at));
    return fields;
}

planned_log_t log_of_line(const std::string& line, const std::string& place)
{
    std::vector<std::string> fields = fields_of(line);
    fields.resize(std::max<std::size_t>(fields.size(), 3));
    const auto marker = to_ascii(fields[1]);
    if (fields[0].empty() || fields[0] == "-" || line.find('\0') != line.npos) throw error_t(place, "names no log", "");
    if (!marker || marker->size() > kMarkerColumns)
        throw error_t(place, "'" + fields[1] + "' is no marker of at most 60 ASCII characters", "");
    if (const std::string fault = fault_in_country(fields[2]); !fields[2].empty() && !fault.empty())
        throw error_t(place, "'" + fields[2] + "' " + fault, "");
    planned_log_t log{absolute_path(fields[0]), *marker, fields[2], {}, ""};
    try {
        for (std::size_t i = 3; i < fields.size(); ++i) {
            if (fields[i].empty()) continue;
            log.settings.push_back(header_setting(fields[i]));
            if (log.settings.back().label == "MARKER NAME") log.marker = log.settings.back().text;
        }
    } catch (const usage_error_t& e) {
        throw error_t(place, e.what(), "");
    }
    return log;
}

std::vector<planned_log_t> logs_of_list(std::istream& list, const std::string& name)
{
    std::vector<planned_log_t> logs;
    std::map<std::string, std::size_t> known;   // and their places
    std::string line;
    for (std::size_t number = 1; std::getline(list, line); ++number) {
        if (line.ends_with('\r')) line.pop_back();
        if (line.empty() || line.starts_with('#')) continue;
        const std::string place = name + ":" + std::to_string(number);
        planned_log_t log = log_of_line(line, place);
        const auto [other, is_new] = known.emplace(log.path, logs.size());
        if (is_new)
            logs.push_back(std::move(log));
        else if (!(log == logs[other->second]))
            throw error_t(place, log.path + " stands in the list with another marker, country or header", "");
    }
    if (list.bad()) throw system_error(name, "reading the list");
    return logs;
}

class search_t {
public:
    search_t(const std::string& match, std::vector<planned_log_t>& found) : match_(match), found_(found) {}

    void look_into(const fs::path& folder)
    {
        struct stat status {};
        if (::stat(folder.c_str(), &status) != 0) return add(folder, std::strerror(errno));
        if (!seen_.emplace(status.st_dev, status.st_ino).second) return;
        int fault = 0;
        std::vector<std::string> names = names_in(folder.string(), fault);
        if (fault != 0) add(folder, std::strerror(fault));
        // What is in a folder that links lead to, too, is known by its own path.
        std::stable_partition(names.begin(), names.end(), [&](const std::string& name) {
            std::error_code error;
            return !fs::is_symlink(folder / name, error);
        });
        for (const std::string& name : names) take(folder / name);
    }

private:
    void add(const fs::path& path, const std::string& fault)
    {
        found_.push_back({absolute_path(path), "", "", {}, fault});
    }

    void take(const fs::path& path)
    {
        if (path.filename().string().starts_with('.')) return;
        struct stat status {};
        const bool known = ::stat(path.c_str(), &status) == 0;
        if (!known && errno != ENOENT) return add(path, std::strerror(errno));   // it may be a folder
        if (known && S_ISDIR(status.st_mode)) return look_into(path);
        const bool file = !known || S_ISREG(status.st_mode);   // also a link to none
        if (file && fnmatch(match_.c_str(), path.filename().c_str(), 0) == 0) add(path, "");
    }

    const std::string& match_;
    std::vector<planned_log_t>& found_;
    std::set<std::pair<dev_t, ino_t>> seen_;   // folders: links may lead back
};

}   // namespace

std::string absolute_path(const std::filesystem::path& path)
{
    fs::path whole;
    for (const fs::path& part : fs::absolute(path)) {
        if (part != "." && !part.empty()) whole /= part;
    }
    return whole.string();
}

std::vector<planned_log_t> read_list(const std::string& list)
{
    if (list == "-") return logs_of_list(std::cin, "standard input");
    std::error_code error;
    if (fs::is_directory(list, error)) throw error_t(list, "is a folder", "a list of logs is needed, a line each");
    std::ifstream lines(list);
    if (!lines) throw system_error(list, "reading the list");
    return logs_of_list(lines, list);
}

std::vector<planned_log_t> logs_below(const std::string& folder, const std::string& match)
{
    std::vector<planned_log_t> logs;
    search_t(match, logs).look_into(folder);
    std::sort(logs.begin(), logs.end(), [](const auto& a, const auto& b) { return a.path < b.path; });
    return logs;
}

}   // namespace kvx
