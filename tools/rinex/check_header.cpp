#include "rinex/check_header.h"

#include <algorithm>

#include "rinex/check_header_values.h"
#include "rinex/field_formats.h"
#include "rinex/header_labels.h"

namespace rinex {

namespace {

void check_version(const file_header_t& header, findings_t& findings)
{
    const header_record_t& first = header.records.front();
    const bool known = header.stated_version == header.version || header.stated_version == 212;
    if (!known) {
        findings.add(rule_t::version, first.line, 1, first.label,
                     "'" + header.version_text + "' is not known here, the nearest that is is " +
                         std::to_string(header.version));
    }
    const char type = header.type, system = header.system;
    if (!header.is_observation() && !header.is_navigation()) {
        findings.add(rule_t::kind, first.line, 21, first.label,
                     std::string("files of type '") + type + "' are not checked");
        return;
    }
    const bool blank_allowed = header.version < 300 && system == ' ';
    if (!blank_allowed && system != 'M' && !is_system_of(system, type, header.version)) {
        findings.add(rule_t::kind, first.line, 41, first.label,
                     std::string("there is no satellite system '") + system + "'");
    }
}

// Records that stand once, and those that must be there.
void check_presence(const file_header_t& header, findings_t& findings)
{
    for (const header_label_t& row : label_table()) {
        const char use = row.use(header.type, header.version);
        if (use == '-') continue;
        const header_record_t* first = header.find(row.label);
        if (use == 'm' && first == nullptr) require(header, row.label, findings);
        if (row.repeated || first == nullptr) continue;
        for (const header_record_t& record : header.records) {
            if (record.label != row.label || &record == first) continue;
            findings.add(rule_t::label_twice, record.line, 61, record.label,
                         "stands in line " + std::to_string(first->line) + " already");
            break;
        }
    }
}

// From the first to the last record of one label: only comments stand among them.
void check_block(const file_header_t& header, std::string_view label, findings_t& findings)
{
    const header_record_t* last = nullptr;
    bool broken = false;
    for (const header_record_t& record : header.records) {
        if (record.label == label) {
            if (last != nullptr && broken) {
                findings.add(rule_t::header_order, record.line, 61, record.label, "these records stand together");
                return;
            }
            last = &record;
            broken = false;
        } else {
            broken = broken || record.label != "COMMENT";
        }
    }
}

// Records that need another one in front of them.
void check_order(const file_header_t& header, findings_t& findings)
{
    struct order_t {
        std::string_view before, behind;
    };
    constexpr order_t kOrders[] = {
        {"SYS / # / OBS TYPES", "SYS / DCBS APPLIED"}, {"SYS / # / OBS TYPES", "SYS / PCVS APPLIED"},
        {"SYS / # / OBS TYPES", "SYS / SCALE FACTOR"}, {"SYS / # / OBS TYPES", "SYS / PHASE SHIFT"},
        {"SYS / # / OBS TYPES", "PRN / # OF OBS"},     {"# / TYPES OF OBSERV", "PRN / # OF OBS"},
        {"# OF SATELLITES", "PRN / # OF OBS"},
    };
    for (const order_t& order : kOrders) {
        const header_record_t *before = header.find(order.before), *behind = header.find(order.behind);
        if (before != nullptr && behind != nullptr && behind->line < before->line) {
            findings.add(rule_t::header_order, behind->line, 61, behind->label, "stands before " + before->label);
        }
    }
    for (const std::string_view label : {"SYS / # / OBS TYPES", "# / TYPES OF OBSERV", "PRN / # OF OBS"}) {
        check_block(header, label, findings);
    }
}

void check_list(const type_list_t& list, char system, int version, findings_t& findings)
{
    const std::string name = version < 300 ? "" : std::string(1, system) + " ";
    if (list.announced != static_cast<int>(list.types.size())) {
        findings.add(rule_t::type_count, list.line, version < 300 ? 1 : 4, std::string(trimmed(name)),
                     std::to_string(list.announced) + " announced, " + std::to_string(list.types.size()) + " listed");
    }
    for (auto type = list.types.begin(); type != list.types.end(); ++type) {
        if (!is_observation_code(system, type->code, version)) {
            findings.add(rule_t::obs_code, type->line, type->column, name + type->code.text(),
                         "is no code of this version");
        }
        const auto same = [&type](const listed_type_t& other) { return other.code == type->code; };
        if (std::any_of(list.types.begin(), type, same)) {
            findings.add(rule_t::type_twice, type->line, type->column, name + type->code.text(), "is listed already");
        }
    }
}

}   // namespace

void require(const file_header_t& header, std::string_view label, findings_t& findings)
{
    if (header.find(label) != nullptr || label == "END OF HEADER") return;
    const header_record_t* type = header.find("MARKER TYPE");
    const auto moves = [type] {
        const std::string_view text = type == nullptr ? "GEODETIC" : trimmed(type->text);
        return text != "GEODETIC" && text != "NON_GEODETIC";
    };
    if (label == "APPROX POSITION XYZ" && moves()) return;
    findings.add(missing_rule(label), header.end_line, 1, std::string(label), "the record is mandatory");
}

void check_record(const header_record_t& record, const file_header_t& header, findings_t& findings)
{
    const header_label_t* row = find_label(record.label, header.type, header.version);
    const char use = row == nullptr ? '-' : row->use(header.type, header.version);
    if (row == nullptr) {
        findings.add(rule_t::label, record.line, 61, "", "'" + record.label + "' is no label");
    } else if (use == '-') {
        findings.add(rule_t::label_version, record.line, 61, record.label, "is not of this version and kind of file");
    } else if (use == 'd') {
        findings.add(rule_t::label_deprecated, record.line, 61, record.label, "is deprecated in this version");
    }
    if (use == '-') return;
    bool fine = true;
    compare_with_format(record.text, row->format, [&](std::size_t at, std::string_view text, std::string_view form) {
        fine = false;
        findings.add(format_rule(record.label), record.line, at + 1, record.label,
                     "'" + std::string(text) + "' is no " + std::string(form));
    });
    if (fine) check_values(record, header, findings);
}

void check_types(const file_header_t& header, findings_t& findings)
{
    if (header.version < 300) {
        const type_list_t& list = header.types_of('G');
        if (list.line > 0) check_list(list, 'G', header.version, findings);
        return;
    }
    for (const char system : kSystems) {
        const type_list_t& list = header.types_of(system);
        if (list.line == 0) continue;
        if (!is_system_of(system, 'O', header.version)) {
            findings.add(rule_t::obs_types, list.line, 1, std::string(1, system), "is no system of this version");
        } else {
            check_list(list, system, header.version, findings);
        }
    }
}

void check_header(const file_header_t& header, findings_t& findings)
{
    check_version(header, findings);
    if (!header.is_observation() && !header.is_navigation()) return;
    for (const header_record_t& record : header.records) check_record(record, header, findings);
    check_presence(header, findings);
    check_order(header, findings);
    if (!header.is_observation()) return;
    check_types(header, findings);
    check_phase_shifts(header, findings);
    check_time_systems(header, findings);
}

}   // namespace rinex
