// One message with a right checksum on a record full of a pattern: it changes the fields that are its own and no
// others, and takes nothing from the bytes of an earlier frame.
// Input: message, options, format and time status, week, ms of the week, body.
#include <algorithm>
#include <cstddef>

#include "frame_mutator.h"
#include "fuzz_check.h"
#include "fuzz_input.h"

namespace {

struct field_t {
    std::size_t offset, size;
};

#define FIELD(name)                               \
    {                                             \
        offsetof(raw_t, name), sizeof raw_t::name \
    }

// Any message may change these.
constexpr field_t kCommon[] = {FIELD(week), FIELD(tow), FIELD(nbyte), FIELD(len), FIELD(buff)};

struct message_t {
    std::uint16_t id;
    field_t own[6];   // besides
};

// clang-format off
constexpr message_t kMessages[] = {
    {43,    {FIELD(nobs), FIELD(obs_tow), FIELD(obs), FIELD(locktime), FIELD(halfc), FIELD(geph)}},
    {140,   {FIELD(nobs), FIELD(obs_tow), FIELD(obs), FIELD(locktime), FIELD(halfc)}},
    {7,     {FIELD(eph), FIELD(eph_sat)}},
    {8,     {FIELD(leaps), FIELD(ion_gps)}},
    {37,    {FIELD(rcv_text)}},
    {41,    {FIELD(eph), FIELD(eph_sat)}},
    {42,    {FIELD(pos)}},
    {231,   {}},
    {241,   {FIELD(pos)}},
    {601,   {FIELD(seph), FIELD(eph_sat)}},
    {723,   {FIELD(geph), FIELD(eph_sat)}},
    {1043,  {}},
    {1047,  {FIELD(eph), FIELD(eph_sat)}},
    {1122,  {FIELD(galeph), FIELD(eph_sat)}},
    {1273,  {}},
    {1309,  {FIELD(galeph), FIELD(eph_sat)}},
    {1336,  {FIELD(eph), FIELD(eph_sat)}},
    {1421,  {FIELD(ant_type), FIELD(ant_word1), FIELD(ant_word2)}},
    {1696,  {FIELD(eph), FIELD(eph_sat)}},
    {11111, {FIELD(sng_flag), FIELD(sng), FIELD(sng_f)}},
};
// clang-format on

struct frame_t {
    const message_t* message;
    std::uint8_t options;
    std::uint8_t bytes[kFrameHeader + kMaxBody + kFrameCrc];
    std::size_t size;
};

frame_t frame_of(fuzz_input_t& input)
{
    frame_t frame{};
    frame.message = &kMessages[input.byte() % std::size(kMessages)];
    frame.options = input.byte();
    const std::uint8_t status = input.byte();
    const auto week = input.get<std::uint16_t>();
    const auto ms = input.get<std::uint32_t>();
    const auto rest = input.rest();
    const auto body = static_cast<std::uint16_t>(std::min(rest.size(), kMaxBody));

    constexpr std::uint8_t kSync[] = {0xAA, 0x44, 0x12};
    std::memcpy(frame.bytes, kSync, sizeof kSync);
    std::memcpy(frame.bytes + 4, &frame.message->id, 2);
    frame.bytes[6] = (status & 0xF0) == 0xF0 ? 0x30 : 0;    // format
    frame.bytes[13] = (status & 0x0F) == 0x0F ? 20 : 180;   // time status
    std::memcpy(frame.bytes + 8, &body, 2);
    std::memcpy(frame.bytes + 14, &week, 2);
    std::memcpy(frame.bytes + 16, &ms, 4);
    if (body > 0) std::memcpy(frame.bytes + kFrameHeader, rest.data(), body);
    seal_frame(frame.bytes, body);
    frame.size = kFrameHeader + body + kFrameCrc;
    return frame;
}

// A record in use, or one full of a pattern that stands for everything the host and earlier messages left there.
void prepare(raw_t& raw, std::uint8_t options, std::uint8_t earlier_frame)
{
    constexpr std::uint8_t kPattern = 0x5A;
    const bool filled = (options & 4) != 0;
    if (filled) std::memset(static_cast<void*>(&raw), kPattern, sizeof raw);
    Initial_raw(&raw, filled ? 2 : 0);
    std::memset(raw.host_area, kPattern, sizeof raw.host_area);
    std::memset(raw.buff, earlier_frame, sizeof raw.buff);
    raw.opt_rawprn = options & 1;
    raw.opt_nosigmap = options >> 1 & 1;
    raw.ts_ena = options >> 3 & 1;
    raw.te_ena = options >> 4 & 1;
}

int feed(raw_t& raw, const frame_t& frame)
{
    g_curleap = 18;
    int left = static_cast<int>(frame.size);
    const int result = input_korvexb(&raw, frame.bytes, &left);
    FUZZ_CHECK(left == 0 && raw.nbyte == 0 && raw.len == static_cast<int>(frame.size - kFrameCrc));
    return result;
}

void copy_field(raw_t& to, const raw_t& from, const field_t& field)
{
    std::memcpy(reinterpret_cast<std::uint8_t*>(&to) + field.offset,
                reinterpret_cast<const std::uint8_t*>(&from) + field.offset, field.size);
}

// The buffer holds the frame, and behind it what was there before.
bool holds_only(const raw_t& raw, const frame_t& frame, std::uint8_t earlier_frame)
{
    if (std::memcmp(raw.buff, frame.bytes, frame.size) != 0) return false;
    return std::all_of(raw.buff + frame.size, std::end(raw.buff), [=](auto byte) { return byte == earlier_frame; });
}

bool same(const raw_t& a, const raw_t& b)
{
    return std::memcmp(&a, &b, sizeof a) == 0;
}

}   // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    fuzz_input_t input(data, size);
    const frame_t frame = frame_of(input);
    static raw_t before, after, behind_ones;
    prepare(before, frame.options, 0);
    prepare(after, frame.options, 0);
    prepare(behind_ones, frame.options, 0xFF);   // all but these bytes of an earlier frame is the same

    const int result = feed(after, frame);
    FUZZ_CHECK(feed(behind_ones, frame) == result);
    FUZZ_CHECK(holds_only(after, frame, 0) && holds_only(behind_ones, frame, 0xFF));
    std::memcpy(behind_ones.buff, after.buff, sizeof after.buff);
    FUZZ_CHECK(same(after, behind_ones));

    for (const field_t& field : kCommon) copy_field(before, after, field);
    if (result > 0) {
        for (const field_t& field : frame.message->own) copy_field(before, after, field);
    }
    FUZZ_CHECK(same(before, after));
    return 0;
}
