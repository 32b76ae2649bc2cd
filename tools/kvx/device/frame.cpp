// kvx frame: packs and parses the device's framed messages.
#include <CKorvexMsgHelper.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>

#include "common/command.h"
#include "common/error.h"
#include "common/input_file.h"
#include "common/interrupt.h"
#include "common/progress.h"
#include "common/publish.h"
#include "common/standard_streams.h"
#include "common/text_format.h"
#include "device_frame.h"

namespace kvx {
namespace {

constexpr std::size_t kMaxPayload = 65535;
constexpr std::size_t kPiece = 64 * 1024;

struct frame_options_t {
    std::uint16_t id = 0;
    std::uint16_t extra = 0;
    std::string file = "-";
    std::optional<std::string> hex;
    std::string output;
    bool json = false, force = false, quiet = false;
};

int digit(char c)
{
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    return c >= 'A' && c <= 'F' ? c - 'A' + 10 : -1;
}

// Bytes of hexadecimal digits; blanks, colons and commas may stand between them.
std::vector<unsigned char> from_hex(const std::string& text)
{
    std::vector<unsigned char> bytes;
    int high = -1;
    for (std::size_t k = 0; k < text.size(); ++k) {
        if (high < 0 && (text[k] == ' ' || text[k] == ':' || text[k] == ',' || text[k] == '\n')) continue;
        const int low = digit(text[k]);
        if (low < 0) throw usage_error_t("--hex", "no hexadecimal digit at character " + std::to_string(k + 1));
        if (high >= 0) bytes.push_back(static_cast<unsigned char>(high << 4 | low));
        high = high >= 0 ? -1 : low;
    }
    if (high >= 0) throw usage_error_t("--hex", "the last byte has only one digit");
    return bytes;
}

std::vector<unsigned char> payload_of(const frame_options_t& options)
{
    if (options.hex) return from_hex(*options.hex);
    // As it stands: a payload may well look like a compressed file.
    const bool own = options.file != "-";
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> opened(own ? std::fopen(options.file.c_str(), "rb") : nullptr,
                                                                 std::fclose);
    std::FILE* const file = own ? opened.get() : stdin;
    if (file == nullptr) throw system_error(options.file, "opening the payload");
    std::vector<unsigned char> bytes(kMaxPayload + 1);
    bytes.resize(std::fread(bytes.data(), 1, bytes.size(), file));
    if (std::ferror(file) != 0) throw system_error(options.file, "reading the payload");
    return bytes;
}

void write_binary(const frame_options_t& options, const std::string& frame)
{
    const std::string& path = options.output;
    if (path == "-") {
        std::fwrite(frame.data(), 1, frame.size(), stdout);
        return;
    }
    if (is_device(path)) {
        std::FILE* out = std::fopen(path.c_str(), "wb");
        if (out == nullptr) throw system_error(path, "opening");
        const bool written = std::fwrite(frame.data(), 1, frame.size(), out) == frame.size();
        if (std::fclose(out) != 0 || !written) throw system_error(path, "writing the frame");
        return;
    }
    if (!options.hex) begin_run({options.file});
    demand_free(path, options.force);
    const std::filesystem::path target(path);
    auto file = std::make_unique<output_file_t>(target.has_parent_path() ? target.parent_path().string() : ".");
    std::fwrite(frame.data(), 1, frame.size(), file->stream());
    publish(std::move(file), target.filename().string(), options.force);
}

int pack(const frame_options_t& options)
{
    const std::vector<unsigned char> payload = payload_of(options);
    if (payload.size() > kMaxPayload)
        throw error_t(options.hex ? "--hex" : options.file, "a payload has at most 65535 bytes", "packing");
    std::string frame;
    CKorvexMsgHelper helper;
    if (!helper.Pack(payload.data(), static_cast<unsigned>(payload.size()), options.id, options.extra, frame))
        throw std::bad_alloc();
    if (options.output.empty())
        std::printf("%s\n", to_hex(reinterpret_cast<const unsigned char*>(frame.data()), frame.size()).c_str());
    else
        write_binary(options, frame);
    return kDone;
}

void print_frame(unsigned short id, const unsigned char* payload, unsigned n, bool json)
{
    const std::string hex = to_hex(payload, n);
    const progress_aside_t aside(STDOUT_FILENO);
    if (json)
        std::printf("{\"id\":%d,\"length\":%u,\"payload\":\"%s\"}\n", id, n, hex.c_str());
    else
        std::printf("id %d length %u%s%s\n", id, n, n == 0 ? "" : " payload ", hex.c_str());
    look_at_stdout();
}

void read_pieces(input_file_t& source, std::vector<unsigned char>& piece, bool quiet, const std::function<void()>& take)
{
    const progress_run_t run({source.name()}, quiet);
    progress_t progress(source);
    for (;; progress.at(source.position_on_disk())) {
        if (source.live()) std::fflush(stdout);   // before it waits
        piece.resize(kPiece);
        piece.resize(source.read_some(piece.data(), kPiece));
        if (piece.empty()) return;
        take();
    }
}

int parse(const frame_options_t& options)
{
    catch_interrupts();
    std::vector<unsigned char> piece;
    std::optional<input_file_t> source;
    if (options.hex)
        piece = from_hex(*options.hex);
    else
        source.emplace(options.file);

    CKorvexMsgHelper helper;
    std::uint64_t bytes = 0, framed = 0, frames = 0;
    const auto take = [&] {
        bytes += piece.size();
        unsigned short id = 0;
        unsigned char* payload = nullptr;
        unsigned n = 0;
        for (bool found = helper.Parse(piece.data(), static_cast<unsigned>(piece.size()), id, &payload, n); found;
             found = helper.Parse(nullptr, 0, id, &payload, n)) {
            print_frame(id, payload, n, options.json);
            framed += n + device_frame::kOverhead;
            ++frames;
        }
        if (helper.RejectedBytes() != 0)
            throw error_t(options.hex ? "--hex" : options.file, "out of memory",
                          "at byte " + std::to_string(bytes - piece.size()) + ", " + std::to_string(frames) +
                              " frames found before it");
    };
    if (source)
        read_pieces(*source, piece, options.quiet, take);
    else
        take();

    const std::string damage = source ? source->damage() : "";
    const int whole = source && source->ended_by_signal() ? interrupt_code() : kDone;
    if (bytes == framed && damage.empty()) return whole;
    const std::string lost =
        std::to_string(bytes - framed) + " of " + std::to_string(bytes) + " bytes belong to no frame";
    std::fprintf(stderr, "kvx: warning: %s: %s%s%s (%llu frames found)\n", source ? source->name().c_str() : "--hex",
                 lost.c_str(), damage.empty() ? "" : ", ", damage.c_str(), static_cast<unsigned long long>(frames));
    return whole == kDone ? kDamaged : whole;
}

}   // namespace

command_t frame_command(command_line_t& program)
{
    const auto options = std::make_shared<frame_options_t>();
    command_line_t frame = program.command("frame", "Pack and parse the device's framed messages");

    frame.example("kvx frame pack --id 513 --hex 0102", "A frame as hexadecimal digits");
    frame.example("kvx frame pack --id 513 --hex 0102 -o - | kvx frame parse", "There and back");
    command_line_t pack_app = frame.command("pack", "Put a payload into a frame, printed as hexadecimal digits");
    pack_app.exit_codes({{"3", ""}});
    pack_app.option("--id", &options->id, "Message ID", {.required = true, .check = within(0, 65535)});
    pack_app.option("--extra", &options->extra, "Extra word", {.check = within(0, 65535), .default_text = "0"});
    pack_app.option("-o,--output", &options->output, "Write the frame itself to a file; - is standard output",
                    {.type_name = "FILE"});
    pack_app.flag("--force", &options->force, "Replace a file that exists");

    command_line_t parse_app = frame.command("parse", "Find the frames in a stream, one line for each");
    parse_app.flag("--json", &options->json, "Print JSON lines");
    add_quiet_option(parse_app, &options->quiet);

    for (command_line_t app : {pack_app, parse_app}) {
        app.option("--hex", &options->hex, "Bytes as hexadecimal digits instead of a file", {.type_name = "DIGITS"});
        app.option("FILE", &options->file, "File to read, - is standard input (the default)", {.excludes = "--hex"});
    }
    return {frame, [options, pack_app] { return pack_app.given() ? pack(*options) : parse(*options); }};
}

}   // namespace kvx
