/// @file markup.h  Pieces of a page: texts, numbers, tables, figures.
#ifndef KVX_REPORT_MARKUP_H
#define KVX_REPORT_MARKUP_H

#include <string>
#include <string_view>
#include <vector>

namespace kvx::report {

/// Text of anyone's as HTML; what is no UTF-8 and what a page may not hold is replaced.
std::string escaped(std::string_view text);

/// As short as it can be: "12.5", "3", "-0.25".
std::string number(double x, int decimals);

/// The same, all decimals kept.
std::string fixed(double x, int decimals);

/// "1 234 567" with thin spaces.
std::string grouped(std::uint64_t n);

/// A share in per cent: "99.9 %"; 100 % is all of it.
std::string percent(std::uint64_t part, std::uint64_t whole);

std::string element(std::string_view tag, const std::string& attributes, const std::string& content);

/// A class attribute.
std::string of_class(std::string_view name);

/// Cells of the first column are headings of their rows; those of the others stand to the right.
struct table_t {
    std::vector<std::string> head;                ///< texts
    std::vector<std::vector<std::string>> rows;   ///< texts
    bool words = false;                           ///< also the other columns stand to the left
};

std::string table(const table_t& table);

/// A picture with what is said of it and the table of its numbers.
struct figure_t {
    std::string id, title, description;
    std::string picture;   ///< HTML
    table_t numbers;
    std::string wide = "";   ///< further classes
};

std::string figure(const figure_t& figure);

/// Attributes of a figure's picture, which title and description name.
std::string as_image(const std::string& id);

/// A path of SVG.
/// @param kind  its classes
std::string path(std::string_view kind, std::string_view line, std::string_view attributes = "");

/// An element of SVG with a text.
std::string label(double x, double y, std::string_view anchor, const std::string& content,
                  const std::string& attributes = "");

}   // namespace kvx::report

#endif
