// Damages a log in every way and holds what the tool's reader makes of it against the plain model of the framing: every
// byte accounted for, every intact frame decoded as if the damaged ones had never been there.
// usage: campaign LOG [whole], else a sample.
#include <rtk_gnss.h>

#include <cstdio>
#include <fstream>
#include <iterator>
#include <memory>
#include <random>
#include <string>

#include "campaign/framing_model.h"
#include "fakes/memory_input.h"
#include "log/log_reader.h"

namespace {

using std::size_t;

// The n-th damage of a kind.
struct damage_t {
    const char* name;
    size_t (*count)(size_t bytes);
    void (*apply)(std::string& log, size_t n);
};

// clang-format off
constexpr damage_t kDamages[] = {
    {"bits flipped",      [](size_t n) { return 8 * n; },
     [](std::string& s, size_t n) { s[n / 8] = static_cast<char>(s[n / 8] ^ 1 << n % 8); }},
    {"bytes changed",     [](size_t n) { return 255 * n; },
     [](std::string& s, size_t n) { s[n / 255] = static_cast<char>(s[n / 255] + 1 + n % 255); }},
    {"bytes dropped",     [](size_t n) { return n; },
     [](std::string& s, size_t n) { s.erase(n, 1); }},
    {"bytes doubled",     [](size_t n) { return n; },
     [](std::string& s, size_t n) { s.insert(n, 1, s[n]); }},
    {"bytes inserted",    [](size_t n) { return 256 * (n + 1); },
     [](std::string& s, size_t n) { s.insert(n / 256, 1, static_cast<char>(n % 256)); }},
    {"cut short",         [](size_t n) { return n; },
     [](std::string& s, size_t n) { s.resize(n); }},
    {"stretches dropped", [](size_t n) { return 200 * n; },
     [](std::string& s, size_t n) { s.erase(n / 200, 2 + n % 200); }},
    {"stretches doubled", [](size_t n) { return 200 * n; },
     [](std::string& s, size_t n) { s.insert(n / 200, s.substr(n / 200, 2 + n % 200)); }},
};
// clang-format on

// Up to eight of them, one after the other.
void damage_often(std::string& log, size_t n)
{
    std::minstd_rand random(static_cast<unsigned>(n + 1));
    for (size_t left = 2 + random() % 7; left > 0 && !log.empty(); --left) {
        const damage_t& d = kDamages[random() % std::size(kDamages)];
        d.apply(log, (random() * std::uint64_t{1} << 16 ^ random()) % d.count(log.size()));
    }
}
constexpr damage_t kOften = {"several at once", [](size_t n) { return 5000 * n; }, damage_often};

// The frames of a log with what leads a search astray between them, and headers about the largest size.
std::string reference(const std::string& log)
{
    const std::string between[] = {"", "\xAA", "\xAA\x44", "\xAA\xAA\x44", "\xAA\x44\x13", "\x44\x12", "#"};
    std::string out;
    size_t n = 0;
    for (const model_frame_t& frame : framing_of(log).frames) {
        (out += frame.bytes) += between[n++ % std::size(between)];
        if (n == 9) out.append("\xAA\x44\x12\x1C\0\0\0\0\xE1\x1F", 10);   // one byte too much
    }
    return out.append("\xAA\x44\x12\x1C\0\0\0\0\xE0\x1F\xAA\x44\x12", 13);   // fits, but it is torn
}

// A record as at the start of a log.
class record_t {
public:
    void start()
    {
        g_curleap = 18;
        Initial_raw(raw_.get(), 0);
    }
    raw_t& raw() { return *raw_; }
    bool decoded_as(const record_t& other) const
    {
        return std::memcmp(raw_.get(), other.raw_.get(), offsetof(raw_t, nbyte)) == 0;
    }

private:
    std::unique_ptr<raw_t> raw_ = std::make_unique<raw_t>();
};

class campaign_t {
public:
    explicit campaign_t(std::string log) : log_(std::move(log)) {}

    /// @param most  logs, spread over all of the kind
    void run(const damage_t& damage, size_t most)
    {
        const size_t before = runs_, differing = differing_, count = damage.count(log_.size());
        for (size_t n = 0; n < count; n += (count + most - 1) / most) {
            std::string log = log_;
            damage.apply(log, n);
            ++runs_;
            if (agrees(log, n)) continue;
            if (differing_++ == differing) std::printf("%s, number %zu: the reader differs\n", damage.name, n);
        }
        std::printf("%-18s %10zu logs, %zu differ\n", damage.name, runs_ - before, differing_ - differing);
    }

    bool finish() const
    {
        std::printf("%zu logs, %zu frames, %zu of them intact, %zu logs differ\n", runs_, frames_, intact_, differing_);
        return intact_ > 0 && intact_ < frames_ && differing_ == 0;
    }

private:
    // What is handed out: frames and results, then the account, then the record.
    bool agrees(const std::string& log, size_t n)
    {
        const framing_model_t model = framing_of(log);
        memory_input = {reinterpret_cast<const std::uint8_t*>(log.data()), log.size()};
        memory_input_piece = n % 5 == 0 ? 1 + n % 97 : SIZE_MAX;
        damaged_.start();
        kvx::input_file_t source("");
        kvx::log_reader_t reader(source, damaged_.raw(), true, 1 << (6 + n % 7));
        std::vector<kvx::frame_t> frames;
        for (kvx::frame_t frame{}; reader.next(frame);) frames.push_back(frame);

        std::uint64_t wrong = 0, refused = 0;
        bool same = frames.size() == model.frames.size();
        intact_only_.start();
        for (size_t i = 0; same && i < frames.size(); ++i) {
            const model_frame_t& expected = model.frames[i];
            const int result = expected.intact ? decoded(expected.bytes) : DECODE_REFUSED;
            same = frames[i].id == expected.id && frames[i].checksum_ok == expected.intact &&
                   frames[i].result == result && frames[i].size == static_cast<int>(expected.bytes.size());
            wrong += !expected.intact;
            refused += expected.intact && result == DECODE_REFUSED;
        }
        frames_ += frames.size();
        intact_ += frames.size() - wrong;
        const kvx::losses_t& lost = reader.losses();
        return same && reader.bytes() == log.size() && lost.skipped_bytes == model.between &&
               lost.skipped_runs == model.stretches_between && lost.bad_checksum == wrong && lost.refused == refused &&
               lost.too_long == model.announces_too_much && lost.torn_bytes == model.torn &&
               damaged_.decoded_as(intact_only_);
    }

    int decoded(std::string_view frame)
    {
        int result = DECODE_NOTHING;
        for (const char byte : frame) result = input_korvex(&intact_only_.raw(), static_cast<unsigned char>(byte));
        return result;
    }

    std::string log_;
    record_t damaged_, intact_only_;
    size_t runs_ = 0, differing_ = 0, frames_ = 0, intact_ = 0;
};

}   // namespace

int main(int argc, char** argv)
{
    if (argc < 2) return 2;
    std::ifstream file(argv[1], std::ios::binary);
    campaign_t campaign(reference({std::istreambuf_iterator<char>(file), {}}));
    const size_t most = argc > 2 ? SIZE_MAX / 2 : 4000;
    for (const damage_t& damage : kDamages) campaign.run(damage, most);
    campaign.run(kOften, most);
    return campaign.finish() ? 0 : 1;
}
