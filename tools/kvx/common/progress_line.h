/// @file progress_line.h  The line of a run's progress: who may write it, and when.
#ifndef KVX_PROGRESS_LINE_H
#define KVX_PROGRESS_LINE_H

#include <cstddef>
#include <cstdint>
#include <string>

#include "common/progress_text.h"
#include "common/shared_array.h"

namespace kvx {

/// A piece of the work, as the processes of a run share it.
struct progress_share_t {
    std::uint64_t done, total;   ///< bytes; the total is what is known or guessed so far
    std::uint64_t ended;         ///< 0: no
    std::uint64_t endless;       ///< it is read until it ends; 0: no
};

/// Its memory is shared with the processes that are forked. Any that has got on with its work draws the line when that
/// is due, so that none has to watch the others.
class progress_line_t {
public:
    explicit progress_line_t(std::size_t pieces);
    ~progress_line_t();
    progress_line_t(const progress_line_t&) = delete;
    progress_line_t& operator=(const progress_line_t&) = delete;

    /// Whether a line on stderr reaches somebody who can see it.
    static bool can_be_shown();

    shared_array_t<progress_share_t>& pieces() { return pieces_; }

    void end(std::size_t piece);

    /// Draws it when it is time, unless it is somebody else's turn.
    /// @return the time (ns)
    std::int64_t draw(const std::string& name);

    /// Wipes it until more is done.
    void step_aside();

    /// Wipes it and keeps all processes from drawing until it is let go.
    /// @param fd  that is printed to meanwhile
    /// @return false: it need not be held
    bool hold(int fd);
    void let_go();

private:
    // What was drawn last; but for the first, of whoever holds the lock.
    struct drawn_t {
        std::int64_t due;   // ns, when it is drawn next
        std::int64_t at;    // ns
        bool shown;
        std::uint64_t done;   // bytes
        double part;          // of all, 0 to 1
        double rate;          // bytes per second
    };
    progress_state_t state(std::int64_t now);
    void go_on(const progress_state_t& state, std::int64_t now);
    void redraw(const std::string& name, std::int64_t now);
    void wipe();
    void draw_next(std::int64_t when);

    shared_array_t<progress_share_t> pieces_;
    shared_array_t<drawn_t> drawn_;   // one
    std::int64_t begun_;              // ns
    int lock_;                        // a file that is locked; the end of a process unlocks it
    bool stdout_seen_;                // on a terminal
};

}   // namespace kvx

#endif
