// Writes the first inputs of the fuzz targets: short logs of the built-in sky, one message of every kind, a few epochs.
//
// make_seeds FOLDER writes FOLDER/<target>/<name>.
#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <set>
#include <string>

#include "sky/simulator.h"

namespace {

namespace fs = std::filesystem;
using sky::bytes_t;

void save(const fs::path& path, const bytes_t& bytes)
{
    fs::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

bytes_t joined(bytes_t head, const bytes_t& tail)
{
    for (const std::uint8_t byte : tail) head.push_back(byte);
    return head;
}

bytes_t text(const std::string& s)
{
    return {s.begin(), s.end()};
}

std::size_t frame_size(const bytes_t& log, std::size_t at)
{
    return 28u + log[at + 8] + (log[at + 9] << 8) + 4u;
}

int frame_id(const bytes_t& log, std::size_t at)
{
    return log[at + 4] | log[at + 5] << 8;
}

// The first frame of every message id of a log.
bytes_t one_of_each(const bytes_t& log)
{
    std::set<int> seen;
    bytes_t some;
    for (std::size_t at = 0; at < log.size(); at += frame_size(log, at)) {
        if (!seen.insert(frame_id(log, at)).second) continue;
        some.insert(some.end(), log.begin() + static_cast<std::ptrdiff_t>(at),
                    log.begin() + static_cast<std::ptrdiff_t>(at + frame_size(log, at)));
    }
    return some;
}

sky::scenario_t scenario(sky::range_form_t form, int systems, double mask)
{
    sky::scenario_t s;
    s.duration = 4.0;
    s.range = form;
    s.systems = systems;
    s.mask = mask;
    return s;
}

void save_logs(const fs::path& folder)
{
    const bytes_t full = sky::make_log(scenario(sky::kFullRange, SYS_GPS | SYS_GLO, 40.0));
    const bytes_t compressed = sky::make_log(scenario(sky::kCompressedRange, sky::kAllSystems, 30.0));
    const bytes_t some = joined(one_of_each(compressed), one_of_each(full));
    bytes_t damaged = joined(text("noise \xAA\x44 noise"), one_of_each(full));
    damaged[damaged.size() / 3] ^= 0x10;
    const bytes_t too_long = joined({0xAA, 0x44, 0x12, 28, 43, 0, 0, 0, 0xE1, 0x1F}, one_of_each(full));

    const auto save_all = [&](const std::string& target, const bytes_t& head) {
        save(folder / target / "messages", joined(head, some));
        save(folder / target / "damaged", joined(head, damaged));
        save(folder / target / "too_long", joined(head, too_long));
        save(folder / target / "empty", head);
    };
    save_all("log_bytes", {0});
    save_all("log_block", {0, 3, 7});
    save_all("log_file", {0});
    save(folder / "log_bytes" / "raw_prns", joined({1}, some));
    save(folder / "log_block" / "single_bytes", joined({2, 0, 0}, one_of_each(full)));
    save(folder / "log_file" / "noise", joined({0}, joined(bytes_t(4100, 0x44), one_of_each(full))));
    save(folder / "log_file" / "skipped", joined({0x80}, some));
}

// Order of the messages in the target.
constexpr int kIds[] = {43,  140,  7,    8,    37,   41,   42,   231,  241,  601,
                        723, 1043, 1047, 1122, 1273, 1309, 1336, 1421, 1696, 11111};

void save_bodies(const fs::path& folder)
{
    sky::scenario_t s = scenario(sky::kCompressedRange, sky::kAllSystems, 20.0);
    bytes_t log = one_of_each(sky::make_log(s));
    s.range = sky::kFullRange;
    log = joined(log, one_of_each(sky::make_log(s)));
    for (std::size_t at = 0; at < log.size(); at += frame_size(log, at)) {
        const auto* id = std::find(std::begin(kIds), std::end(kIds), frame_id(log, at));
        if (id == std::end(kIds)) continue;
        const auto* frame = log.data() + at;
        const bytes_t head = {static_cast<std::uint8_t>(id - kIds),
                              0,
                              0,
                              frame[14],
                              frame[15],
                              frame[16],
                              frame[17],
                              frame[18],
                              frame[19]};
        bytes_t input = joined(head, bytes_t(frame + 28, frame + frame_size(log, at) - 4));
        save(folder / "message_body" / std::to_string(*id), input);
        input[1] = 0x05;   // raw PRNs, a record in use
        input.resize(std::min<std::size_t>(input.size(), 150));
        save(folder / "message_body" / std::to_string(*id).append("_short"), input);
    }
}

bytes_t message_input(int id, std::uint8_t options, const bytes_t& body)
{
    const auto* const at = std::find(std::begin(kIds), std::end(kIds), id);
    const bytes_t head = {static_cast<std::uint8_t>(at - kIds), options, 0, 1, 9, 0, 0, 0, 1};
    return joined(head, body);
}

// Record of the compressed message with everything locked.
bytes_t compressed_record(unsigned system, std::uint8_t prn)
{
    const std::uint32_t status = 7u << 10 | system << 16 | (system == 3 ? 2u : 0u) << 21;
    bytes_t record(24, 1);
    for (int i = 0; i < 4; ++i) record[i] = static_cast<std::uint8_t>(status >> 8 * i);
    record[17] = prn;
    return record;
}

bytes_t full_record(unsigned system, std::uint16_t prn)
{
    bytes_t record(40, 0);
    record[0] = static_cast<std::uint8_t>(prn);
    record[1] = static_cast<std::uint8_t>(prn >> 8);
    const bytes_t compressed = compressed_record(system, 0);
    return joined(record, {compressed.begin(), compressed.begin() + 4});
}

bytes_t counted(std::uint32_t n, const bytes_t& records)
{
    bytes_t body;
    for (int i = 0; i < 4; ++i) body.push_back(static_cast<std::uint8_t>(n >> 8 * i));
    return joined(body, records);
}

// What only an attacker sends, each with a right checksum.
void save_hostile_bodies(const fs::path& corpus)
{
    const fs::path folder = corpus / "message_body";
    const auto one = [&](const char* name, int id, std::uint8_t options, const bytes_t& record) {
        save(folder / name, message_input(id, options, counted(1, record)));
    };
    one("glonass_prn_62", 43, 0, full_record(1, 62));
    one("glonass_prn_62_compressed", 140, 0, compressed_record(1, 62));
    one("sbas_prn_158", 43, 0, full_record(2, 158));
    one("raw_galileo_prn_222", 43, 1, full_record(3, 222));
    one("raw_galileo_prn_65535", 43, 1, full_record(3, 65535));
    one("raw_galileo_prn_255_compressed", 140, 1, compressed_record(3, 255));
    // Counts whose product with the record's size is small again in 32 bits.
    save(folder / "count_wraps", message_input(43, 0, counted(97612894, full_record(0, 1))));
    save(folder / "count_wraps_compressed", message_input(140, 0, counted(178956971, compressed_record(0, 1))));
    bytes_t crowd;
    for (std::uint8_t prn = 1; prn <= 36; ++prn) {
        for (const unsigned system : {0u, 3u, 4u}) crowd = joined(crowd, compressed_record(system, prn));
    }
    save(folder / "crowd", message_input(140, 0, counted(3 * 36, crowd)));
    for (const int id : kIds) {
        for (const std::size_t size : {0, 4, 12, 30}) {
            const std::string name = std::to_string(id) + "_ends_at_" + std::to_string(size);
            save(folder / name, message_input(id, 0, bytes_t(size, 1)));
        }
    }
    for (const int index : {0, 26, 255}) {
        bytes_t body(63, 1);
        body[0] = static_cast<std::uint8_t>(index);
        save(folder / ("sbas_index_" + std::to_string(index)), message_input(601, 0, body));
    }
}

// A header that announces one byte more than fits, and all the bytes it announces.
void save_overlong_frames(const fs::path& folder)
{
    const bytes_t frame = joined({0xAA, 0x44, 0x12, 28, 43, 0, 0, 0, 0xE1, 0x1F}, bytes_t(28 + 8161 + 4 - 10, 0x77));
    save(folder / "log_bytes" / "overlong", joined({0}, frame));
    save(folder / "log_block" / "overlong", joined({0, 255, 0}, frame));
    save(folder / "log_file" / "overlong", joined({0}, frame));
}

// Bytes that the target takes as options and epochs; small values give ordinary ones.
void save_epochs(const fs::path& folder)
{
    sky::random_t random(1);
    for (int version = 0; version < 8; ++version) {
        for (const int writer : {0, 1, 9}) {
            bytes_t input = {static_cast<std::uint8_t>(version | version * 5 % 8 << 3),
                             static_cast<std::uint8_t>(version << 5 | 0x1F), static_cast<std::uint8_t>(writer)};
            for (int epoch = 0; epoch < 24; ++epoch) {
                const std::size_t satellites = 1 + random.below(3);
                input.push_back(static_cast<std::uint8_t>(satellites << 4 | 10));   // a second later
                for (std::size_t i = 0; i < satellites; ++i) {
                    input.push_back(static_cast<std::uint8_t>(1 + random.below(170)));
                    input.push_back(1 << random.below(5));
                    for (int b = 0; b < 22; ++b) input.push_back(static_cast<std::uint8_t>(random.bits()));
                }
            }
            save(folder / "rinex_obs" / std::to_string(version * 10 + writer), input);
        }
    }
}

std::string header_line(const std::string& label)
{
    std::string line(60, ' ');
    line += label;
    line.resize(80, ' ');
    return line += '\n';
}

void save_files(const fs::path& folder)
{
    const std::string header = header_line("OBSERVER / AGENCY") + header_line("REC # / TYPE / VERS") +
                               header_line("ANTENNA: DELTA H/E/N") + header_line("INTERVAL") +
                               header_line("TIME OF FIRST OBS") + header_line("TIME OF LAST OBS") +
                               header_line("LEAP SECONDS") + header_line("END OF HEADER");
    // Options: RINEX 3.04, kind 2; a station of zeros with the biases known.
    bytes_t head = {0x16, 0x1F};
    head.resize(2 + 12 + 150, 0);
    save(folder / "rinex_patch" / "header", joined(head, text(header + "> epoch\nG01\n")));
    save(folder / "rinex_patch" / "only_end", joined(head, text(header_line("END OF HEADER") + "body\n")));
    save(folder / "rinex_patch" / "no_end", joined(head, text("just a text without lines")));
    save(folder / "rinex_patch" / "long_line", joined(head, text(std::string(300, 'x') + header)));
}

}   // namespace

int main(int argc, char** argv)
{
    if (argc != 2) {
        std::fprintf(stderr, "usage: make_seeds FOLDER\n");
        return 2;
    }
    const fs::path folder = argv[1];
    save_logs(folder);
    save_overlong_frames(folder);
    save_bodies(folder);
    save_hostile_bodies(folder);
    save_epochs(folder);
    save_files(folder);
    return 0;
}
