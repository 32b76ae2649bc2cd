// The summary for programs.
#include "log/summary_json.h"

#include "common/gps_time.h"
#include "common/systems.h"

namespace kvx {

namespace {

using nlohmann::ordered_json;

ordered_json messages_json(const summary_t& s)
{
    ordered_json rows = ordered_json::array();
    for (const auto& [id, m] : s.messages) {
        rows.push_back({{"id", id},
                        {"name", message_name(id)},
                        {"frames", m.frames},
                        {"bytes", m.bytes},
                        {"new", m.new_data},
                        {"refused", m.refused}});
    }
    return rows;
}

ordered_json satellites_json(const summary_t& s)
{
    ordered_json rows = ordered_json::array();
    for (const auto& [sat, n] : s.satellites) {
        ordered_json row = {{"satellite", sat.name()}, {"epochs", n.epochs}};
        if (!s.outcome || s.outcome->signals.empty()) row["signals"] = n.signals;   // by slots of the record
        rows.push_back(row);
    }
    return rows;
}

ordered_json losses_json(const summary_t& s)
{
    ordered_json j = {{"skipped_bytes", s.lost.skipped_bytes},
                      {"skipped_runs", s.lost.skipped_runs},
                      {"bad_checksum", s.lost.bad_checksum},
                      {"bad_checksum_bytes", s.lost.bad_checksum_bytes},
                      {"refused", s.lost.refused},
                      {"too_long", s.lost.too_long},
                      {"too_long_bytes", s.lost.too_long_bytes},
                      {"torn_bytes", s.lost.torn_bytes}};
    if (!s.source_damage.empty()) j["source"] = s.source_damage;
    return j;
}

ordered_json signals_json(const std::vector<signal_count_t>& signals)
{
    ordered_json rows = ordered_json::array();
    for (const signal_count_t& s : signals) {
        ordered_json left_out = ordered_json::object();
        for (std::size_t fate = 1; fate < rinex::kFates; ++fate) {
            if (s.counts.fates[fate] > 0) left_out[rinex::kFateNames[fate]] = s.counts.fates[fate];
        }
        rows.push_back({{"system", s.system},
                        {"type", s.type},
                        {"code", s.code},
                        {"records", s.counts.records()},
                        {"written", s.counts.written()},
                        {"left_out", left_out}});
        if (s.counts.lost_phases > 0) rows.back()["phases_without_column"] = s.counts.lost_phases;
        if (s.counts.blanks > 0) rows.back()["values_left_blank"] = s.counts.blanks;
    }
    return rows;
}

ordered_json beyond_record_json(const outcome_t& o)
{
    ordered_json rows = ordered_json::array();
    for (const auto& [place, n] : o.beyond_record)
        rows.push_back({{"signal", place.first}, {"satellite", place.second}, {"observations", n}});
    return rows;
}

void add_clock(ordered_json& j, const clock_faults_t& clock)
{
    if (clock.epochs_out > 0) {
        j["epochs_out_of_order"] = clock.epochs_out;
        auto& places = j["first_out_of_order"] = ordered_json::array();
        for (const auto& p : clock.first_out) {
            places.push_back({{"byte", p.offset}, {"time", date_text(p.time)}});
            if (!p.log.empty()) places.back()["log"] = p.log;
        }
    }
    if (clock.steps_back > 0) {
        j["clock_steps_back"] = clock.steps_back;
        auto& places = j["first_steps_back"] = ordered_json::array();
        for (const auto& p : clock.first_steps) {
            places.push_back({{"byte", p.offset}, {"from", date_text(p.before)}, {"to", date_text(p.time)}});
            if (!p.log.empty()) places.back()["log"] = p.log;
        }
    }
}

void add_outcome(ordered_json& j, const outcome_t& o)
{
    j["epochs_written"] = o.observations.epochs;
    if (!o.signals.empty()) j["signals"] = signals_json(o.signals);
    if (!o.beyond_record.empty()) j["beyond_record"] = beyond_record_json(o);
    if (!o.under_other_number.empty()) j["under_other_number"] = o.under_other_number;
    if (o.observations.events > 0) j["events"] = o.observations.events;
    if (o.observations.events_lost > 0) j["events_left_out"] = o.observations.events_lost;
    if (o.observations.left_out > 0) j["observations_left_out"] = o.observations.left_out;
    if (o.navigation) j["navigation"] = {{"ephemerides", o.navigation->found}, {"written", o.navigation->written}};
    if (o.navigation && o.navigation->blanks > 0) j["navigation"]["blank_numbers"] = o.navigation->blanks;
    if (o.verified) j["verified"] = true;
    j["files"] = o.files;
}

void add_joined(ordered_json& j, const joined_t& joined)
{
    auto& logs = j["logs"] = ordered_json::array();
    for (const joined_t::log_t& log : joined.logs) {
        logs.push_back(
            {{"log", log.name}, {"bytes", log.bytes}, {"lost_bytes", log.lost_bytes}, {"epochs", log.epochs.epochs}});
        if (log.epochs.epochs == 0) continue;
        logs.back()["first_epoch"] = date_text(log.epochs.first);
        logs.back()["last_epoch"] = date_text(log.epochs.last);
    }
    j["epochs_in_several_logs"] = joined.epochs_in_common;
    auto& gaps = j["first_gaps"] = ordered_json::array();
    for (const auto& [after, before] : joined.gaps)
        gaps.push_back({{"after", date_text(after)}, {"before", date_text(before)}});
}

}   // namespace

ordered_json summary_object(const summary_t& s)
{
    ordered_json j = {{"log", s.log},
                      {"bytes", s.bytes},
                      {"good_bytes", s.lost.good_bytes},
                      {"messages", messages_json(s)},
                      {"epochs", s.epochs.epochs}};
    if (s.epochs.epochs > 0) {
        j["first_epoch"] = date_text(s.epochs.first);
        j["last_epoch"] = date_text(s.epochs.last);
        j["interval"] = s.epochs.steps.usual();
        j["gaps"] = s.epochs.steps.gaps();
        j["missing_epochs"] = s.epochs.steps.missing();
    }
    if (s.joined) add_joined(j, *s.joined);
    add_clock(j, s.clock);
    if (!s.notices.without_number.empty()) j["satellites_without_number"] = s.notices.without_number;
    if (s.notices.clock_not_set > 0) j["messages_before_clock"] = s.notices.clock_not_set;
    auto& systems = j["satellites_by_system"] = ordered_json::object();
    for (const auto& [name, n] : s.satellites_by_system()) systems[name] = n;
    j["satellites"] = satellites_json(s);
    j["lost"] = losses_json(s);
    if (s.ended_by_signal) j["ended_by_signal"] = true;
    if (s.outcome) add_outcome(j, *s.outcome);
    return j;
}

std::string summary_json(const summary_t& s)
{
    return json_text(summary_object(s)) + "\n";
}

}   // namespace kvx
