/// @file rules.h  The rules that files are held against, and what was found.
#ifndef RINEX_RULES_H
#define RINEX_RULES_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace rinex {

/// Errors are what the published format forbids, warnings what it allows and is unwise.
enum class severity_t : unsigned char { error, warning };

struct rule_info_t {
    std::string id;
    severity_t severity;
    std::string concerns, text;
};

/// Place in rules(): the fixed rules by name; those of labels follow them.
enum class rule_t : std::uint16_t {
#define RULE(name, severity, concerns, text) name,
#include "rinex/rules.inc"
#undef RULE
    first_of_labels
};

/// The whole table.
const std::vector<rule_info_t>& rules();

/// The rules of a label: that it must be there, for mandatory ones, and that its columns have their form, for all that
/// are not one text.
rule_t missing_rule(std::string_view label);
rule_t format_rule(std::string_view label);

struct finding_t {
    rule_t rule;
    std::uint64_t line;    ///< from 1, in a compressed file of its expanded text
    std::size_t column;    ///< from 1
    std::string subject;   ///< label, satellite and type or field that it concerns; empty: what the rule concerns
    std::string text;
};

/// Takes findings, counts them, and hands on the first ones of each rule.
class findings_t {
public:
    using receive_t = std::function<void(const finding_t&)>;

    /// @param most     handed on of each rule
    /// @param allowed  by rule: neither counted nor handed on
    findings_t(receive_t receive, std::uint64_t most, std::vector<bool> allowed = {});

    void add(rule_t rule, std::uint64_t line, std::size_t column, std::string subject, std::string text);

    std::uint64_t count(rule_t rule) const { return counts_[static_cast<std::size_t>(rule)]; }
    std::uint64_t count(severity_t severity) const;
    std::uint64_t left_out(rule_t rule) const;   ///< found but not handed on

private:
    receive_t receive_;
    std::uint64_t most_;
    std::vector<bool> allowed_;
    std::vector<std::uint64_t> counts_;
};

}   // namespace rinex

#endif
