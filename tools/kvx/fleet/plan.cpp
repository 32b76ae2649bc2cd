#include "fleet/plan.h"

#include <fnmatch.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <set>

#include "common/ascii.h"
#include "common/error.h"

namespace kvx {

namespace {

namespace fs = std::filesystem;

constexpr std::size_t kMarkerColumns = 60;

std::string full_path(const fs::path& path)
{
    return fs::absolute(path).lexically_normal().string();
}

bool is_hidden(const fs::path& path)
{
    return path.filename().string().starts_with('.');
}

bool is_country(const std::string& text)
{
    return text.size() == 3 && std::all_of(text.begin(), text.end(), [](char c) { return c >= 'A' && c <= 'Z'; });
}

planned_log_t log_of_line(const std::string& line, const std::string& place)
{
    std::array<std::string, 3> fields;
    std::size_t at = 0;
    for (std::string& field : fields) {
        const std::size_t end = std::min(line.find('\t', at), line.size());
        field = line.substr(at, end - at);
        at = std::min(end + 1, line.size());
    }
    auto& [path, marker, country] = fields;
    const auto ascii = to_ascii(marker);
    if (path.empty() || path == "-") throw error_t(place, "names no log", "");
    if (!ascii || ascii->size() > kMarkerColumns)
        throw error_t(place, "'" + marker + "' is no marker of at most 60 ASCII characters", "");
    if (!country.empty() && !is_country(country))
        throw error_t(place, "'" + country + "' is not three capital letters", "");
    return {full_path(path), fs::path(full_path(path)).parent_path().filename().string(), *ascii, country};
}

std::vector<planned_log_t> logs_of_list(std::istream& list, const std::string& name)
{
    std::vector<planned_log_t> logs;
    std::set<std::string> known;
    std::string line;
    for (std::size_t number = 1; std::getline(list, line); ++number) {
        if (line.ends_with('\r')) line.pop_back();
        if (line.empty() || line.starts_with('#')) continue;
        planned_log_t log = log_of_line(line, name + ":" + std::to_string(number));
        if (known.insert(log.path).second) logs.push_back(std::move(log));
    }
    if (list.bad()) throw system_error(name, "reading the list");
    return logs;
}

}   // namespace

std::vector<planned_log_t> read_list(const std::string& list)
{
    if (list == "-") return logs_of_list(std::cin, "standard input");
    std::ifstream lines(list);
    if (!lines) throw system_error(list, "reading the list");
    return logs_of_list(lines, list);
}

std::vector<planned_log_t> logs_below(const std::string& folder, const std::string& match)
{
    std::vector<planned_log_t> logs;
    std::error_code error;
    fs::recursive_directory_iterator entry(folder, fs::directory_options::follow_directory_symlink, error);
    for (; !error && entry != fs::recursive_directory_iterator(); entry.increment(error)) {
        const fs::path& path = entry->path();
        if (is_hidden(path)) {
            entry.disable_recursion_pending();
        } else if (entry->is_regular_file(error) && fnmatch(match.c_str(), path.filename().c_str(), 0) == 0) {
            logs.push_back({full_path(path), path.parent_path().lexically_relative(folder).string(), "", ""});
        }
    }
    if (error) throw error_t(folder, error.message(), "looking for logs below it");
    std::sort(logs.begin(), logs.end(), [](const auto& a, const auto& b) { return a.path < b.path; });
    return logs;
}

}   // namespace kvx
