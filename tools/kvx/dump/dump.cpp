// kvx dump: lists, checks, prints and replays fusion dump files.
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <memory>

#include "common/command.h"
#include "common/json_text.h"
#include "common/progress.h"
#include "common/standard_streams.h"
#include "common/text_format.h"
#include "dump/dump_scan.h"

namespace kvx {
namespace {

using nlohmann::ordered_json;

struct dump_options_t {
    std::string file;
    bool json = false, quiet = false;
    std::string library;
    double rate = 0;
};

unsigned long long wide(std::uint64_t value)
{
    return value;
}

void print(const ordered_json& object)
{
    std::printf("%s\n", json_text(object).c_str());
    look_at_stdout();
}

ordered_json to_json(const std::string& file, const dump_totals_t& totals)
{
    return {{"file", file},
            {"bytes", totals.bytes()},
            {"records", totals.records.items},
            {"record_bytes", totals.records.bytes},
            {"damaged_stretches", totals.damage.items},
            {"skipped_bytes", totals.damage.bytes},
            {"complete", totals.source_damage.empty() && !totals.ended_by_signal}};
}

void print_totals(const std::string& file, const dump_totals_t& totals)
{
    std::printf("%s: %llu bytes: %llu in %llu records, %llu skipped in %llu damaged stretches\n", file.c_str(),
                wide(totals.bytes()), wide(totals.records.bytes), wide(totals.records.items), wide(totals.damage.bytes),
                wide(totals.damage.items));
}

int info(const dump_options_t& options)
{
    const dump_totals_t totals = scan_dump(options.file, [](const dump_item_t&) {});
    ordered_json types = ordered_json::array();
    if (!options.json) std::printf("%4s  %-14s %12s %14s\n", "type", "name", "records", "bytes");
    for (std::size_t k = 0; k < totals.types.size(); ++k) {
        const auto& [records, bytes] = totals.types[k];
        if (records == 0) continue;
        const dump_type_t& type = kDumpTypes[k];
        if (options.json)
            types.push_back({{"type", type.code}, {"name", type.name}, {"records", records}, {"bytes", bytes}});
        else
            std::printf("%4d  %-14s %12llu %14llu\n", type.code, type.name, wide(records), wide(bytes));
    }
    if (options.json) {
        ordered_json all = to_json(options.file, totals);
        all["types"] = types;
        print(all);
    } else {
        print_totals(options.file, totals);
    }
    return exit_code(totals);
}

int verify(const dump_options_t& options)
{
    const dump_totals_t totals = scan_dump(options.file, [&](const dump_item_t& item) {
        if (item.damage == dump_damage_t::none) return;
        const progress_aside_t aside(STDOUT_FILENO);
        const char* kind = dump_damage_text(item.damage);
        if (options.json)
            print({{"offset", item.offset}, {"kind", kind}, {"bytes", item.bytes}});
        else
            std::printf("%s: offset %llu: %s, %llu bytes skipped\n", options.file.c_str(), wide(item.offset), kind,
                        wide(item.bytes));
        look_at_stdout();
    });
    if (options.json)
        print(to_json(options.file, totals));
    else
        print_totals(options.file, totals);
    return exit_code(totals);
}

int cat(const dump_options_t& options)
{
    return exit_code(scan_dump_records(options.file, [](const dump_item_t& item) {
        ordered_json line = {{"offset", item.offset},
                             {"type", item.type->code},
                             {"name", item.type->name},
                             {"length", item.length},
                             {"payload", to_hex(item.payload, item.length)}};
        if (item.type->code == kPhgMeasureStat) line["value"] = item.payload[0];
        if (item.type->code == kPhgVisualOdometer) {
            std::int32_t value;
            std::memcpy(&value, item.payload, sizeof value);
            line["value"] = value;
        }
        const progress_aside_t aside(STDOUT_FILENO);
        print(line);
    }));
}

command_line_t add_action(command_line_t& dump, const char* name, const char* what,
                          const std::shared_ptr<dump_options_t>& options)
{
    command_line_t action = dump.command(name, what);
    action.option("FILE", &options->file, "Dump file; .gz is read directly, - is standard input", {.required = true});
    add_quiet_option(action, &options->quiet);
    return action;
}

}   // namespace

command_t dump_command(command_line_t& program)
{
    const auto options = std::make_shared<dump_options_t>();
    command_line_t dump = program.command("dump", "List, check, print and replay fusion dump files");

    dump.example("kvx dump verify flight.dump", "Is it whole?");
    dump.example("kvx dump cat flight.dump | head -n 1", "The first record as JSON");
    command_line_t info_app = add_action(dump, "info", "Records of a dump by type", options);
    command_line_t verify_app = add_action(dump, "verify", "Tell where a dump is damaged and how many bytes", options);
    command_line_t cat_app = add_action(dump, "cat", "Print the records as JSON, one a line", options);
    command_line_t replay_app = add_action(dump, "replay", "Feed the records to a vision library", options);
    for (command_line_t app : {info_app, verify_app}) app.flag("--json", &options->json, "Print as JSON");
    replay_app.option("--library", &options->library, "Vision library",
                      {.type_name = "LIBRARY", .default_text = "$VISION_PHG_LIB_NAME"});
    replay_app.option("--rate", &options->rate, "Records a second",
                      {.check = within(0.001, 1e6), .default_text = "as fast as the library takes them"});

    return {dump, [options, info_app, verify_app, cat_app] {
                const progress_run_t progress({options->file}, options->quiet);
                if (info_app.given()) return info(*options);
                if (verify_app.given()) return verify(*options);
                if (cat_app.given()) return cat(*options);
                return replay_dump(options->file, options->library, options->rate);
            }};
}

}   // namespace kvx
