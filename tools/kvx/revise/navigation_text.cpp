#include "revise/navigation_text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>

#include "common/text_format.h"
#include "rinex/dates.h"
#include "rinex/field_formats.h"

namespace kvx {

namespace {

using rinex::cut;
using rinex::read_nav_record_t;

constexpr int kFirstWithFrames = 400, kFirstWithFourthLine = 305;   // of GLONASS
constexpr std::size_t kNumber = 19, kFrameTime = 3, kFourth = 4;    // columns; field and line of GLONASS
constexpr std::int64_t kDay = 86400, kWeek = 604800;
constexpr double kOldGalileoWeek = 1024, kHalfDay = 43200;

// Unknown as public files write it: no flags, no delay between the carriers, the worst accuracy.
constexpr std::string_view kUnknownFourth = "                         .999999999999E+09 1.500000000000E+01\n";

std::size_t margin(int version)
{
    return version < 300 ? 3 : 4;
}

void append_trimmed(std::string& out, std::string_view line)
{
    out.append(line.substr(0, line.find_last_not_of(' ') + 1)).push_back('\n');
}

// D19.12 with the exponent letter of the text in whose place it comes.
std::string number_text(double value, std::string_view like)
{
    std::array<char, 40> text{};
    char* const end =
        std::to_chars(text.data(), text.data() + text.size(), value, std::chars_format::scientific, 12).ptr;
    const std::size_t letter = like.find_first_of("DdEe");
    std::string number(text.data(), end);
    number[number.find('e')] = letter == std::string_view::npos ? 'E' : like[letter];
    return std::string(kNumber - std::min(kNumber, number.size()), ' ') + number;
}

void replace_number(std::string& line, std::size_t field, int version, double value)
{
    const std::size_t at = margin(version) + kNumber * (field % rinex::kNavColumns);
    if (line.size() < at + kNumber) line.resize(at + kNumber, ' ');
    line.replace(at, kNumber, number_text(value, line.substr(at, kNumber)));
}

// GLONASS: second of the UTC day or week at which the message frame begins.
void change_frame_time(const read_nav_record_t& record, std::string& line, int from, int to)
{
    const rinex::nav_value_t& value = record.values[kFrameTime];
    const double limit = from < 300 ? kDay : kWeek;
    if ((from < 300) == (to < 300) || !value.present || value.number < 0 || value.number >= limit) return;
    if (to < 300) return replace_number(line, kFrameTime, from, std::fmod(value.number, kDay));
    const std::int64_t clock = record.time / rinex::kTicksPerSecond;
    double time = static_cast<double>(clock - clock % kDay) + value.number;   // within half a day of the clock's time
    if (time - static_cast<double>(clock) > kHalfDay) time -= kDay;
    if (static_cast<double>(clock) - time > kHalfDay) time += kDay;
    replace_number(line, kFrameTime, from, std::fmod(time, kWeek));
}

// Galileo: weeks are those of GPS since 3.03.
void change_week(const read_nav_record_t& record, std::string& line, int from)
{
    const rinex::nav_value_t& week = record.values[rinex::kNavWeek];
    if (from != 302 || !week.present || !record.has_time) return;
    const double clock = static_cast<double>(record.time) / rinex::kTicksPerSecond;
    const double toe = record.values[rinex::kNavToe].number;
    if (std::fabs((week.number + kOldGalileoWeek) * kWeek + toe - clock) <= kDay)
        replace_number(line, rinex::kNavWeek, from, week.number + kOldGalileoWeek);
}

// Satellite and time, to where the numbers begin.
std::string first_columns(const read_nav_record_t& record, int version)
{
    const rinex::calendar_t c = rinex::calendar_of(record.time);
    if (version >= 300)
        return record.name() +
               text(" %04d %02d %02d %02d %02d %02d", c.year, c.month, c.day, c.hour, c.minute, c.second);
    return text("%2d %02d %2d %2d %2d %2d %2d.%d", record.number, c.year % 100, c.month, c.day, c.hour, c.minute,
                c.second, c.fraction / 1'000'000);
}

bool is_legacy(std::string_view message)
{
    constexpr std::string_view kLegacy[] = {"LNAV", "FDMA", "INAV", "FNAV", "D1", "D2", "SBAS"};
    for (const std::string_view one : kLegacy) {
        if (one == message) return true;
    }
    return false;
}

bool has_record(const read_nav_record_t& record, const std::string& message, int version)
{
    if (version < 300 && std::string_view("GRS").find(record.system) == std::string_view::npos) return false;
    if (version < kFirstWithFrames && (record.record != "EPH" || !is_legacy(message))) return false;
    return rinex::find_nav_layout(record.record, record.system, message, version) != nullptr;
}

// Whether the line of flags and delays of GLONASS says anything.
bool fourth_line_says(const read_nav_record_t& record)
{
    for (std::size_t i = kFourth * rinex::kNavColumns; i < record.values.size(); ++i) {
        const rinex::nav_value_t& value = record.values[i];
        if (value.present && value.number != 0.999999999999e9 && value.number != 15) return true;
    }
    return false;
}

}   // namespace

std::string message_of(const read_nav_record_t& record)
{
    if (!record.message.empty()) return record.message;
    const bool geo = (record.number >= 1 && record.number <= 5) || record.number >= 59;
    const double source = record.values.size() > rinex::kNavSource ? record.values[rinex::kNavSource].number : 0.0;
    switch (record.system) {
        case 'R':
            return "FDMA";
        case 'S':
            return "SBAS";
        case 'C':
            return geo ? "D2" : "D1";
        case 'E':
            return (static_cast<unsigned>(std::clamp(source, 0.0, 1023.0)) & 2U) != 0 ? "FNAV" : "INAV";
        default:
            return "LNAV";
    }
}

navigation_text_t converted(const read_nav_record_t& record, std::string_view lines, int from, int to)
{
    if (from == to) return {std::string(lines), ""};
    const std::string message = message_of(record);
    const std::string name =
        std::string(1, record.system) + " " + (record.record == "EPH" ? "" : record.record + " ") + message;
    const bool fraction = record.time % rinex::kTicksPerSecond != 0 && from < 300 && to >= 300;
    if (!has_record(record, message, to) || !record.has_time || fraction) return {"", name};
    if (record.record != "EPH" || record.layout->fields.empty()) return {std::string(lines), ""};
    navigation_text_t result;
    if (to >= kFirstWithFrames) result.text = "> EPH " + record.name() + " " + message + "\n";
    const bool glonass = record.system == 'R';
    for (std::size_t i = 0; i < record.lines; ++i) {
        std::string line = record.texts[i];
        if (glonass && i == 0) change_frame_time(record, line, from, to);
        if (record.system == 'E' && i == rinex::kNavWeek / rinex::kNavColumns) change_week(record, line, from);
        if (glonass && i == kFourth && to < kFirstWithFourthLine) {
            if (fourth_line_says(record)) result.lost = "line 5 of " + name;
            continue;
        }
        const std::size_t skip = margin(from) + (i == 0 ? kNumber : 0);
        append_trimmed(result.text, (i == 0 ? first_columns(record, to) : std::string(margin(to), ' ')) +
                                        std::string(cut(line, skip, line.size())));
    }
    if (glonass && record.lines <= kFourth && to >= kFirstWithFourthLine) result.text += kUnknownFourth;
    return result;
}

}   // namespace kvx
