// kvx expand: plain files from compressed ones and from compact RINEX.
#include <unistd.h>

#include <cctype>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>
#include <set>

#include "common/command.h"
#include "common/error.h"
#include "common/input_file.h"
#include "common/interrupt.h"
#include "common/progress.h"
#include "common/publish.h"
#include "common/standard_streams.h"
#include "rinex/crinex_expand.h"
#include "rinex/line_error.h"

namespace kvx {

namespace {

constexpr std::size_t kHead = 16 * 1024;   // bytes that tell what a file is
constexpr std::size_t kPiece = 64 * 1024;

struct options_t {
    std::vector<std::string> files;
    std::string folder;
    bool to_stdout = false, force = false, quiet = false;
};

// A file that has been looked into.
class source_t {
public:
    explicit source_t(const std::string& path) : file_(path), progress_(file_)
    {
        head_.resize(kHead);
        head_.resize(file_.read(reinterpret_cast<std::uint8_t*>(head_.data()), kHead));
        compact_ = rinex::crinex_expander_t::is_compact(head_.substr(0, head_.find_first_of("\r\n")));
    }

    bool compact() const { return compact_; }
    bool compressed() const { return file_.compressed(); }
    const std::string& name() const { return file_.name(); }

    // Why not all of it could be read; empty when it could.
    std::string cut_short() const { return file_.ended_by_signal() ? "interrupted" : file_.damage(); }

    // Up to n bytes, fewer only at the end; n is at least kHead.
    std::size_t read(char* to, std::size_t n)
    {
        progress_.at(file_.position_on_disk());
        const std::size_t first = head_.copy(to, n);
        head_.clear();
        return first + file_.read(reinterpret_cast<std::uint8_t*>(to + first), n - first);
    }

private:
    input_file_t file_;
    progress_t progress_;
    std::string head_;
    bool compact_ = false;
};

// The lines of a source; when it was cut short, without what may be half of one.
class whole_lines_t : public rinex::line_source_t {
public:
    explicit whole_lines_t(source_t& source)
        : source_(source), lines_([this](char* to, std::size_t n) { return source_.read(to, n); })
    {}

    bool next(std::string_view& line) override
    {
        const bool got = lines_.next(line);
        cut_ = (!got || lines_.unended()) && !source_.cut_short().empty();
        return got && !cut_;
    }

    bool cut() const { return cut_; }
    std::uint64_t position() const { return lines_.position(); }

private:
    source_t& source_;
    rinex::byte_lines_t lines_;
    bool cut_ = false;
};

void expand_compact(source_t& source, std::FILE* out)
{
    whole_lines_t compact(source);
    rinex::crinex_expander_t expander(compact);
    try {
        for (std::string_view line; std::ferror(out) == 0 && expander.next(line); std::putc('\n', out))
            std::fwrite(line.data(), 1, line.size(), out);
    } catch (const rinex::line_error_t& e) {
        if (compact.cut()) return;   // it lacks what could not be read
        throw error_t(source.name(), e.what(),
                      "line " + std::to_string(e.line()) + ", byte " + std::to_string(compact.position()));
    }
}

void expand_bytes(source_t& source, std::FILE* out)
{
    std::vector<char> piece(kPiece);
    for (std::size_t got = kPiece; got == kPiece && std::ferror(out) == 0;) {
        got = source.read(piece.data(), kPiece);
        std::fwrite(piece.data(), 1, got, out);
    }
}

bool ends_with(const std::string& name, const char* lower)
{
    const std::size_t n = std::strlen(lower);
    return name.size() > n && strcasecmp(name.c_str() + (name.size() - n), lower) == 0;
}

char in_case_of(char old, char lower)
{
    return old >= 'A' && old <= 'Z' ? static_cast<char>(lower - 'a' + 'A') : lower;
}

// x.crx is x.rnx, and abcd0010.21d is abcd0010.21o; letters stay large or small.
std::string expanded_name(std::string name, const source_t& source)
{
    const std::size_t whole = name.size();
    for (const char* ending : {".gz", ".zst"}) {
        if (source.compressed() && ends_with(name, ending)) name.resize(whole - std::strlen(ending));
    }
    if (!source.compact()) return name;
    const std::size_t n = name.size();
    const auto digit = [&](std::size_t i) { return name[i] >= '0' && name[i] <= '9'; };
    if (ends_with(name, ".crx")) {
        name[n - 3] = in_case_of(name[n - 3], 'r');
        name[n - 2] = in_case_of(name[n - 2], 'n');
    } else if (ends_with(name, "d") && n > 4 && name[n - 4] == '.' && digit(n - 3) && digit(n - 2)) {
        name[n - 1] = in_case_of(name[n - 1], 'o');
    } else if (name.size() == whole) {
        name += ".rnx";
    }
    return name;
}

class expansion_t {
public:
    explicit expansion_t(const options_t& options) : options_(options) {}

