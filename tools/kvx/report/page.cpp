#include "report/page.h"

#include <filesystem>

#include "common/text_format.h"
#include "report/axis.h"
#include "report/embedded.h"
#include "report/markup.h"

namespace kvx::report {

namespace {

// Nothing is asked from outside, whatever the page holds.
constexpr const char* kHead =
    "<meta charset=\"utf-8\">\n"
    "<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; style-src 'unsafe-inline'; "
    "script-src 'unsafe-inline'; img-src data:\">\n"
    "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
    "<meta name=\"color-scheme\" content=\"light dark\">\n"
    "<link rel=\"icon\" href=\"data:,\">\n";

std::string document(const std::string& title, const std::string& styles, const std::string& body)
{
    return "<!doctype html>\n<html lang=\"en\">\n<head>\n" + std::string(kHead) + element("title", "", escaped(title)) +
           "\n" + element("style", "", styles) + "\n</head>\n<body>\n" + body + "</body>\n</html>\n";
}

std::string file_name(const std::string& path)
{
    return path == "-" ? "standard input" : std::filesystem::path(path).filename().string();
}

std::string grade_mark(grade_t grade)
{
    const std::string name = name_of(grade);
    if (grade == grade_t::none) return "";
    return element("span", of_class("grade " + name), name);
}

std::string verdict_rows(const verdict_t& v)
{
    std::string rows;
    for (const judgement_t& j : v.judgements)
        rows += element("tr", "",
                        element("th", "scope=\"row\"", j.what) + element("td", "", with_unit(j)) +
                            element("td", "", grade_mark(j.grade)) + element("td", of_class("rule"), j.rule)) +
                "\n";
    if (rows.empty()) return "";
    return element(
        "details", "open",
        element("summary", "", "Rules") +
            "<div class=\"scroll\" tabindex=\"0\"><table class=\"rules\"><thead><tr><th scope=\"col\">What</th>"
            "<th scope=\"col\">Value</th><th scope=\"col\">Grade</th><th scope=\"col\">Rule</th></tr></thead>"
            "<tbody>" +
            rows + "</tbody></table></div>");
}

std::string verdict_part(const verdict_t& v)
{
    return element("section", of_class("verdict " + std::string(name_of(v.grade))) + " aria-label=\"Verdict\"",
                   element("p", of_class("usable"), escaped(v.usable)) + element("p", "", escaped(v.limits)) +
                       element("p", "", escaped(v.content)) + verdict_rows(v)) +
           "\n";
}

std::string section(const std::string& title, const std::string& content)
{
    if (content.empty()) return "";
    return element("section", "", element("h2", "", title) + "\n" + content) + "\n";
}

// A file name as a relative address.
std::string as_link(const std::string& name)
{
    std::string out = "./";
    for (const char c : name) {
        const bool plain = (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '.' ||
                           c == '_' || c == '-';
        out += plain ? std::string(1, c) : text("%%%02X", static_cast<unsigned>(static_cast<unsigned char>(c)));
    }
    return out;
}

// As data: a script tag inside would end it.
std::string inert(std::string json)
{
    for (std::size_t at = 0; (at = json.find('<', at)) != json.npos;) json.replace(at, 1, "\\u003c");
    return json;
}

std::string header_part(const subject_t& s, const std::string& index)
{
    const inspection_t& i = s.inspection;
    std::string what = i.header;
    if (i.kind == inspection_t::kind_t::log) {
        std::uint64_t frames = 0;
        for (const auto& [id, m] : i.summary.messages) frames += m.frames;
        what = grouped(i.summary.bytes) + " bytes, " + grouped(frames) + " messages";
    }
    return "<header>" +
           (index.empty()
                ? ""
                : element("p", "", element("a", "href=\"" + as_link(index) + "\"", "All logs of this report"))) +
           element("h1", "", escaped(file_name(i.summary.log))) + element("p", "", escaped(what)) + "</header>\n";
}

}   // namespace

std::string page_of(subject_t& s, const verdict_t& verdict, const std::string& index)
{
    const std::string name = file_name(s.inspection.summary.log);
    std::string body = header_part(s, index) + "<main>\n" + verdict_part(verdict);
    const std::string pair = sky_picture(s) + position_picture(s);
    body += section("Sky and positions", pair.empty() ? "" : element("div", of_class("pair"), pair));
    body += section("Availability", availability_picture(s));
    body += section("Over elevation", strength_picture(s) + multipath_picture(s));
    const std::string series = charts(s);
    body +=
        section("Over time", series.empty() ? ""
                                            : "<p class=\"hint\">Drag over a chart, or press + and - in it, to zoom; a "
                                              "double click or 0 shows all.</p>\n" +
                                                  series);
    body += section("Numbers", all_tables(s)) + "</main>\n" + element("footer", "", KVX_VERSION " report") + "\n";
    if (!series.empty())
        body += element("script", "type=\"application/json\" id=\"data\"", inert(chart_data(s))) + "\n" +
                element("script", "", kChartScript) + "\n" + element("script", "", kScript) + "\n";
    return document(name + " - kvx report", std::string(kChartStyle) + kStyle, body);
}

entry_t entry_of(const subject_t& subject, const verdict_t& verdict, const std::string& page)
{
    entry_t entry{subject.inspection.summary.log, page, "", verdict.grade, verdict.usable, verdict.limits, {}};
    for (const judgement_t& j : verdict.judgements) entry.values.push_back(j.value);
    return entry;
}

std::string index_of(const std::vector<entry_t>& entries)
{
    std::string rows;
    for (const entry_t& e : entries) {
        const std::string name = escaped(file_name(e.log));
        std::string cells = element("th", "scope=\"row\"",
                                    e.page.empty() ? name : element("a", "href=\"" + as_link(e.page) + "\"", name));
        if (!e.failure.empty()) {
            cells +=
                element("td", "", grade_mark(grade_t::unknown)) + element("td", of_class("said"), escaped(e.failure));
        } else {
            cells += element("td", "", grade_mark(e.grade)) +
                     element("td", of_class("said"), escaped(e.usable + " " + e.limits));
            for (const std::string& value : e.values) cells += element("td", "", escaped(value));
        }
        const std::size_t empty = rule_names().size() - e.values.size();
        if (empty > 0) cells += "<td colspan=\"" + std::to_string(empty) + "\"></td>";
        rows += element("tr", "", cells) + "\n";
    }
    std::string head;
    for (const char* title : {"Log", "Grade", "Verdict"}) head += element("th", "scope=\"col\"", title);
    for (const std::string& title : rule_names()) head += element("th", "scope=\"col\"", title);
    const std::string body = "<header>" + element("h1", "", plural(entries.size(), "log")) + "</header>\n<main>\n" +
                             "<div class=\"scroll\" tabindex=\"0\"><table class=\"index\"><thead><tr>" + head +
                             "</tr></thead><tbody>\n" + rows + "</tbody></table></div></main>\n" +
                             element("footer", "", KVX_VERSION " report") + "\n";
    return document("kvx report", std::string(kStyle) + "body { max-width: 1440px; }", body);
}

std::string page_of_sections(const std::string& title, const std::string& about,
                             const std::vector<std::pair<std::string, std::string>>& sections)
{
    std::string body =
        "<header>" + element("h1", "", escaped(title)) + element("p", "", escaped(about)) + "</header>\n<main>\n";
    for (const auto& [name, content] : sections) body += section(name, content);
    body += "</main>\n" + element("footer", "", KVX_VERSION) + "\n";
    return document(title + " - kvx", kStyle, body);
}

}   // namespace kvx::report
