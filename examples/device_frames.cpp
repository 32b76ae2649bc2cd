// Sends messages of the device through a line that adds noise, and finds them again in the pieces that arrive.
//   example_device_frames line.bin
#include <CKorvexMsgHelper.h>

#include <cstdio>
#include <memory>
#include <string>

struct close_file {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using file_t = std::unique_ptr<std::FILE, close_file>;

// Three messages with noise around them: an empty one, one that holds a sync, and a long one.
static bool send(std::FILE* line)
{
    const std::string payloads[] = {"", "a sync: \xAA\x44\xCC", std::string(300, 'x')};
    CKorvexMsgHelper packer;
    unsigned short id = 513;
    for (const std::string& payload : payloads) {
        const auto* bytes = reinterpret_cast<const unsigned char*>(payload.data());
        std::string frame;
        if (!packer.Pack(bytes, static_cast<unsigned int>(payload.size()), id++, frame)) return false;
        std::fputs("noise \xAA\x44", line);
        std::fwrite(frame.data(), frame.size(), 1, line);
    }
    return std::fflush(line) == 0 && std::ferror(line) == 0;
}

static void handle(unsigned short id, const unsigned char* payload, unsigned int length)
{
    std::printf("id %u length %u%s", id, length, length != 0 ? " payload " : "");
    for (unsigned int k = 0; k < length; ++k) std::printf("%02x", payload[k]);
    std::putchar('\n');
}

int main(int argc, char** argv)
{
    const file_t line(argc == 2 ? std::fopen(argv[1], "w+b") : nullptr);
    if (line == nullptr || !send(line.get())) {
        std::fprintf(stderr, "usage: example_device_frames FILE\n");
        return 2;
    }
    std::rewind(line.get());

    CKorvexMsgHelper parser;   // one for each line, used by one thread
    unsigned char piece[7];
    unsigned char* payload = nullptr;
    unsigned short id = 0;
    unsigned int length = 0;
    int frames = 0;
    while (const auto size = static_cast<unsigned int>(std::fread(piece, 1, sizeof piece, line.get()))) {
        for (bool found = parser.Parse(piece, size, id, &payload, length); found;
             found = parser.Parse(nullptr, 0, id, &payload, length)) {
            handle(id, payload, length);   // the payload is there until the next call
            ++frames;
        }
        if (parser.RejectedBytes() != 0) break;   // no memory: frames may be missing
    }
    return frames == 3 ? 0 : 1;
}
