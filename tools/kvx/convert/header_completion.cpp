#include "convert/header_completion.h"

#include <algorithm>
#include <ctime>
#include <vector>

#include "common/error.h"
#include "gnss/rinex/version.h"

namespace kvx {

namespace {

constexpr std::size_t kContentWidth = 60, kLabelWidth = 20;
constexpr int kSlotsPerLine = 8;

std::string column(std::string text, std::size_t width)
{
    text.resize(width, ' ');
    return text;
}

// One line per phase type in the header's lists. No correction is applied to any phase.
std::string phase_shift_lines(const std::vector<std::string>& header)
{
    std::string out;
    char system = ' ';
    for (const std::string& l : header) {
        if (l.find("SYS / # / OBS TYPES") != kContentWidth) continue;
        if (l[0] != ' ') system = l[0];
        for (std::size_t at = 7; at + 3 <= kContentWidth; at += 4) {
            if (l[at] == 'L')
                out += header_line(std::string{system, ' '} + l.substr(at, 3) + "  0.00000", "SYS / PHASE SHIFT");
        }
    }
    return out;
}

std::string glonass_lines(const header_facts_t& facts)
{
    std::vector<std::string> entries;
    for (std::size_t i = 0; i < facts.glonass_channels.size(); ++i) {
        if (!facts.glonass_seen[i] || !facts.glonass_channels[i]) continue;
        char entry[16];
        std::snprintf(entry, sizeof entry, " R%02d %2d", static_cast<int>(i) + 1, *facts.glonass_channels[i]);
        entries.emplace_back(entry);
    }
    char count[8];
    std::snprintf(count, sizeof count, "%3d", static_cast<int>(entries.size()));
    std::string out, content = count;
    for (std::size_t i = 0; i < entries.size(); ++i) {
        if (i > 0 && i % kSlotsPerLine == 0) {
            out += header_line(content, "GLONASS SLOT / FRQ #");
            content = "   ";
        }
        content += entries[i];
    }
    return out + header_line(content, "GLONASS SLOT / FRQ #");
}

std::string added_lines(const std::vector<std::string>& header, int version, const header_facts_t& facts)
{
    std::string out = program_line(facts.run_by);
    if (!rinex::header_is_rinex3(version)) return out;   // the other lines belong to RINEX 3
    out += header_line(column(facts.marker_type, 20), "MARKER TYPE");
    out += phase_shift_lines(header);
    for (const std::string& l : header) {
        if (l[0] == 'R' && l.find("SYS / # / OBS TYPES") == kContentWidth) return out + glonass_lines(facts);
    }
    return out;
}

// Header lines up to END OF HEADER, which stays unread.
std::vector<std::string> read_header(std::FILE* in)
{
    std::vector<std::string> header;
    char text[128];
    long before = 0;
    std::fseek(in, 0, SEEK_SET);
    while (std::fgets(text, sizeof text, in) != nullptr) {
        std::string l = text;
        if (l.find("END OF HEADER") != l.npos) break;
        header.push_back(std::move(l));
        before = std::ftell(in);
    }
    std::fseek(in, before, SEEK_SET);
    return header;
}

}   // namespace

std::string header_line(std::string content, std::string label)
{
    const auto is_control = [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7F; };
    std::replace_if(content.begin(), content.end(), is_control, ' ');
    content.resize(kContentWidth, ' ');
    label.resize(kLabelWidth, ' ');
    return content + label + '\n';
}

std::string program_line(const std::string& run_by)
{
    const std::time_t now = std::time(nullptr);
    std::tm utc{};
    gmtime_r(&now, &utc);
    char date[32];
    std::strftime(date, sizeof date, "%Y%m%d %H%M%S UTC ", &utc);
    return header_line(column("kvx", 20) + column(run_by, 20) + date, "PGM / RUN BY / DATE");
}

void copy_rest(std::FILE* in, std::FILE* out)
{
    std::vector<char> block(256 * 1024);
    std::size_t n = 0;
    while ((n = std::fread(block.data(), 1, block.size(), in)) > 0) std::fwrite(block.data(), 1, n, out);
}

void complete_header(output_file_t& from, output_file_t& to, int version, const header_facts_t& facts)
{
    const std::vector<std::string> header = read_header(from.stream());
    for (const std::string& l : header) std::fputs(l.c_str(), to.stream());
    std::fputs(added_lines(header, version, facts).c_str(), to.stream());
    copy_rest(from.stream(), to.stream());
    if (std::ferror(from.stream()) != 0) throw error_t(from.path(), "reading back failed", "completing the header");
    to.check("the completed file");
}

}   // namespace kvx