    // @return exit code
    int expand(const std::string& path)
    {
        source_t source(path);
        if (!source.compressed() && !source.compact())
            throw error_t(source.name(), "is neither compressed nor compact RINEX", "nothing to expand");
        if (options_.to_stdout || path == "-") {
            copy(source, stdout);
            look_at_stdout();
            return verdict(source, "what was good has been written");
        }
        const path_t file(path);
        const path_t folder = options_.folder.empty() ? file.parent_path() : path_t(options_.folder);
        path_t target = folder / expanded_name(file.filename(), source);
        demand_free(target, path);
        auto output = std::make_unique<output_file_t>(folder.empty() ? "." : folder);
        copy(source, output->stream());
        output->check(target.filename());
        if (!source.cut_short().empty()) {
            if (std::ftell(output->stream()) == 0) throw error_t(source.name(), source.cut_short(), "nothing was good");
            target += ".partial";
            demand_free(target, path);
        }
        publish(std::move(output), target.filename(), options_.force);
        made_.insert(target);
        tell_written(target);
        return verdict(source, "what was good is in " + target.string());
    }

private:
    using path_t = std::filesystem::path;

    static void copy(source_t& source, std::FILE* out)
    {
        source.compact() ? expand_compact(source, out) : expand_bytes(source, out);
    }

    void demand_free(const path_t& target, const std::string& source) const
    {
        std::error_code nothing_there;
        if (std::filesystem::equivalent(target, source, nothing_there))
            throw error_t(source, "its name has no ending to be dropped", "use --stdout, or -o with another folder");
        if (made_.count(target) != 0) throw error_t(target, "another file of this run has become it", source);
        kvx::demand_free(target, options_.force);
    }

    void tell_written(const path_t& target) const
    {
        if (options_.quiet) return;
        const progress_aside_t aside(STDOUT_FILENO);
        std::printf("wrote %s\n", target.c_str());
    }

    static int verdict(const source_t& source, const std::string& outcome)
    {
        if (source.cut_short().empty()) return kDone;
        const progress_aside_t aside(STDERR_FILENO);
        std::fprintf(stderr, "kvx: error: %s\n", error_t(source.name(), source.cut_short(), outcome).what());
        return kDamaged;
    }

    const options_t& options_;
    std::set<path_t> made_;
};

int run(const options_t& options)
{
    if (!options.folder.empty()) make_folder(options.folder);
    begin_run(options.files);
    catch_interrupts();
    const progress_run_t progress(options.files, options.quiet);
    expansion_t expansion(options);
    int code = kDone;
    for (std::size_t i = 0; i < options.files.size() && !interrupted(); ++i) {
        try {
            const progress_piece_t piece(i);
            const int one = expansion.expand(options.files[i]);
            if (code != kFailed && one != kDone) code = one;
        } catch (const std::exception& e) {
            print_failure(e, options.files[i]);
            code = kFailed;
        }
    }
    return interrupted() ? interrupt_code() : code;
}

}   // namespace

command_t expand_command(command_line_t& program)
{
    auto options = std::make_shared<options_t>();
    command_line_t app = program.command("expand", "Plain files from compressed ones and from compact RINEX");
    app.example("kvx expand packed/*.gz -o plain/", "Into a folder");
    app.example("kvx expand --stdout packed/*.crx.gz | less", "To look at");
    app.option("FILE", &options->files, "Compressed files; - is standard input, which goes to standard output",
               {.required = true});
    app.option("-o,--output", &options->folder, "Folder (default: beside each file)", {.type_name = "DIR"});
    app.flag("--stdout", &options->to_stdout, "Write all to standard output", {.excludes = "--output"});
    app.flag("--force", &options->force, "Replace files that exist");
    add_quiet_option(app, &options->quiet, "and no names of the files written");
    return {app, [options] { return run(*options); }};
}

}   // namespace kvx
