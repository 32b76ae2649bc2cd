// The summary for people.
#include <algorithm>

#include "common/gps_time.h"
#include "common/systems.h"
#include "common/text_format.h"
#include "log/summary.h"

namespace kvx {

namespace {

std::string messages_text(const summary_t& s)
{
    std::string out;
    for (const auto& [id, m] : s.messages)
        out += "  " + right(m.frames, 8) + text(" x %s (%d)\n", message_name(id), id);
    return out;
}

std::vector<std::string> losses_of(const summary_t& s)
{
    struct loss_t {
        std::uint64_t n;
        const char* what;
        std::uint64_t bytes = 0;
    };
    const loss_t losses[] = {
        {s.lost.bad_checksum, "frame(s) with a wrong checksum", s.lost.bad_checksum_bytes},
        {s.lost.refused, "frame(s) with contents that cannot be right"},
        {s.lost.too_long, "header(s) that announce more than a frame can hold", s.lost.too_long_bytes},
        {s.lost.skipped_bytes, "byte(s) between frames"},
        {s.lost.torn_bytes, "byte(s) of a frame that the end of the log cuts off"},
    };
    std::vector<std::string> texts;
    for (const loss_t& loss : losses) {
        if (loss.n == 0) continue;
        texts.push_back(std::to_string(loss.n) + " " + loss.what);
        if (loss.bytes > 0) texts.back() += ", " + plural(loss.bytes, "byte");
    }
    if (!s.source_damage.empty()) texts.push_back(s.source_damage);
    return texts;
}

std::string losses_text(const summary_t& s)
{
    std::string out;
    for (const std::string& loss : losses_of(s)) out += "  lost: " + loss + "\n";
    if (out.empty()) return "  nothing lost: good frames make up all " + plural(s.bytes, "byte") + "\n";
    return out + "  good: " + std::to_string(s.lost.good_bytes) + " of " + plural(s.bytes, "byte") + "\n";
}

std::string navigation_text(const navigation_count_t& n)
{
    if (n.found == 0) return "  no ephemerides in the log, no navigation file\n";
    return "  ephemerides: " + std::to_string(n.found) + ", records written: " + std::to_string(n.written) +
           (n.written == 0 ? ", no navigation file\n" : "\n") +
           (n.blanks == 0 ? ""
                          : "  left blank, numbers of ephemerides too large for their columns: " +
                                std::to_string(n.blanks) + "\n");
}

// "G1C 12, G2W 4"
template <typename Counts>
std::string named_counts(const Counts& counts)
{
    std::string text;
    for (const auto& [name, n] : counts) text += (text.empty() ? "" : ", ") + name + " " + std::to_string(n);
    return text;
}

// What is no damage.
std::string notices_text(const notices_t& notices)
{
    std::string out;
    if (!notices.without_number.empty())
        out += "  not used, no number for their satellite: messages of " + named_counts(notices.without_number) + "\n";
    if (notices.clock_not_set > 0)
        out += "  not used, sent before the clock was set: " + plural(notices.clock_not_set, "message") + "\n";
    return out;
}

std::string place_text(const clock_faults_t::place_t& p)
{
    return "byte " + std::to_string(p.offset) + (p.log.empty() ? "" : " of " + p.log);
}

// A line for each place that is named, and how many more there are.
std::string clock_text(const clock_faults_t& clock, bool converted)
{
    std::string out;
    for (const auto& p : clock.first_steps) {
        out += "  the clock steps back from " + date_text(p.before) + " to " + date_text(p.time) + " at " +
               place_text(p) + (converted ? ": a new file begins\n" : "\n");
    }
    if (clock.steps_back > clock.first_steps.size())
        out += "  and " + std::to_string(clock.steps_back - clock.first_steps.size()) + " more times\n";
    if (clock.steps_back + 1 >= static_cast<std::uint64_t>(kMostFilesOfLog))
        out += "  no more files than these: epochs behind further steps back are out of order\n";
    for (const auto& p : clock.first_out) {
        out += (converted ? "  left out: epoch " : "  epoch ") + date_text(p.time) + " at " + place_text(p) +
               ": its time is not between those around it\n";
    }
    if (clock.epochs_out > clock.first_out.size())
        out += "  and " + plural(clock.epochs_out - clock.first_out.size(), "more epoch") + " like these\n";
    return out;
}

// One line for each reason, with its signals.
std::string signals_text(const std::vector<signal_count_t>& signals)
{
    std::uint64_t records = 0, written = 0;
    for (const signal_count_t& s : signals) {
        records += s.counts.records();
        written += s.counts.written();
    }
    std::string out = "  observations: " + std::to_string(records) + ", written: " + std::to_string(written) + "\n";
    const auto list = [&](const std::string& what, auto count_of) {
        std::uint64_t sum = 0;
        std::vector<std::pair<std::string, std::uint64_t>> counts;   // several types may have one name
        for (const signal_count_t& s : signals) {
            const std::uint64_t n = count_of(s.counts);
            const auto same =
                std::find_if(counts.begin(), counts.end(), [&](const auto& c) { return c.first == s.name(); });
            sum += n;
            if (same != counts.end()) {
                same->second += n;
            } else if (n > 0) {
                counts.emplace_back(s.name(), n);
            }
        }
        if (sum > 0) out += "  " + what + ": " + std::to_string(sum) + " (" + named_counts(counts) + ")\n";
    };
    for (std::size_t fate = 1; fate < rinex::kFates; ++fate)
        list(std::string("left out, ") + rinex::kFateNames[fate], [fate](const auto& row) { return row.fates[fate]; });
    list("phases without a column", [](const auto& row) { return row.lost_phases; });
    list("left blank, values too large for their columns", [](const auto& row) { return row.blanks; });
    return out;
}

// A line for each signal, with its satellites.
std::string beyond_record_text(const outcome_t& o)
{
    std::map<std::string, std::map<std::string, std::uint64_t>> by_signal;
    for (const auto& [place, n] : o.beyond_record) by_signal[place.second.substr(0, 1) + place.first][place.second] = n;
    std::string out;
    for (const auto& [signal, satellites] : by_signal)
        out += "  the record cannot carry " + signal + " of " + named_counts(satellites) + "\n";
    if (!o.under_other_number.empty())
        out += "  of these stand under another satellite's number: " + named_counts(o.under_other_number) + "\n";
    return out;
}

std::string outcome_text(const outcome_t& o)
{
    std::string out = o.signals.empty() ? beyond_record_text(o) : signals_text(o.signals);
    if (o.observations.left_out > 0) {
        out += "  left out: " + std::to_string(o.observations.left_out) +
               " satellite observation(s) that this RINEX version cannot name here\n";
    }
    if (o.observations.events > 0) out += "  events: " + std::to_string(o.observations.events) + "\n";
    if (o.observations.events_lost > 0)
        out += "  left out: " + plural(o.observations.events_lost, "event") + ", too many before an epoch\n";
    if (o.navigation) out += navigation_text(*o.navigation);
    if (o.verified) out += "  verified: the files hold what the log sent\n";
    for (const std::string& file : o.files) out += "  wrote " + file + "\n";
    return out;
}

std::string joined_text(const joined_t& joined)
{
    std::string out = "joined " + plural(joined.logs.size(), "log") + ":\n";
    for (const joined_t::log_t& log : joined.logs) {
        out += "  " + log.name + ": " + plural(log.bytes, "byte") + ", " + plural(log.epochs.epochs, "epoch");
        if (log.epochs.epochs > 0) out += " from " + date_text(log.epochs.first) + " to " + date_text(log.epochs.last);
        if (log.lost_bytes > 0) out += "; lost: " + plural(log.lost_bytes, "byte");
        out += "\n";
    }
    return out + "together:\n";
}

std::string gaps_text(const joined_t& joined)
{
    std::string out;
    if (joined.epochs_in_common > 0)
        out += "  in several logs, taken once: " + plural(joined.epochs_in_common, "epoch") + "\n";
    for (const auto& [after, before] : joined.gaps)
        out += "  gap from " + date_text(after) + " to " + date_text(before) + text(": %.2f s\n", before - after);
    if (joined.more_gaps > 0) out += "  and " + plural(joined.more_gaps, "more gap") + "\n";
    return out;
}

}   // namespace

std::string damage_line(const summary_t& s)
{
    std::vector<std::string> all = losses_of(s);
    if (s.clock.epochs_out > 0) all.push_back(plural(s.clock.epochs_out, "epoch") + " with a time that cannot be");
    if (s.outcome && s.outcome->observations.events_lost > 0)
        all.push_back(plural(s.outcome->observations.events_lost, "event") + " too many before an epoch");
    std::string out;
    for (const std::string& one : all) out += (out.empty() ? "" : "; ") + one;
    return out;
}

std::string messages_table(const summary_t& s)
{
    std::string out = "     id  message                          frames       bytes         new  refused\n";
    for (const auto& [id, m] : s.messages) {
        out += text("  %5d  %-30s", id, message_name(id)) + right(m.frames, 9) + right(m.bytes, 12) +
               right(m.new_data, 12) + right(m.refused, 9) + "\n";
    }
    return out;
}

std::string epochs_text(const epoch_count_t& e)
{
    std::string out = "  " + plural(e.epochs, "epoch");
    if (e.epochs == 0) return out + "\n";
    out += " from " + date_text(e.first) + " to " + date_text(e.last) + " (GPS)";
    out += text(", every %.2f s, ", e.steps.usual()) + plural(e.steps.gaps(), "gap");
    if (e.steps.missing() > 0) out += " (" + plural(e.steps.missing(), "epoch") + " missing)";
    return out + "\n";
}

std::string notes_text(const summary_t& s)
{
    return losses_text(s) + notices_text(s.notices) + clock_text(s.clock, s.outcome.has_value()) +
           (s.ended_by_signal ? "  ended by a signal\n" : "");
}

std::string summary_text(const summary_t& s)
{
    std::uint64_t frames = 0;
    for (const auto& [id, m] : s.messages) frames += m.frames;
    std::string out = s.joined ? joined_text(*s.joined) : s.log + ":\n";
    out += "  " + plural(s.bytes, "byte") + ", " + plural(frames, "message") + "\n";
    out += messages_text(s) + epochs_text(s.epochs) + (s.joined ? gaps_text(*s.joined) : "") + "  satellites:";
    for (const auto& [name, n] : s.satellites_by_system()) out += " " + (name + (" " + std::to_string(n)));
    return out + "\n" + notes_text(s) + (s.outcome ? outcome_text(*s.outcome) : "");
}

}   // namespace kvx
