/// @file check_navigation.h  Navigation records against the rules.
#ifndef RINEX_CHECK_NAVIGATION_H
#define RINEX_CHECK_NAVIGATION_H

#include <array>
#include <bitset>
#include <cstdint>

#include "rinex/read_navigation.h"

namespace rinex {

class navigation_check_t {
public:
    /// All must outlive this; the reader tells the places of fields.
    navigation_check_t(const file_header_t& header, const navigation_reader_t& reader, findings_t& findings)
        : header_(header), reader_(reader), findings_(findings)
    {}

    void add(const read_nav_record_t& record);

    std::uint64_t records() const { return records_; }
    std::size_t satellites() const { return present_.count(); }   ///< different ones

private:
    static constexpr std::size_t kNumbers = 100, kRemembered = 16;

    void report(rule_t rule, const read_nav_record_t& record, std::size_t field, const std::string& text);
    bool check_satellite(const read_nav_record_t& record);
    void check_fields(const read_nav_record_t& record);
    void check_orbit(const read_nav_record_t& record);
    void check_week(const read_nav_record_t& record);
    void check_source(const read_nav_record_t& record);
    void check_glonass(const read_nav_record_t& record);
    void check_names(const read_nav_record_t& record);
    void check_twice(const read_nav_record_t& record);

    const file_header_t& header_;
    const navigation_reader_t& reader_;
    findings_t& findings_;
    std::uint64_t records_ = 0;
    std::bitset<kSystemCount * kNumbers> present_;
    // Digests of the last records of each satellite: repeats stand near each other, and memory stays bounded.
    std::array<std::array<std::size_t, kRemembered>, kSystemCount * kNumbers> last_{};
    std::array<std::uint32_t, kSystemCount * kNumbers> turn_{};
};

}   // namespace rinex

#endif
