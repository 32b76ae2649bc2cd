#include "log/notices.h"

#include <rtk_gnss.h>

#include "common/text_format.h"
#include "gnss/foundation/satellites.h"
#include "gnss/log/frame.h"
#include "gnss/log/galileo.h"
#include "gnss/log/glonass.h"
#include "gnss/log/kepler.h"
#include "gnss/log/sbas.h"
#include "gnss/log/station.h"
#include "gnss/log/subframes.h"
#include "rinex/satellites.h"

namespace kvx {

namespace {

constexpr std::size_t kMostNames = 1000;

// Whom a message is about, and when.
struct about_t {
    int constellation;   // see rinex/satellites.h; -1: no satellite
    std::uint32_t prn;   // of the receiver
    bool clock_set;
};

// Weeks before the clock is set.
bool is_set(std::uint32_t week)
{
    return week != 0 && week != korvex::kWeekUnknown;
}

about_t about_gps(std::uint32_t prn, std::uint32_t week)
{
    constexpr auto kLast = static_cast<std::uint32_t>(rinex::kConstellations[rinex::kGps].last);
    if (prn <= kLast || prn - kLast > static_cast<std::uint32_t>(rinex::kConstellations[rinex::kQzss].last))
        return {rinex::kGps, prn, is_set(week)};
    return {rinex::kQzss, prn - kLast + rinex::kConstellations[rinex::kQzss].prn_offset, is_set(week)};
}

about_t about_beidou(const korvex::kepler_t& k)
{
    return {rinex::kBeidou, k.prn >= kBdsHighPrn ? k.prn - kBdsHighPrn : k.prn, is_set(k.week)};
}

struct row_t {
    int id;
    int size;   // least bytes of the body
    about_t (*about)(const std::uint8_t* body);
};

constexpr row_t kRows[] = {
    {MSG_GPS_EPHEMERIS, korvex::kGpsEphemerisSize,
     [](auto* body) {
         const korvex::kepler_t k = korvex::read_gps_ephemeris(body);
         return about_gps(k.prn, k.week);
     }},
    {MSG_RAW_GPS_EPHEMERIS, korvex::kRawEphemerisSize,
     [](auto* body) {
         const korvex::subframes_t s = korvex::read_subframes(body);
         return about_t{rinex::kGps, s.prn, is_set(s.reference_week)};
     }},
    {MSG_SBAS_EPHEMERIS, korvex::kSbasEphemerisSize,
     [](auto* body) {
         constexpr std::uint32_t kBeforeFirst = 119;
         return about_t{rinex::kSbas, kBeforeFirst + korvex::read_sbas_ephemeris(body).index, true};
     }},
    {MSG_GLONASS_EPHEMERIS, korvex::kGlonassEphemerisSize,
     [](auto* body) {
         const korvex::glonass_t g = korvex::read_glonass_ephemeris(body);
         return about_t{rinex::kGlonass, static_cast<std::uint32_t>(g.prn), is_set(static_cast<std::uint32_t>(g.week))};
     }},
    {MSG_BDS_EPHEMERIS_SECOND, korvex::kBdsEphemerisSecondSize,
     [](auto* body) { return about_beidou(korvex::read_bds_ephemeris_second(body)); }},
    {MSG_BDS_EPHEMERIS, korvex::kBdsEphemerisSize,
     [](auto* body) { return about_beidou(korvex::read_bds_ephemeris(body)); }},
    {MSG_GAL_EPHEMERIS, korvex::kGalEphemerisSize,
     [](auto* body) {
         return about_t{rinex::kGalileo, korvex::read_galileo_ephemeris(body).prn, true};
     }},
    {MSG_GAL_INAV_EPHEMERIS, korvex::kGalInavEphemerisSize,
     [](auto* body) {
         return about_t{rinex::kGalileo, korvex::read_galileo_inav_ephemeris(body).prn, true};
     }},
    {MSG_QZSS_EPHEMERIS, korvex::kQzssEphemerisSize,
     [](auto* body) {
         const korvex::kepler_t k = korvex::read_qzss_ephemeris(body);
         return about_t{rinex::kQzss, k.prn, is_set(k.week)};
     }},
    {MSG_MARK_TIME, korvex::kMarkTimeSize,
     [](auto* body) {
         return about_t{-1, 0, (korvex::read_mark_time(body).clock_status & 0xFE) == 0};
     }},
};

bool has_number(const about_t& about, numbering_t numbering)
{
    const rinex::constellation_t& system = rinex::kConstellations[about.constellation];
    const bool named = rinex::satellite_of_prn(about.constellation, about.prn).valid();
    if (numbering == numbering_t::rinex || !named) return named;
    const system_t& kept = system_of(system.sys);
    const int number = number_in_system(system.sys, about.prn);
    return number >= 1 && number <= kept.last - kept.first + 1;
}

std::string name_of(const about_t& about)
{
    const rinex::satellite_t satellite = rinex::satellite_of_prn(about.constellation, about.prn);
    return satellite.valid() ? satellite.name()
                             : text("%s PRN %u", rinex::kConstellations[about.constellation].name, about.prn);
}

}   // namespace

bool notices_t::take(const std::uint8_t* frame, numbering_t numbering)
{
    const korvex::header_t header = korvex::read_header(frame);
    for (const row_t& row : kRows) {
        if (row.id != header.id || header.body_size < row.size) continue;
        const about_t about = row.about(frame + korvex::kHeaderSize);
        if (!about.clock_set || !is_set(static_cast<std::uint32_t>(header.week))) {
            ++clock_not_set;
            return true;
        }
        if (about.constellation < 0 || has_number(about, numbering)) return false;
        const std::string name = name_of(about);
        ++without_number[without_number.size() < kMostNames || without_number.count(name) != 0 ? name : "others"];
        return true;
    }
    return false;
}

}   // namespace kvx
