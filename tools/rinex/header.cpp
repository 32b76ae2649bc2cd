#include "rinex/header.h"

#include <algorithm>

#include "gnss/rinex/text.h"
#include "rinex/dates.h"

namespace rinex {

namespace {

constexpr std::size_t kContent = 60;
constexpr std::size_t kLongestLine = 81;   // bytes, with LF

// What a log says may be anything: headers are printable ASCII.
bool is_printable(char c)
{
    return c >= 0x20 && c < 0x7F;
}

}   // namespace

std::string header_line(std::string_view content, std::string_view label)
{
    std::string line(content.substr(0, kContent));
    std::replace_if(
        line.begin(), line.end(), [](char c) { return !is_printable(c); }, ' ');
    line.resize(kContent, ' ');
    return line.append(label) + '\n';
}

std::string in_columns(std::initializer_list<std::pair<std::string_view, std::size_t>> texts)
{
    std::string line;
    std::size_t end = 0;
    for (const auto& [text, width] : texts) {
        end += width;
        line.append(text.substr(0, width)).resize(end, ' ');
    }
    return line;
}

std::string version_line(int version, std::string_view kind, std::string_view system)
{
    const std::string number = {static_cast<char>('0' + version / 100), '.', static_cast<char>('0' + version / 10 % 10),
                                static_cast<char>('0' + version % 10)};
    return header_line(in_columns({{"     " + number, 20}, {kind, 20}, {system, 20}}), "RINEX VERSION / TYPE");
}

std::string program_line(std::string_view program, std::string_view run_by, std::string_view date)
{
    return header_line(in_columns({{program, 20}, {run_by, 20}, {date, 20}}), "PGM / RUN BY / DATE");
}

std::string time_line(std::int64_t ticks, std::string_view label, std::string_view scale)
{
    const calendar_t c = calendar_of(ticks);
    text_buffer_t<80> out;
    for (const int part : {c.year, c.month, c.day, c.hour, c.minute}) out.integer(part, 6);
    out.integer(c.second, 5).put('.').integer(c.fraction, 7, '0').blanks(5);
    if (!scale.empty()) out.put(scale);
    return header_line(out.view(), label);
}

std::string list_lines(const std::vector<std::string>& entries, std::string first, std::size_t per_line,
                       std::string_view label)
{
    const std::string blanks(first.size(), ' ');
    std::string lines;
    for (std::size_t i = 0; i < entries.size(); ++i) {
        if (i > 0 && i % per_line == 0) {
            lines += header_line(first, label);
            first = blanks;
        }
        first += entries[i];
    }
    return lines + header_line(first, label);
}

std::string count_of(std::size_t n, int width)
{
    text_buffer_t<8> out;
    out.integer(static_cast<long long>(n), width);
    return std::string(out.view());
}

std::optional<std::string> header_of_size(const std::string& header, std::size_t size)
{
    if (header.size() > size) return std::nullopt;
    std::string padded = header;
    const std::size_t last_line = header.rfind('\n', header.size() - 2) + 1;
    for (std::size_t n = (size - header.size()) / kEmptyComment; n > 0; --n)
        padded.insert(last_line, header_line("", "COMMENT"));
    for (std::size_t end = padded.size(); end > 0 && padded.size() < size;) {
        const std::size_t begin = padded.rfind('\n', end - 2) + 1;
        padded.insert(end - 1, std::min(size - padded.size(), kLongestLine - (end - begin)), ' ');
        end = begin;
    }
    if (padded.size() < size) return std::nullopt;
    return padded;
}

}   // namespace rinex
