// Whatever ephemerides and ranges say: what is told of them holds together, and positions are on the Earth.
#include <cmath>

#include "fuzz.h"
#include "quality/quality.h"

namespace {

constexpr std::int64_t kBegin = 2305LL * 604800;   // s
constexpr double kLongest = 1e15;                  // of a measurement

// Mostly what can be, now and then anything that messages and files let through.
double number(bytes_t& input, double least, double most, double limit = rinex::kLargestNumber)
{
    const auto choice = take<std::uint16_t>(input);
    if (choice % 64 == 0) {
        const auto any = take<double>(input);
        return std::fabs(any) <= limit ? any : 0.0;
    }
    return least + (most - least) * (choice >> 6) / 1023.0;
}

rinex::ephemeris_record_t ephemeris(bytes_t& input)
{
    rinex::ephemeris_record_t r;
    r.satellite = rinex::satellite_at(take<std::uint8_t>(input) % rinex::kSatellites);
    r.message = static_cast<rinex::nav_message_t>(take<std::uint8_t>(input) % 7);
    r.epoch = r.reference = kBegin + 600 * (take<std::uint8_t>(input) % 16);
    const bool state = r.satellite.constellation == rinex::kGlonass || r.satellite.constellation == rinex::kSbas;
    r.clock = {number(input, -1e-3, 1e-3), number(input, -1e-9, 1e-9), 0.0};
    if (state) {
        r.lines = 4;
        for (auto& line : r.orbit)
            line = {number(input, -26e3, 26e3), number(input, -4, 4), number(input, -1e-8, 1e-8), 0.0};
        return r;
    }
    r.lines = 7;
    r.orbit[0] = {0.0, number(input, -100, 100), number(input, 0, 1e-8), number(input, -3, 3)};
    r.orbit[1] = {number(input, -1e-5, 1e-5), number(input, 0, 0.03), number(input, -1e-5, 1e-5),
                  number(input, 5153, 6494)};
    r.orbit[2] = {static_cast<double>(r.reference % 604800), 0.0, number(input, -3, 3), 0.0};
    r.orbit[3] = {number(input, 0, 1), number(input, -400, 400), number(input, -3, 3), number(input, -1e-8, 0)};
    r.orbit[4] = {number(input, -1e-9, 1e-9), 0.0, 2305.0, 0.0};
    r.orbit[5] = {2.0, 0.0, number(input, -1e-8, 1e-8), number(input, -1e-8, 1e-8)};
    return r;
}

void fill(quality::measured_epoch_t& epoch, const rinex::signals_t& names, bytes_t& input)
{
    epoch.measurements.clear();
    for (int place = 0; place < rinex::kSatellites; ++place) {
        const auto bits = take<std::uint8_t>(input);
        const auto codes = names.codes(rinex::satellite_at(place).constellation).size();
        for (std::size_t signal = 0; signal < std::min<std::size_t>(codes, 4); ++signal) {
            if ((bits >> signal & 1) == 0 || bits > 191) continue;
            epoch.measurements.push_back({static_cast<std::uint8_t>(place),
                                          static_cast<std::uint8_t>(signal),
                                          static_cast<std::uint8_t>(take<std::uint8_t>(input) % 64 == 0 ? 1 : 0),
                                          {number(input, 19e6, 26e6, kLongest), number(input, 1e8, 1.4e8, kLongest),
                                           number(input, -5e3, 5e3, kLongest), number(input, 20, 55, kLongest)}});
        }
    }
}

void check(quality::quality_t& q, std::uint64_t epochs)
{
    FUZZ_CHECK(q.epochs() == epochs && q.slips().size() <= q.slip_count() && q.computed().count() <= epochs);
    for (const quality::satellite_count_t& n : q.satellites())
        FUZZ_CHECK(n.above <= n.observed && n.above <= n.possible && n.possible <= epochs && n.slips <= n.observed);
    q.signals().each([&](int, int, const quality::signal_count_t& n) {
        FUZZ_CHECK(n.above <= n.observed && n.phases <= n.observed && n.half_cycles <= n.phases);
    });
    q.multipath().each([&](int, int, const quality::multipath_count_t& n) { FUZZ_CHECK(n.all().count <= epochs); });
    if (q.computed().count() == 0) return;
    const double radius = norm(q.computed().mean());
    FUZZ_CHECK(radius < 6.7e6);
}

}   // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    bytes_t input(data, size);
    static const rinex::signals_t names;
    std::array<std::vector<std::string>, rinex::kConstellationCount> codes;
    for (int c = 0; c < rinex::kConstellationCount; ++c) codes[static_cast<std::size_t>(c)] = names.codes(c);
    quality::carriers_t carriers(codes);
    rinex::channels_t channels{};
    for (auto& channel : channels) channel = static_cast<std::int8_t>(take<std::uint8_t>(input) % 14 - 7);
    carriers.take_channels(channels);
    quality::quality_t q(carriers);
    quality::measured_epoch_t epoch;
    epoch.time = kBegin * 1000;
    std::uint64_t epochs = 0;
    while (!input.empty()) {
        switch (take<std::uint8_t>(input) % 8) {
            case 0:
                q.add_fix({number(input, -7e6, 7e6, kLongest), number(input, -7e6, 7e6, kLongest),
                           number(input, -7e6, 7e6, kLongest)},
                          16, epoch.time);
                break;
            case 1:
                fill(epoch, names, input);
                [[fallthrough]];
            case 2:   // the same again, later
                epoch.time += 1000 * (take<std::uint8_t>(input) % 64 - 1);
                if (epoch.measurements.empty()) break;
                q.add(epoch);
                ++epochs;
                break;
            default:
                q.add(ephemeris(input));
        }
    }
    q.finish();
    check(q, epochs);
    return 0;
}
