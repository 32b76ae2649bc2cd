#include "revise/header_revision.h"

#include <algorithm>

#include "common/text_format.h"
#include "revise/time_scale.h"
#include "rinex/field_formats.h"
#include "rinex/header.h"
#include "rinex/header_labels.h"

namespace kvx {

namespace {

using rinex::header_line;
using rinex::header_record_t;
using rinex::kSystemCount;
using rinex::kSystems;

constexpr int kFirstWithoutShifts = 400;

class header_text_t {
public:
    header_text_t(const revised_header_t& h, lost_labels_t& lost) : h_(h), lost_(lost) {}

    std::string made()
    {
        for (at_ = 0; at_ < h_.source.records.size(); ++at_) {
            if (record().label == "END OF HEADER") break;
            take();
        }
        add_missing();
        const bool ended = at_ < h_.source.records.size();
        return out_ + (ended ? line() : header_line("", "END OF HEADER"));
    }

private:
    using handler_t = void (header_text_t::*)();
    struct row_t {
        std::string_view label;
        handler_t handle;
        bool once;   // all lines of the label are handled at the first
    };
    static const row_t kRows[];

    const header_record_t& record() const { return h_.source.records[at_]; }
    const std::string& line() const { return h_.lines[at_]; }
    bool changes_version() const { return h_.version != h_.source.version; }
    bool columns_change() const { return h_.columns != h_.listed || changes_version(); }

    void copy_all()
    {
        for (std::size_t i = at_; i < h_.lines.size(); ++i) {
            if (h_.source.records[i].label == record().label) out_ += h_.lines[i];
        }
    }

    void take();

    // Texts without a place in the version become comments; lines that the version has retired go.
    void put_other()
    {
        if (!changes_version()) return void(out_ += line());
        const rinex::header_label_t* row = rinex::find_label(record().label, 'O', h_.version);
        if (row == nullptr) return void(out_ += line());
        const char use = row->use('O', h_.version), before = row->use('O', h_.source.version);
        if (use != '-' && (use != 'd' || before == 'd')) return void(out_ += line());
        if (std::string_view(row->format) == "A60") return void(out_ += header_line(record().text, "COMMENT"));
        const std::string_view said = rinex::trimmed(record().text);
        const bool usual = said == "1     1" || said == "GEODETIC" || said == "DBHZ";   // as without the line
        if (!usual && !said.empty()) lost_.insert(record().label);
    }

    void put_version()
    {
        const char own = h_.source.system == ' ' ? h_.source.default_system() : h_.source.system;
        const char letter = h_.letter == ' ' ? own : h_.letter;
        const bool as_it_is = !changes_version() && (h_.letter == ' ' || h_.letter == h_.source.system);
        out_ += as_it_is ? line() : rinex::version_line(h_.version, "OBSERVATION DATA", {&letter, 1});
    }

    void put_program()
    {
        out_ += rinex::program_line(h_.maker.program, h_.maker.run_by, h_.maker.date);
        out_ += header_line(record().text, "COMMENT");
    }

    void put_types()
    {
        if (!columns_change()) return copy_all();
        out_ += type_lines(h_.version, h_.columns);
    }

    void put_time(rinex::ticks_t ticks)
    {
        if (h_.source.time(record().label) == ticks || h_.tally.epochs == 0) return void(out_ += line());
        std::string_view scale = rinex::trimmed(std::string_view(record().text).substr(48, 3));
        if (scale.empty() && h_.letter == 'M') scale = scale_of(h_.source.system);
        out_ += rinex::time_line(ticks, record().label, scale);
    }
    void put_first() { put_time(h_.tally.first); }
    void put_last() { put_time(h_.tally.last); }

    void put_interval() { out_ += h_.interval > 0.0 ? header_line(text("%10.3f", h_.interval), "INTERVAL") : line(); }

    void put_satellites()
    {
        const auto said = rinex::integer_of(record().text.substr(0, 6));
        const std::size_t n = h_.tally.satellites();
        out_ +=
            said && static_cast<std::size_t>(*said) == n ? line() : header_line(rinex::count_of(n, 6), record().label);
    }

    // As they stand when they are right.
    void put_counts()
    {
        const std::string lines = count_lines();
        std::string numbers, said;
        for (const char c : lines) numbers += c == ' ' ? '0' : c;
        for (std::size_t i = at_; i < h_.lines.size(); ++i) {
            if (h_.source.records[i].label == record().label)
                said += header_line(h_.source.records[i].text, record().label);
        }
        std::string theirs;
        for (const char c : said) theirs += c == ' ' ? '0' : c;
        if (numbers == theirs) return copy_all();
        out_ += lines;
    }

