#include "rinex/rules.h"

#include <algorithm>
#include <cctype>

#include "rinex/header_labels.h"

namespace rinex {

namespace {

// "SYS / PHASE SHIFT" is "sys-phase-shift".
std::string slug(std::string_view label)
{
    std::string name;
    for (const char c : label) {
        const auto byte = static_cast<unsigned char>(c);
        if (std::isalnum(byte) != 0) {
            name += static_cast<char>(std::tolower(byte));
        } else if (!name.empty() && name.back() != '-') {
            name += '-';
        }
    }
    while (!name.empty() && name.back() == '-') name.pop_back();
    return name;
}

std::string with_hyphens(std::string name)
{
    std::replace(name.begin(), name.end(), '_', '-');
    return name;
}

std::string missing_id(std::string_view label)
{
    return "missing-" + slug(label);
}

std::string format_id(std::string_view label)
{
    return "format-" + slug(label);
}

// Adds a rule of a label once, however many formats the label has.
void add_once(std::vector<rule_info_t>& all, const std::string& id, std::string_view label, const char* text)
{
    if (!all.empty() && all.back().id == id) return;
    all.push_back({id, severity_t::error, std::string(label), text});
}

bool is_mandatory(const header_label_t& row)
{
    return std::string_view(row.observation).find_first_of("mg") != std::string_view::npos ||
           std::string_view(row.navigation).find_first_of("mg") != std::string_view::npos;
}

std::vector<rule_info_t> make_rules()
{
    std::vector<rule_info_t> all = {
#define RULE(name, severity, concerns, text) {with_hyphens(#name), severity_t::severity, concerns, text},
#include "rinex/rules.inc"
#undef RULE
    };
    // The version's record is what makes the file one, and the end has a rule of its own.
    const auto special = {"RINEX VERSION / TYPE", "END OF HEADER"};
    for (const header_label_t& row : label_table()) {
        if (is_mandatory(row) && std::find(special.begin(), special.end(), row.label) == special.end()) {
            add_once(all, missing_id(row.label), row.label, "The record is mandatory");
        }
    }
    for (const header_label_t& row : label_table()) {
        if (std::string_view(row.format) != "A60") {
            add_once(all, format_id(row.label), row.label, "Fields stand in their columns");
        }
    }
    return all;
}

rule_t rule_of(const std::string& id)
{
    const auto row = std::find_if(rules().begin(), rules().end(), [&id](const rule_info_t& r) { return r.id == id; });
    return static_cast<rule_t>(row - rules().begin());
}

}   // namespace

const std::vector<rule_info_t>& rules()
{
    static const std::vector<rule_info_t> kRules = make_rules();
    return kRules;
}

rule_t missing_rule(std::string_view label)
{
    return rule_of(missing_id(label));
}

rule_t format_rule(std::string_view label)
{
    return rule_of(format_id(label));
}

findings_t::findings_t(receive_t receive, std::uint64_t most, std::vector<bool> allowed)
    : receive_(std::move(receive)), most_(most), allowed_(std::move(allowed)), counts_(rules().size())
{
    allowed_.resize(rules().size());
}

void findings_t::add(rule_t rule, std::uint64_t line, std::size_t column, std::string subject, std::string text)
{
    const auto at = static_cast<std::size_t>(rule);
    if (allowed_[at] || ++counts_[at] > most_) return;
    receive_({rule, line, column, std::move(subject), std::move(text)});
}

std::uint64_t findings_t::count(severity_t severity) const
{
    std::uint64_t sum = 0;
    for (std::size_t i = 0; i < counts_.size(); ++i) sum += rules()[i].severity == severity ? counts_[i] : 0;
    return sum;
}

std::uint64_t findings_t::left_out(rule_t rule) const
{
    const std::uint64_t n = count(rule);
    return n > most_ ? n - most_ : 0;
}

}   // namespace rinex
