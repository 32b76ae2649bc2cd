/// @file column_plan.h  Which column of a file the types of another one go to.
#ifndef KVX_COLUMN_PLAN_H
#define KVX_COLUMN_PLAN_H

#include <algorithm>
#include <array>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "common/selection_options.h"
#include "rinex/version_names.h"

namespace kvx {

/// What of a RINEX file is wanted: any system, also those that the receiver does not have, when none is named.
class asked_t {
public:
    explicit asked_t(const selection_options_t& options);

    bool everything() const { return systems_.empty() && satellites_.empty() && signals_.empty(); }
    bool all_satellites() const { return systems_.empty() && satellites_.empty(); }
    bool system(char letter) const { return systems_.empty() || systems_.find(letter) != std::string::npos; }
    bool satellite(char letter, int number) const;

    /// @param name  of a type in RINEX 3: "C1C"
    bool type(char system, const std::string& name) const;

private:
    std::string systems_;   // empty: all
    std::vector<std::string> satellites_, signals_;
};

/// The types of a source.
struct typed_t {
    int version;
    rinex::type_names_t names;

    const std::vector<std::string>& of(std::size_t system) const { return names[version < 300 ? 0 : system]; }
};

/// The types that a file of a version gets from sources. Where one of them has all types its order stays, else it is
/// that of the published format.
rinex::type_names_t planned_types(const std::vector<typed_t>& sources, int version, const asked_t& wanted);

/// Where the values of a source go.
struct column_plan_t {
    static constexpr int kNowhere = -1;

    /// What a type of the source becomes.
    struct way_t {
        int column = kNowhere;    ///< in the list of the system, or the one of RINEX 2
        std::string name;         ///< with its system: "GC1C"
        bool unnamed = false;     ///< the version has no place for it
        std::uint64_t lost = 0;   ///< values that found no place
    };
    /// In RINEX 2 a satellite's signals of one band share columns: their values in the order of kinds (C, L, D, S).
    struct signal_t {
        std::array<int, 4> from{kNowhere, kNowhere, kNowhere, kNowhere}, to = from;
    };

    column_plan_t(const typed_t& source, int version, const rinex::type_names_t& columns, const asked_t& wanted);

    bool carries(std::size_t system) const   ///< a type of it at least
    {
        return std::any_of(ways[system].begin(), ways[system].end(), [](const way_t& way) { return way.column >= 0; });
    }

    std::array<std::vector<way_t>, rinex::kSystemCount> ways;
    std::array<std::vector<signal_t>, rinex::kSystemCount> signals;   ///< by preference; only into RINEX 2
    std::array<bool, rinex::kSystemCount> same{};                     ///< rows stay as they are
    bool identical = true;                                            ///< those of all systems
    bool shares = false;                                              ///< signals share columns

    /// What each type of RINEX 2 became, "G C1 C1C".
    std::map<std::string, std::string> meanings;

private:
    void add_signals(std::size_t system, const std::vector<std::string>& types);
};

}   // namespace kvx

#endif
