#include "report/markup.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "common/text_format.h"

namespace kvx::report {

namespace {

constexpr const char* kReplacement = "\xEF\xBF\xBD";

// Bytes of the character that begins a text; 0: it is none that a page may hold.
std::size_t character_size(std::string_view s)
{
    const auto byte = [s](std::size_t i) { return i < s.size() ? static_cast<unsigned char>(s[i]) : 0U; };
    const unsigned first = byte(0);
    if (first < 0x80) return first >= 0x20 && first != 0x7F ? 1 : 0;
    const std::size_t size = first >= 0xF0 && first < 0xF5 ? 4 : first >= 0xE0 ? 3 : first >= 0xC2 ? 2 : 0;
    if (size == 0 || first >= 0xF5) return 0;
    for (std::size_t i = 1; i < size; ++i) {
        if ((byte(i) & 0xC0U) != 0x80U) return 0;
    }
    const bool overlong = (first == 0xE0 && byte(1) < 0xA0) || (first == 0xF0 && byte(1) < 0x90);
    const bool outside = (first == 0xED && byte(1) > 0x9F) || (first == 0xF4 && byte(1) > 0x8F) ||
                         (first == 0xC2 && byte(1) < 0xA0);   // surrogates, beyond Unicode, control characters
    return overlong || outside ? 0 : size;
}

const char* entity_of(char c)
{
    switch (c) {
        case '&':
            return "&amp;";
        case '<':
            return "&lt;";
        case '>':
            return "&gt;";
        case '"':
            return "&quot;";
        case '\'':
            return "&#39;";
        default:
            return nullptr;
    }
}

}   // namespace

std::string escaped(std::string_view s)
{
    std::string out;
    while (!s.empty()) {
        const std::size_t size = character_size(s);
        const char* entity = entity_of(s.front());
        if (entity != nullptr) {
            out += entity;
        } else if (size > 0) {
            out += s.substr(0, size);
        } else {
            out += s.front() == '\n' || s.front() == '\t' ? " " : kReplacement;
        }
        s.remove_prefix(std::max<std::size_t>(size, 1));
    }
    return out;
}

std::string fixed(double x, int decimals)
{
    std::string out = text("%.*f", decimals, x);
    const bool zero = out.find_first_of("123456789") == out.npos;
    return zero && out[0] == '-' ? out.substr(1) : out;
}

std::string number(double x, int decimals)
{
    if (!std::isfinite(x)) return "-";
    std::string out = fixed(x, decimals);
    if (out.find('.') == out.npos) return out;
    out.resize(out.find_last_not_of('0') + 1);
    if (out.back() == '.') out.pop_back();
    return out;
}

std::string grouped(std::uint64_t n)
{
    std::string out = std::to_string(n);
    for (std::size_t at = out.size(); at > 3; at -= 3) out.insert(at - 3, "\u2009");
    return out;
}

std::string percent(std::uint64_t part, std::uint64_t whole)
{
    if (whole == 0) return "-";
    const double share = 100.0 * static_cast<double>(part) / static_cast<double>(whole);
    return fixed(part < whole ? std::min(share, 99.9) : share, 1) + "\u202F%";
}

std::string element(std::string_view tag, const std::string& attributes, const std::string& content)
{
    const std::string name(tag);
    return "<" + name + (attributes.empty() ? "" : " ") + attributes + ">" + content + "</" + name + ">";
}

std::string of_class(std::string_view name)
{
    return "class=\"" + std::string(name) + "\"";
}

std::string table(const table_t& t)
{
    std::string head, body;
    for (const std::string& cell : t.head) head += element("th", "scope=\"col\"", escaped(cell));
    for (const auto& row : t.rows) {
        std::string cells;
        for (std::size_t i = 0; i < row.size(); ++i)
            cells += i == 0 ? element("th", "scope=\"row\"", escaped(row[i])) : element("td", "", escaped(row[i]));
        body += element("tr", "", cells) + "\n";
    }
    const std::string whole = element("thead", "", element("tr", "", head)) + "\n" + element("tbody", "", body);
    return "<div class=\"scroll\" tabindex=\"0\">" + element("table", t.words ? of_class("words") : "", whole) +
           "</div>";
}

std::string figure(const figure_t& f)
{
    const std::string id = "id=\"" + f.id;
    return "<figure " + id + "\"" + (f.wide.empty() ? "" : " " + of_class(f.wide)) + ">\n<figcaption>" +
           element("h3", id + "-t\"", escaped(f.title)) + element("p", id + "-d\"", escaped(f.description)) +
           "</figcaption>\n" + f.picture + element("details", "", element("summary", "", "Table") + table(f.numbers)) +
           "</figure>\n";
}

std::string as_image(const std::string& id)
{
    return "role=\"img\" aria-labelledby=\"" + id + "-t\" aria-describedby=\"" + id + "-d\"";
}

std::string path(std::string_view kind, std::string_view line, std::string_view attributes)
{
    std::string out = "<path class=\"";
    out.append(kind).append("\" ").append(attributes).append(attributes.empty() ? "d=\"" : " d=\"");
    return out.append(line).append("\"/>");
}

std::string label(double x, double y, std::string_view anchor, const std::string& content,
                  const std::string& attributes)
{
    return element("text",
                   "x=\"" + number(x, 1) + "\" y=\"" + number(y, 1) + "\" text-anchor=\"" + std::string(anchor) + "\"" +
                       (attributes.empty() ? "" : " ") + attributes,
                   escaped(content));
}

}   // namespace kvx::report
