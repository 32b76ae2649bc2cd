#include "dump/dump_scan.h"

#include <unistd.h>

#include <cstdio>

#include "common/command.h"
#include "common/input_file.h"
#include "common/interrupt.h"
#include "common/progress.h"

namespace kvx {

namespace {

void count(dump_totals_t::count_t& counter, const dump_item_t& item)
{
    ++counter.items;
    counter.bytes += item.bytes;
}

// Reads the source to its end.
dump_totals_t read_dump(input_file_t& source, const std::function<void(const dump_item_t&)>& on_item)
{
    dump_reader_t reader([&source](std::uint8_t* to, std::size_t n) {
        if (source.live()) std::fflush(stdout);   // before it waits
        return source.read_some(to, n);
    });
    const progress_piece_t piece(0);
    progress_t progress(source);
    dump_totals_t totals;
    for (dump_item_t item; reader.next(item);) {
        if (item.damage == dump_damage_t::none) {
            count(totals.records, item);
            count(totals.types[static_cast<std::size_t>(item.type - kDumpTypes)], item);
        } else {
            count(totals.damage, item);
        }
        on_item(item);
        progress.at(source.position_on_disk());
    }
    return totals;
}

}   // namespace

dump_totals_t scan_dump(const std::string& path, const std::function<void(const dump_item_t&)>& on_item)
{
    catch_interrupts();
    input_file_t source(path);
    dump_totals_t totals = read_dump(source, on_item);
    totals.source_damage = source.damage();
    totals.ended_by_signal = source.ended_by_signal();
    const std::string why = source.cut_short() ? "interrupted" : totals.source_damage;
    if (!why.empty()) {
        std::fprintf(stderr, "kvx: warning: %s: %s (behind byte %llu of the dump)\n", source.name().c_str(),
                     why.c_str(), static_cast<unsigned long long>(totals.bytes()));
    }
    return totals;
}

int exit_code(const dump_totals_t& totals)
{
    if (totals.ended_by_signal) return interrupt_code();
    return totals.damaged() ? kDamaged : kDone;
}

dump_totals_t scan_dump_records(const std::string& path, const std::function<void(const dump_item_t&)>& on_record)
{
    return scan_dump(path, [&](const dump_item_t& item) {
        if (item.damage == dump_damage_t::none) return on_record(item);
        const progress_aside_t aside(STDERR_FILENO);
        std::fprintf(stderr, "kvx: warning: %s: %s, %llu bytes skipped (offset %llu)\n", path.c_str(),
                     dump_damage_text(item.damage), static_cast<unsigned long long>(item.bytes),
                     static_cast<unsigned long long>(item.offset));
    });
}

}   // namespace kvx