    std::string count_lines() const
    {
        std::string lines;
        for (std::size_t s = 0; s < kSystemCount; ++s) {
            const std::size_t columns = h_.columns[h_.version < 300 ? 0 : s].size();
            for (std::size_t number = 0; number < tally_t::kNumbers; ++number) {
                if (!h_.tally.has(s, number)) continue;
                const auto& counts = h_.tally.values[s * tally_t::kNumbers + number];
                std::vector<std::string> entries;
                for (std::size_t i = 0; i < columns; ++i)
                    entries.push_back(rinex::count_of(i < counts.size() ? counts[i] : 0, 6));
                lines += rinex::list_lines(entries, text("   %c%02d", kSystems[s], static_cast<int>(number)), 9,
                                           "PRN / # OF OBS");
            }
        }
        return lines;
    }

    bool lists(char system, const std::string& name) const
    {
        const std::size_t at = rinex::system_index(system);
        if (at == kSystemCount) return false;
        return std::find(h_.columns[at].begin(), h_.columns[at].end(), name) != h_.columns[at].end();
    }

    // Those of listed phases, under the names of the version; for phases without one an empty line: not known.
    void put_shifts()
    {
        if (!columns_change()) return copy_all();
        const bool retired = h_.version >= kFirstWithoutShifts && h_.source.version < kFirstWithoutShifts;
        if (h_.version < 300 || retired) return lose_shifts();
        bool kept = false;
        for (std::size_t i = at_; i < h_.source.records.size(); ++i) {
            const header_record_t& r = h_.source.records[i];
            if (r.label != "SYS / PHASE SHIFT") continue;
            if (r.text[0] == ' ') {   // satellites of the line before
                if (kept) out_ += h_.lines[i];
                continue;
            }
            const std::string code(rinex::trimmed(r.text.substr(2, 3)));
            const std::string name =
                code.empty() ? "" : rinex::name_in_version(r.text[0], code, h_.source.version, h_.version, {});
            kept = code.empty() ? !h_.columns[rinex::system_index(r.text[0]) % kSystemCount].empty()
                                : lists(r.text[0], name);
            if (kept)
                out_ +=
                    name == code ? h_.lines[i] : header_line(r.text.substr(0, 2) + name + r.text.substr(5), r.label);
            if (kept) shifted_.insert(std::string(1, r.text[0]) + name);
        }
        add_shifts();
    }

    // Lines without a correction say nothing.
    void lose_shifts()
    {
        for (const header_record_t& r : h_.source.records) {
            if (r.label == "SYS / PHASE SHIFT" && !rinex::is_blank(r.text.substr(5))) lost_.insert(r.label);
        }
    }

    void add_shifts()
    {
        for (std::size_t s = 0; s < kSystemCount; ++s) {
            if (shifted_.count({kSystems[s]}) > 0) continue;
            for (const std::string& name : h_.columns[s]) {
                if (name[0] != 'L' || shifted_.count(kSystems[s] + name) > 0) continue;
                const auto told = h_.shifts.find(kSystems[s] + name);
                out_ += told != h_.shifts.end()
                            ? told->second
                            : header_line(std::string{kSystems[s], ' '} + name, "SYS / PHASE SHIFT");
            }
        }
    }

    void put_slots()
    {
        if (h_.version < 300) return void(lost_.insert(record().label));
        if (h_.source.glonass_channels() == h_.channels) return copy_all();
        add_slots();
    }

    void add_slots()
    {
        std::vector<std::string> entries;
        for (const auto& [slot, channel] : h_.channels) entries.push_back(text("R%02d %2d ", slot, channel));
        out_ += rinex::list_lines(entries, rinex::count_of(entries.size(), 3) + " ", 8, "GLONASS SLOT / FRQ #");
    }

    void put_leaps()
    {
        const std::string_view all = record().text;
        const bool only_now = h_.version < 300 && h_.source.version >= 300;
        out_ += only_now ? header_line(all.substr(0, 6), record().label) : line();
        if (only_now && !rinex::is_blank(all.substr(6))) lost_.insert("LEAP SECONDS (the next ones)");
    }

    bool lacks(std::string_view label) const { return h_.source.find(label) == nullptr; }

