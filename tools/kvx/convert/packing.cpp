#include "convert/packing.h"

#include <ctime>

#include "common/compressor.h"
#include "common/error.h"
#include "common/progress.h"
#include "common/text_format.h"
#include "rinex/crinex_compress.h"
#include "rinex/line_error.h"
#include "rinex/lines.h"

namespace kvx {

namespace {

constexpr const char* kPartial = ".partial";

// A name in front of what tells that the file was cut short.
std::string with_ending(const std::string& name, const std::string& ending)
{
    const bool partial = name.ends_with(kPartial);
    return partial ? name.substr(0, name.size() - std::string(kPartial).size()) + ending + kPartial : name + ending;
}

// "x.rnx" becomes "x.crx", "x.24o" "x.24d".
std::string compact_name(std::string name)
{
    if (const auto at = name.rfind(".rnx"); at != name.npos) return name.replace(at, 4, ".crx");
    const auto at = name.rfind('o');
    return name.replace(at, 1, "d");
}

// "21-Nov-26 08:05"
std::string compact_date()
{
    constexpr const char* kMonths[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                       "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    const std::time_t now = std::time(nullptr);
    std::tm utc{};
    gmtime_r(&now, &utc);
    return text("%02d-%s-%02d %02d:%02d", utc.tm_mday, kMonths[utc.tm_mon], utc.tm_year % 100, utc.tm_hour, utc.tm_min);
}

std::unique_ptr<output_file_t> made_compact(output_file_t& file, const std::string& name,
                                            const convert_options_t& options)
{
    auto compact = std::make_unique<output_file_t>(options.folder_of(!options.packs()));
    const auto write = [&](std::string_view text) {
        (void)std::fwrite(text.data(), 1, text.size(), compact->stream());
    };
    rinex::crinex_compressor_t compressor(write, KVX_VERSION, compact_date());
    file.seek(0);
    progress_t progress(name, file);
    std::uint64_t done = 0;
    rinex::byte_lines_t lines([&](char* to, std::size_t n) {
        progress.at(done);
        const std::size_t got = std::fread(to, 1, n, file.stream());
        done += got;
        return got;
    });
    try {
        for (std::string_view line; lines.next(line);) compressor.put(line);
        compressor.finish();
    } catch (const rinex::line_error_t& e) {
        throw error_t(name, e.what(), "line " + std::to_string(e.line()) + ", making it compact");
    }
    if (std::ferror(file.stream()) != 0) throw error_t(file.path(), "reading back failed", "making it compact");
    return compact;
}

}   // namespace

finished_file_t packed(std::unique_ptr<output_file_t> file, const std::string& name, const convert_options_t& options)
{
    file->check(name);
    const char* const ending = options.gz ? ".gz" : options.zst ? ".zst" : nullptr;
    if (ending == nullptr) return {std::move(file), name};
    auto smaller = std::make_unique<output_file_t>(options.folder);
    progress_t progress(name, *file);
    compress(*file, *smaller, ending, [&](std::uint64_t bytes) { progress.at(bytes); });
    smaller->check(name);
    return {std::move(smaller), with_ending(name, ending)};
}

finished_file_t packed_observations(std::unique_ptr<output_file_t> file, const std::string& name,
                                    const convert_options_t& options)
{
    file->check(name);
    if (!options.crx) return packed(std::move(file), name, options);
    return packed(made_compact(*file, name, options), compact_name(name), options);
}

}   // namespace kvx
