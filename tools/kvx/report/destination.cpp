#include "report/destination.h"

#include <cstdio>
#include <filesystem>
#include <memory>

#include "common/error.h"
#include "common/publish.h"

namespace kvx::report {

namespace {

using path_t = std::filesystem::path;

void write_all(const std::string& page, std::FILE* out)
{
    std::fwrite(page.data(), 1, page.size(), out);
}

}   // namespace

destination_t::destination_t(const std::string& output, bool several, bool replace)
    : several_(several), replace_(replace), stream_(is_device(output))
{
    const path_t path(output);
    const bool is_page = path.extension() == ".html" || path.extension() == ".htm";
    const bool is_folder = !is_page || std::filesystem::is_directory(path);
    if (stream_) {
        if (several) throw error_t(output, "is a device", "pages of several logs need a folder");
        single_ = output;
        return;
    }
    folder_ = is_folder ? output : path.has_parent_path() ? path.parent_path().string() : ".";
    while (folder_.size() > 1 && folder_.back() == '/') folder_.pop_back();
    make_folder(folder_);
    if (several) index_ = is_folder ? "index.html" : path.filename().string();
    if (!several && !is_folder) single_ = path.filename().string();
    const std::string& named = several ? index_ : single_;
    if (!named.empty()) demand_free((path_t(folder_) / named).string(), replace);
    taken_.insert(index_);
}

// What ends the names of logs is dropped; two logs of one name get numbers.
std::string destination_t::page_of(const std::string& log)
{
    if (!single_.empty()) return single_;
    path_t stem = log == "-" ? path_t("log") : path_t(log).filename();
    if (stem.extension() == ".gz") stem = stem.stem();
    stem = stem.stem();
    std::string name = stem.string() + ".html";
    for (int number = 2; !taken_.insert(name).second; ++number)
        name = stem.string() + "_" + std::to_string(number) + ".html";
    demand_free((path_t(folder_) / name).string(), replace_);
    return name;
}

std::string destination_t::write(const std::string& page, const std::string& name) const
{
    if (stream_) {
        const std::unique_ptr<std::FILE, int (*)(std::FILE*)> out(std::fopen(name.c_str(), "wb"), std::fclose);
        if (!out) throw system_error(name, "opening");
        write_all(page, out.get());
        if (std::fflush(out.get()) != 0) throw system_error(name, "writing the page");
        return "";
    }
    auto file = std::make_unique<output_file_t>(folder_);
    write_all(page, file->stream());
    file->check(name);
    return publish(std::move(file), name, replace_);
}

}   // namespace kvx::report
