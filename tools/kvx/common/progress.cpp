#include "common/progress.h"

#include <sys/stat.h>

#include <algorithm>
#include <atomic>

#include "common/command_line.h"
#include "common/input_file.h"
#include "common/output_file.h"
#include "common/progress_line.h"

namespace kvx {

namespace {

using shared_number_t = std::atomic_ref<std::uint64_t>;

progress_line_t* g_line = nullptr;   // of the run, when it is shown
std::size_t g_piece = 0;             // that this process works on

// What is not there will fail in its turn.
progress_share_t share_of(const std::vector<std::string>& paths, double passes)
{
    progress_share_t share{};
    for (const std::string& path : paths) {
        struct stat status {};
        if ((path == "-" ? ::fstat(0, &status) : ::stat(path.c_str(), &status)) != 0) continue;
        if (S_ISREG(status.st_mode) && passes > 0.0)
            share.total += static_cast<std::uint64_t>(passes * static_cast<double>(status.st_size));
        else
            share.endless = 1;
    }
    return share;
}

std::vector<std::vector<std::string>> one_by_one(const std::vector<std::string>& inputs)
{
    std::vector<std::vector<std::string>> pieces(inputs.size());
    for (std::size_t i = 0; i < inputs.size(); ++i) pieces[i] = {inputs[i]};
    return pieces;
}

}   // namespace

void add_quiet_option(command_line_t& app, bool* quiet, const std::string& what)
{
    app.flag("-q,--quiet", quiet, "No progress on the terminal" + (what.empty() ? "" : " " + what));
}

progress_run_t::progress_run_t(const std::vector<std::vector<std::string>>& pieces, bool quiet, double passes)
{
    if (quiet || !progress_line_t::can_be_shown()) return;
    line_ = std::make_unique<progress_line_t>(std::max<std::size_t>(pieces.size(), 1));
    for (std::size_t i = 0; i < pieces.size(); ++i) line_->pieces()[i] = share_of(pieces[i], passes);
    g_line = line_.get();
    g_piece = 0;
}

progress_run_t::progress_run_t(const std::vector<std::string>& inputs, bool quiet, double passes)
    : progress_run_t(one_by_one(inputs), quiet, passes)
{}

progress_run_t::~progress_run_t()
{
    if (line_) g_line = nullptr;
}

void progress_run_t::end(std::size_t piece)
{
    if (line_) line_->end(piece);
}

progress_piece_t::progress_piece_t(std::size_t piece) : piece_(piece)
{
    g_piece = piece;
}

progress_piece_t::~progress_piece_t()
{
    if (g_line != nullptr) g_line->end(piece_);
    if (g_line != nullptr) g_line->step_aside();
}

progress_t::progress_t(std::string name, std::uint64_t bytes) : line_(g_line), name_(std::move(name)), piece_(g_piece)
{
    if (line_ == nullptr) return;
    progress_share_t& share = line_->pieces()[piece_];
    base_ = shared_number_t(share.done);
    shared_number_t(share.total) = std::max<std::uint64_t>(shared_number_t(share.total), base_ + bytes);
}

progress_t::progress_t(const input_file_t& file) : progress_t(file.name(), file.size_on_disk()) {}

progress_t::progress_t(std::string name, const output_file_t& file)
    : progress_t(std::move(name), g_line != nullptr ? file.size() : 0)
{}

void progress_t::expect(std::uint64_t bytes)
{
    if (line_ != nullptr) shared_number_t(line_->pieces()[piece_].total) = base_ + bytes;
}

void progress_t::tell(std::uint64_t done)
{
    if (done > told_) {
        shared_number_t(line_->pieces()[piece_].done) += done - told_;
        told_ = done;
    }
    constexpr std::int64_t kSoon = 10'000'000;   // ns
    constexpr unsigned kMost = 64;
    const std::int64_t now = line_->draw(name_);
    patience_ = now - looked_ < kSoon ? std::min(2 * patience_, kMost) : 1;
    looked_ = now;
    calls_ = 0;
}

progress_aside_t::progress_aside_t(int fd) : line_(g_line != nullptr && g_line->hold(fd) ? g_line : nullptr) {}

progress_aside_t::~progress_aside_t()
{
    if (line_ != nullptr) line_->let_go();
}

}   // namespace kvx
