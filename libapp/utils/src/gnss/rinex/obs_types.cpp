#include "gnss/rinex/obs_types.h"

#include "gnss/rinex/options.h"
#include "gnss/rinex/version.h"

namespace rinex {

namespace {

constexpr int kCodeC2X = 18;   // observation code number

// What a row of the tables may ask for.
struct question_t {
    board_t board;
    const rnx_t& opt;
    int second_code;
};

struct row_t {
    char system;   // of the rows of one system the first that holds is taken
    bool (*holds)(const question_t& q);
    const char* line;
    const char* more = nullptr;   // continuation
};

constexpr bool always(const question_t&)
{
    return true;
}
bool gps(const question_t& q)
{
    return q.opt.sys_gps == 1;
}
bool glo(const question_t& q)
{
    return q.opt.sys_glo == 1;
}
bool bds(const question_t& q)
{
    return q.opt.sys_bds == 1;
}
bool gal(const question_t& q)
{
    return q.opt.sys_gal == 1;
}
bool sbs(const question_t& q)
{
    return q.opt.sys_sbs == 1;
}

// Boards whose BeiDou set has three bands or more; with B2a columns B1C may be theirs too.
bool bds_wide(const question_t& q)
{
    return bds(q) && (q.board.three_bands() || q.board.all_signals());
}

constexpr const char* kC12 = "C   12 C1I L1I D1I S1I C7I L7I D7I S7I C6I L6I D6I S6I";
constexpr const char* kC16 = "C   16 C2I L2I D2I S2I C7I L7I D7I S7I C5D L5D D5D S5D C6I";
constexpr const char* kC16More = "       L6I D6I S6I";
constexpr const char* kC20 = "C   20 C2I L2I D2I S2I C7I L7I D7I S7I C5D L5D D5D S5D C6I";
constexpr const char* kC20More = "       L6I D6I S6I C1D L1D D1D S1D";
constexpr const char* kC1CMore = "       L1L D1L S1L";

// clang-format off
constexpr row_t kFullSets[] = {
    {'G', [](const question_t& q) { return gps(q) && q.board.all_signals(); },
          "G   16 C1C L1C D1C S1C C2W L2W D2W S2W C5Q L5Q D5Q S5Q C1L", kC1CMore},
    {'G', [](const question_t& q) { return gps(q) && q.board.three_gps_bands(); },
          "G   12 C1C L1C D1C S1C C2W L2W D2W S2W C5Q L5Q D5Q S5Q"},
    {'G', [](const question_t& q) { return gps(q) && q.second_code == kCodeC2X; },
          "G    8 C1C L1C D1C S1C C2X L2X D2X S2X"},
    {'G', gps, "G    8 C1C L1C D1C S1C C2W L2W D2W S2W"},

    {'R', [](const question_t& q) { return glo(q) && q.board.glonass_l2_is_p(); }, "R    8 C1C L1C D1C S1C C2P L2P D2P S2P"},
    {'R', [](const question_t& q) { return glo(q) && q.board.one_glonass_band(); }, "R    4 C1C L1C D1C S1C"},
    {'R', glo, "R    8 C1C L1C D1C S1C C2C L2C D2C S2C"},

    {'C', [](const question_t& q) { return bds_wide(q) && b2a_has_columns(q.opt.version) && q.board.all_signals(); },
          kC20, kC20More},
    {'C', [](const question_t& q) { return bds_wide(q) && b2a_has_columns(q.opt.version); }, kC16, kC16More},
    {'C', bds_wide, kC12},
    {'C', [](const question_t& q) { return bds(q) && q.board.bds_b3_instead_of_b2() && b1i_is_2i(q.opt.version); },
          "C    8 C2I L2I D2I S2I C6I L6I D6I S6I"},
    {'C', [](const question_t& q) { return bds(q) && q.board.bds_b3_instead_of_b2(); },
          "C    8 C1I L1I D1I S1I C6I L6I D6I S6I"},
    {'C', [](const question_t& q) { return bds(q) && b1i_is_2i(q.opt.version); },
          "C    8 C2I L2I D2I S2I C7I L7I D7I S7I"},
    {'C', bds, "C    8 C1I L1I D1I S1I C7I L7I D7I S7I"},

    {'E', [](const question_t& q) { return gal(q) && q.board.all_signals(); },
          "E   20 C1B L1B D1B S1B C7Q L7Q D7Q S7Q C5Q L5Q D5Q S5Q C8I", "       L8I D8I S8I C6C L6C D6C S6C"},
    {'E', [](const question_t& q) { return gal(q) && q.board.three_galileo_bands(); },
          "E   12 C1B L1B D1B S1B C7Q L7Q D7Q S7Q C5Q L5Q D5Q S5Q"},

    {'J', [](const question_t& q) { return gps(q) && q.board.all_signals(); },
          "J   16 C1C L1C D1C S1C C2S L2S D2S S2S C5Q L5Q D5Q S5Q C1L", kC1CMore},
    {'J', [](const question_t& q) { return gps(q) && q.board.three_bands(); },
          "J   12 C1C L1C D1C S1C C2S L2S D2S S2S C5Q L5Q D5Q S5Q"},

    {'S', [](const question_t& q) { return sbs(q) && q.board.sbas_types(); }, "S    4 C1C L1C D1C S1C"},
};

// Reduced sets.
constexpr row_t kTwoBandSets[] = {
    {'G', gps, "G    8 C1C L1C D1C S1C C2W L2W D2W S2W"},
    {'C', bds, "C    8 C1I L1I D1I S1I C7I L7I D7I S7I"},
    {'R', [](const question_t& q) { return q.opt.sys_glo != 0; }, "R    8 C1C L1C D1C S1C C2C L2C D2C S2C"},
};

// Deliberate: whatever the system switches.
constexpr row_t kOneBandSets[] = {
    {'G', always, "G    4 C1C L1C D1C S1C"},
    {'C', always, "C    4 C1I L1I D1I S1I"},
    {'R', always, "R    4 C1C L1C D1C S1C"},
};

// RINEX 2.11. Deliberate: "C6" and "C7" run into the label.
constexpr const char kTypes4[] =
    "     4    C1    L1    D1    S1                              # / TYPES OF OBSERV \n";
constexpr const char kTypes8[] =
    "     8    C1    L1    D1    S1    P2    L2    D2    S2      # / TYPES OF OBSERV \n";
constexpr const char kTypes8Reduced[] =
    "     8    C1    L1    D1    S1    C2    L2    D2    S2      # / TYPES OF OBSERV \n";
constexpr const char kTypes12C6[] =
    "    12    C1    L1    D1    S1    P2    L2    D2    S2    C6# / TYPES OF OBSERV \n"
    "          L6    D6    S6                                    # / TYPES OF OBSERV \n";
constexpr const char kTypes12C7[] =
    "    12    C1    L1    D1    S1    P2    L2    D2    S2    C7# / TYPES OF OBSERV \n"
    "          L7    D7    S7                                    # / TYPES OF OBSERV \n";
// clang-format on

void put_type_line(text_t& out, const char* types)
{
    out.label(types, 60).label("SYS / # / OBS TYPES", 20).put('\n');
}

template <std::size_t N>
void put_set(text_t& out, const row_t (&rows)[N], const question_t& q)
{
    char done = '\0';
    for (const row_t& row : rows) {
        if (row.system == done || !row.holds(q)) continue;
        done = row.system;
        put_type_line(out, row.line);
        if (row.more != nullptr) put_type_line(out, row.more);
    }
}

void put_wavelength_factors(text_t& out)
{
    out.integer(1, 6).integer(1, 6).blanks(48).label("WAVELENGTH FACT L1/2", 20).put('\n');
}

void put_reduced_sets(text_t& out, const question_t& q)
{
    const bool two_bands = q.board.reduced_to_two_bands();
    if (!two_bands && !q.board.reduced_to_one_band()) return;

    if (header_is_rinex3(q.opt.version)) {
        two_bands ? put_set(out, kTwoBandSets, q) : put_set(out, kOneBandSets, q);
        return;
    }
    put_wavelength_factors(out);
    out.put(!two_bands ? kTypes4 : bds(q) ? kTypes12C7 : kTypes8Reduced);
}

void put_full_sets_rinex2(text_t& out, const question_t& q)
{
    put_wavelength_factors(out);
    if (bds(q) && q.board.bds_b3_instead_of_b2()) {
        out.put(kTypes12C6);
    } else if (bds(q) && !q.board.no_bds_in_rinex2()) {
        out.put(kTypes12C7);
    } else {
        out.put(kTypes8);
    }
}

}   // namespace

void put_observation_types(text_t& out, const rnx_t& opt, int second_code)
{
    const question_t q{board_t(opt), opt, second_code};
    if (q.board.reduced()) {
        put_reduced_sets(out, q);
    } else if (header_is_rinex3(opt.version)) {
        put_set(out, kFullSets, q);
    } else {
        put_full_sets_rinex2(out, q);
    }
}

int slot_counts_t::of(int sys) const
{
    switch (sys) {
        case SYS_GPS:
            return gps;
        case SYS_GLO:
            return glo;
        case SYS_BDS:
            return bds;
        case SYS_GAL:
            return gal;
        case SYS_QZS:
            return qzs;
        case SYS_SBS:
            return sbs;
        default:
            return 0;
    }
}

slot_counts_t slot_counts(const rnx_t& opt, bool no_signal_map)
{
    const board_t board(opt);
    if (board.all_signals()) return {4, 2, b1c_is_written(opt.version) ? 4 : 3, 5, 4, 1};
    if (board.three_slots() || no_signal_map) return {3, 2, 3, 3, 3, 1};
    return {2, 2, 2, 0, 0, 0};
}

}   // namespace rinex
