/// @file progress.h  How far long work is, on a line of the terminal.
#ifndef KVX_PROGRESS_H
#define KVX_PROGRESS_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace kvx {

class command_line_t;
class input_file_t;
class output_file_t;
class progress_line_t;

/// Declares -q,--quiet.
/// @param what  it means besides: "and no summary"
void add_quiet_option(command_line_t& app, bool* quiet, const std::string& what = "");

/// The work of a run, in pieces: an input or several that make one result each. While it exists a line on stderr tells
/// how much of all of it has been done; processes that are forked meanwhile count, and show, as one. The line appears
/// after a second and goes when the work ends. There is none when stderr is no terminal or a dumb one.
class progress_run_t {
public:
    /// @param pieces  paths; what is no file is read until it ends
    /// @param passes  about so many bytes are gone through to one of the input, in reading it and copying what came of
    ///                it; what becomes known on the way counts instead. 0: all is read until it ends
    progress_run_t(const std::vector<std::vector<std::string>>& pieces, bool quiet, double passes = 1.0);
    progress_run_t(const std::vector<std::string>& inputs, bool quiet, double passes = 1.0);
    ~progress_run_t();
    progress_run_t(const progress_run_t&) = delete;
    progress_run_t& operator=(const progress_run_t&) = delete;

    /// Tells that nobody works on a piece any more; once more does no harm.
    void end(std::size_t piece);

private:
    std::unique_ptr<progress_line_t> line_;   // none: silent
};

/// Of a run the piece that this process works on, while it lives; the first one when none was begun.
class progress_piece_t {
public:
    explicit progress_piece_t(std::size_t piece);
    ~progress_piece_t();   ///< the line is gone, too, until more is done
    progress_piece_t(const progress_piece_t&) = delete;
    progress_piece_t& operator=(const progress_piece_t&) = delete;

private:
    std::size_t piece_;
};

/// A stretch of the work: a file that is read, or copied. One may begin while another is under way.
class progress_t {
public:
    /// @param name   told to the user
    /// @param bytes  of the stretch, 0: unknown
    progress_t(std::string name, std::uint64_t bytes);
    explicit progress_t(const input_file_t& file);             ///< all of it
    progress_t(std::string name, const output_file_t& file);   ///< all that has been written to it
    ~progress_t() = default;
    progress_t(const progress_t&) = delete;
    progress_t& operator=(const progress_t&) = delete;

    /// May be called for every few bytes. Of many calls few look at the clock.
    /// @param done  bytes of the stretch; fewer than before are no step back
    void at(std::uint64_t done)
    {
        constexpr std::uint64_t kStep = 1 << 16;
        if (line_ != nullptr && (done >= told_ + kStep || ++calls_ >= patience_)) tell(done);
    }

    /// The stretch is of another size than was thought.
    void expect(std::uint64_t bytes);

private:
    void tell(std::uint64_t done);

    progress_line_t* line_;   // of the run; none: silent
    std::string name_;
    std::size_t piece_;
    std::uint64_t base_ = 0;   // of the piece, done before
    std::uint64_t told_ = 0;
    unsigned calls_ = 0, patience_ = 1;   // calls until the next one that looks at the clock
    std::int64_t looked_ = 0;             // then
};

/// While it lives the line keeps out of the way of what is printed, also by this run's other processes.
class progress_aside_t {
public:
    /// @param fd  printed to
    explicit progress_aside_t(int fd);
    ~progress_aside_t();
    progress_aside_t(const progress_aside_t&) = delete;
    progress_aside_t& operator=(const progress_aside_t&) = delete;

private:
    progress_line_t* line_;
};

}   // namespace kvx

#endif
