#include "log_summary.h"

#include <algorithm>
#include <cmath>

#include "systems.h"
#include "text_format.h"

namespace kvx {

namespace {

constexpr std::size_t kMostSteps =
    4096;   // different steps remembered; a log that jumps about has no more use for them
constexpr int kRange = 43, kRangeCompressed = 140;   // messages
constexpr double kHundredth = 0.01;                  // s

struct message_name_t {
    int id;
    const char* name;
};

constexpr message_name_t kMessageNames[] = {
    {7, "GPS ephemeris"},
    {8, "ionosphere and UTC"},
    {37, "receiver version"},
    {41, "raw GPS ephemeris"},
    {42, "geodetic position"},
    {43, "range observations"},
    {140, "compressed range"},
    {231, "mark time"},
    {241, "ECEF position"},
    {601, "SBAS ephemeris"},
    {723, "GLONASS ephemeris"},
    {1043, "satellite visibility"},
    {1047, "BeiDou ephemeris, second form"},
    {1122, "Galileo ephemeris"},
    {1309, "Galileo I/NAV ephemeris"},
    {1336, "QZSS ephemeris"},
    {1421, "antenna type"},
    {1696, "BeiDou ephemeris"},
    {11111, "stop-and-go"},
};

const char* message_name(int id)
{
    for (const message_name_t& m : kMessageNames) {
        if (m.id == id) return m.name;
    }
    return "not used";
}

std::string plural(std::uint64_t n, const char* one)
{
    return std::to_string(n) + " " + one + (n == 1 ? "" : "s");
}

}   // namespace

void StepCounter::add(double seconds)
{
    const auto key = static_cast<std::int64_t>(std::llround(std::clamp(seconds, -1e9, 1e9) / kHundredth));
    if (key <= 0 || (steps_.size() >= kMostSteps && steps_.count(key) == 0)) return;
    ++steps_[key];
}

double StepCounter::usual() const
{
    const auto most = std::max_element(steps_.begin(), steps_.end(),
                                       [](const auto& a, const auto& b) { return a.second < b.second; });
    return most == steps_.end() ? 0.0 : static_cast<double>(most->first) / 100.0;
}

std::uint64_t StepCounter::gaps() const
{
    std::uint64_t n = 0;
    for (const auto& [step, count] : steps_) {
        if (static_cast<double>(step) * kHundredth > 1.5 * usual()) n += count;
    }
    return n;
}

std::uint64_t StepCounter::missing() const
{
    std::uint64_t n = 0;
    for (const auto& [step, count] : steps_) {
        const double steps = static_cast<double>(step) * kHundredth / usual();
        if (steps > 1.5) n += count * static_cast<std::uint64_t>(std::llround(steps) - 1);
    }
    return n;
}

void LogSummary::count_frame(const frame_t& frame)
{
    // A frame with a wrong checksum may carry any number: it counts as lost, not as a message.
    if (!frame.checksum_ok) return;
    message_count_t& m = messages_[frame.id];
    ++m.frames;
    m.bytes += static_cast<std::uint64_t>(frame.size);
    m.new_data += frame.result > 0;
    m.refused += frame.result == DECODE_REFUSED;
}

void LogSummary::count_epoch(const raw_t& epoch)
{
    const double now = gps_seconds(epoch.week, epoch.tow);
    if (epochs_ == 0) {
        first_ = now;
    } else {
        steps_.add(now - last_);
    }
    last_ = now;
    ++epochs_;
    for (int i = 0; i < epoch.nobs; ++i) {
        satellite_count_t& s = satellites_[epoch.obs[i].sat];
        ++s.epochs;
        for (int slot = 0; slot < kNumSlots; ++slot) s.signals[slot] += epoch.obs[i].P[slot] != 0.0;
    }
}

std::string LogSummary::why_no_epoch(const losses_t& losses, const std::string& source_damage) const
{
    std::uint64_t frames = 0, ranges = 0, decoded = 0;
    for (const auto& [id, m] : messages_) {
        frames += m.frames;
        if (id != kRange && id != kRangeCompressed) continue;
        ranges += m.frames;
        decoded += m.new_data;
    }
    if (frames == 0 && !source_damage.empty()) return source_damage;
    if (frames == 0 && losses.bad_checksum > 0) return "every frame found has a wrong checksum";
    if (frames == 0) return "no frame of the receiver's log was found";
    if (ranges == 0) return "there is no range message (43 or 140) among " + plural(frames, "message");
    if (decoded == 0) return plural(ranges, "range message") + ", none with a known time and in binary form";
    return plural(decoded, "range message") + ", none with an observation that was asked for";
}

nlohmann::ordered_json LogSummary::to_json(const LogReader& reader, const std::string& source_damage) const
{
    nlohmann::ordered_json j;
    j["bytes"] = reader.bytes();
    j["messages"] = nlohmann::ordered_json::array();
    for (const auto& [id, m] : messages_) {
        j["messages"].push_back({{"id", id},
                                 {"name", message_name(id)},
                                 {"frames", m.frames},
                                 {"bytes", m.bytes},
                                 {"new", m.new_data},
                                 {"refused", m.refused}});
    }
    j["epochs"] = epochs_;
    if (epochs_ > 0) {
        j["first_epoch"] = date_text(first_);
        j["last_epoch"] = date_text(last_);
        j["interval"] = steps_.usual();
        j["gaps"] = steps_.gaps();
        j["missing_epochs"] = steps_.missing();
    }
    auto& systems = j["satellites_by_system"] = nlohmann::ordered_json::object();
    for (const system_name_t& s : kSystems) {
        const auto count = std::count_if(satellites_.begin(), satellites_.end(),
                                         [&s](const auto& sat) { return satsys(sat.first, nullptr) == s.sys; });
        if (count > 0) systems[s.name] = count;
    }
    j["satellites"] = nlohmann::ordered_json::array();
    for (const auto& [sat, s] : satellites_) {
        j["satellites"].push_back({{"satellite", satellite_name(sat)}, {"epochs", s.epochs}, {"signals", s.signals}});
    }
    const losses_t& lost = reader.losses();
    j["lost"] = {{"skipped_bytes", lost.skipped_bytes}, {"skipped_runs", lost.skipped_runs},
                 {"bad_checksum", lost.bad_checksum},   {"refused", lost.refused},
                 {"too_long", lost.too_long},           {"torn_bytes", lost.torn_bytes}};
    if (!source_damage.empty()) j["lost"]["source"] = source_damage;
    return j;
}

namespace {

std::string tables_text(const nlohmann::ordered_json& j)
{
    std::string out = "     id  message                          frames       bytes         new  refused\n";
    for (const auto& m : j["messages"]) {
        out +=
            text("  %5d  %-30s %8llu %11llu %11llu %8llu\n", m["id"].get<int>(), m["name"].get<std::string>().c_str(),
                 m["frames"].get<unsigned long long>(), m["bytes"].get<unsigned long long>(),
                 m["new"].get<unsigned long long>(), m["refused"].get<unsigned long long>());
    }
    out += "  satellite   epochs   pseudoranges by slot 0..4\n";
    for (const auto& s : j["satellites"]) {
        out += text("  %-9s %8llu  ", s["satellite"].get<std::string>().c_str(), s["epochs"].get<unsigned long long>());
        for (const auto& n : s["signals"]) out += text(" %8llu", n.get<unsigned long long>());
        out += '\n';
    }
    return out;
}

std::string losses_text(const nlohmann::ordered_json& lost)
{
    struct kind_t {
        const char* key;
        const char* what;
    };
    constexpr kind_t kKinds[] = {
        {"bad_checksum", "frame(s) with a wrong checksum"},
        {"refused", "frame(s) with contents that cannot be right"},
        {"too_long", "header(s) that announce more than a frame can hold"},
        {"skipped_bytes", "byte(s) between frames"},
        {"torn_bytes", "byte(s) of a frame that the end of the log cuts off"},
    };
    std::string out;
    for (const kind_t& kind : kKinds) {
        const auto n = lost[kind.key].get<std::uint64_t>();
        if (n > 0) out += "  lost: " + std::to_string(n) + " " + kind.what + "\n";
    }
    if (lost.contains("source")) out += "  lost: " + lost["source"].get<std::string>() + "\n";
    return out.empty() ? "  nothing lost\n" : out;
}

}   // namespace

std::string summary_text(const nlohmann::ordered_json& j, bool tables)
{
    std::uint64_t frames = 0;
    for (const auto& m : j["messages"]) frames += m["frames"].get<std::uint64_t>();
    std::string out = "  " + plural(j["bytes"].get<std::uint64_t>(), "byte") + ", " + plural(frames, "message") + "\n";
    if (tables) out += tables_text(j);
    if (!tables) {
        for (const auto& m : j["messages"]) {
            out += text("  %8llu x %s (%d)\n", m["frames"].get<unsigned long long>(),
                        m["name"].get<std::string>().c_str(), m["id"].get<int>());
        }
    }
    out += "  " + plural(j["epochs"].get<std::uint64_t>(), "epoch");
    if (j.contains("first_epoch")) {
        out += " from " + j["first_epoch"].get<std::string>() + " to " + j["last_epoch"].get<std::string>() + " (GPS)";
        out += text(", every %.2f s", j["interval"].get<double>());
        out += ", " + plural(j["gaps"].get<std::uint64_t>(), "gap");
        if (j["missing_epochs"] > 0)
            out += " (" + plural(j["missing_epochs"].get<std::uint64_t>(), "epoch") + " missing)";
    }
    out += "\n  satellites:";
    for (const auto& [name, count] : j["satellites_by_system"].items()) {
        out += " " + name + " " + std::to_string(count.get<std::uint64_t>());
    }
    return out + "\n" + losses_text(j["lost"]);
}

std::string satellite_name(int sat)
{
    int prn = 0;
    const int sys = satsys(sat, &prn);
    for (const system_name_t& s : kSystems) {
        if (s.sys == sys) return s.letter + text("%02d", sys == SYS_SBS ? prn + 19 : prn);
    }
    return "?" + std::to_string(sat);
}

std::string date_text(double seconds)
{
    const int week = static_cast<int>(seconds / 604800.0);
    int year = 0, month = 0, day = 0, hour = 0, minute = 0;
    double second = 0.0;
    GetCommonTime(week, seconds - week * 604800.0, 0.0, &year, &month, &day, &hour, &minute, &second);
    const auto hundredths = std::llround(second * 100.0);
    return text("%04d-%02d-%02d %02d:%02d:%02lld.%02lld", year, month, day, hour, minute, hundredths / 100,
                hundredths % 100);
}

}   // namespace kvx