    // What another version demands.
    void add_missing()
    {
        const bool glonass = h_.tally.has_system(rinex::system_index('R')), rinex3 = h_.version >= 300;
        if (rinex3 && glonass && lacks("GLONASS SLOT / FRQ #") && !h_.channels.empty()) add_slots();
        if (!changes_version()) return;
        const bool shifts = rinex3 && h_.version < kFirstWithoutShifts;
        if (!rinex3 && lacks("WAVELENGTH FACT L1/2")) out_ += header_line("     1     1", "WAVELENGTH FACT L1/2");
        if (rinex3 && lacks("MARKER TYPE")) out_ += header_line("GEODETIC", "MARKER TYPE");
        if (shifts && lacks("SYS / PHASE SHIFT")) add_shifts();
        if (shifts && glonass && lacks("GLONASS COD/PHS/BIS")) out_ += header_line("", "GLONASS COD/PHS/BIS");
    }

    const revised_header_t& h_;
    lost_labels_t& lost_;
    std::string out_;
    std::size_t at_ = 0;
    std::set<std::string> done_, shifted_;
};

// What happens to each label that is not just copied.
// clang-format off
const header_text_t::row_t header_text_t::kRows[] = {
    {"RINEX VERSION / TYPE", &header_text_t::put_version,    true},
    {"PGM / RUN BY / DATE",  &header_text_t::put_program,    true},
    {"# / TYPES OF OBSERV",  &header_text_t::put_types,      true},
    {"SYS / # / OBS TYPES",  &header_text_t::put_types,      true},
    {"TIME OF FIRST OBS",    &header_text_t::put_first,      false},
    {"TIME OF LAST OBS",     &header_text_t::put_last,       false},
    {"INTERVAL",             &header_text_t::put_interval,   false},
    {"# OF SATELLITES",      &header_text_t::put_satellites, false},
    {"PRN / # OF OBS",       &header_text_t::put_counts,     true},
    {"SYS / PHASE SHIFT",    &header_text_t::put_shifts,     true},
    {"GLONASS SLOT / FRQ #", &header_text_t::put_slots,      true},
    {"LEAP SECONDS",         &header_text_t::put_leaps,      false},
};
// clang-format on

void header_text_t::take()
{
    const std::string& label = record().label;
    for (const row_t& row : kRows) {
        if (row.label != label) continue;
        if (!row.once || done_.insert(label).second) (this->*row.handle)();
        return;
    }
    put_other();
}

}   // namespace

std::vector<std::string> header_lines(const rinex::file_header_t& header, const rinex::line_tape_t& tape)
{
    std::vector<std::string> lines;
    for (const header_record_t& record : header.records) {
        std::string_view line = tape.lines(record.line, record.line);
        if (!line.empty()) line.remove_suffix(1);
        const bool in_place = rinex::trimmed(rinex::cut(line, 60, line.size())) == record.label;
        lines.push_back(in_place ? std::string(line) + "\n" : header_line(record.text, record.label));
    }
    return lines;
}

std::map<std::string, std::string> shift_lines(const rinex::file_header_t& header, int version)
{
    std::map<std::string, std::string> lines;
    std::string* last = nullptr;   // which lines of satellites go on
    for (const header_record_t& r : header.records) {
        if (r.label != "SYS / PHASE SHIFT") continue;
        if (r.text[0] == ' ') {
            if (last != nullptr) *last += header_line(r.text, r.label);
            continue;
        }
        const std::string code(rinex::trimmed(std::string_view(r.text).substr(2, 3)));
        const std::string name = rinex::name_in_version(r.text[0], code, header.version, version, {});
        last = name.size() == 3 ? &lines[r.text[0] + name] : nullptr;
        if (last != nullptr) *last = header_line(r.text.substr(0, 2) + name + r.text.substr(5), r.label);
    }
    return lines;
}

std::string type_lines(int version, const rinex::type_names_t& columns)
{
    std::string lines;
    for (std::size_t list = 0; list < columns.size(); ++list) {
        std::vector<std::string> entries;
        for (const std::string& name : columns[list]) {
            std::string entry(version < 300 ? 4 : 1, ' ');
            entry += name;
            entry.resize(version < 300 ? 6 : 4, ' ');
            entries.push_back(entry);
        }
        if (entries.empty()) continue;
        const std::string count = rinex::count_of(entries.size(), version < 300 ? 6 : 3);
        lines += version < 300 ? rinex::list_lines(entries, count, 9, "# / TYPES OF OBSERV")
                               : rinex::list_lines(entries, std::string{kSystems[list], ' ', ' '} + count, 13,
                                                   "SYS / # / OBS TYPES");
    }
    return lines;
}

std::string revised(const revised_header_t& header, lost_labels_t& lost)
{
    return header_text_t(header, lost).made();
}

}   // namespace kvx
