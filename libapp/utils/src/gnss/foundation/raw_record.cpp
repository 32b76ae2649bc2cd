// The receiver data record: reset, and proof that its layout is the one that the host shares.
#include <bit>
#include <cstring>

#include "rtk_gnss.h"

#define AT(record, field, offset) static_assert(offsetof(record, field) == (offset), "shared with the host")

AT(obsd_t, P, 8);
AT(obsd_t, L, 72);
AT(obsd_t, D, 176);
AT(obsd_t, SNR, 200);
AT(obsd_t, LLI, 240);
AT(obsd_t, code, 245);

AT(eph_t, iode, 2);
AT(eph_t, iodc, 4);
AT(eph_t, ura_index, 6);
AT(eph_t, health, 8);
AT(eph_t, week, 10);
AT(eph_t, aux_flag, 12);
AT(eph_t, l2p_flag, 14);
AT(eph_t, toe, 16);
AT(eph_t, toc, 24);
AT(eph_t, A, 32);
AT(eph_t, omega_dot, 88);
AT(eph_t, crc, 104);
AT(eph_t, crs, 112);
AT(eph_t, cuc, 120);
AT(eph_t, cic, 136);
AT(eph_t, fit, 152);
AT(eph_t, af0, 160);
AT(eph_t, tgd, 184);
AT(eph_t, tgd2, 192);

AT(geph_t, iode, 2);
AT(geph_t, frq, 4);
AT(geph_t, svh, 5);
AT(geph_t, age, 7);
AT(geph_t, week, 8);
AT(geph_t, toe, 16);
AT(geph_t, tof, 24);
AT(geph_t, pos, 32);
AT(geph_t, taun, 104);
AT(geph_t, gamn, 112);
AT(geph_t, tof_alt, 128);

AT(seph_t, iodn, 1);
AT(seph_t, ura, 2);
AT(seph_t, t0, 4);
AT(seph_t, pos, 8);
AT(seph_t, vel, 32);
AT(seph_t, acc, 44);
AT(seph_t, af0, 56);
AT(seph_t, af1, 60);

AT(raw_t, sng_flag, 5);
AT(raw_t, opt_nosigmap, 6);
AT(raw_t, opt_rawprn, 7);
AT(raw_t, week, 8);
AT(raw_t, tow, 16);
AT(raw_t, nobs, 24);
AT(raw_t, obs_tow, 32);
AT(raw_t, obs, 40);
AT(raw_t, leaps, 20624);
AT(raw_t, ion_gps, 20632);
AT(raw_t, eph, 20792);
AT(raw_t, galeph, 37792);
AT(raw_t, geph, 46144);
AT(raw_t, seph, 49408);
AT(raw_t, sng, 51008);
AT(raw_t, ant_type, 51072);
AT(raw_t, rcv_text, 51103);
AT(raw_t, ant_word1, 51228);
AT(raw_t, pos, 51232);
AT(raw_t, sng_f, 51256);
AT(raw_t, ant_word2, 51268);
AT(raw_t, glo_bias_mask, 51272);
AT(raw_t, glo_bias, 51280);
AT(raw_t, flag, 51304);
AT(raw_t, eph_sat, 51306);
AT(raw_t, locktime, 54708);
AT(raw_t, halfc, 58108);
AT(raw_t, nbyte, 58958);
AT(raw_t, len, 58960);
AT(raw_t, buff, 58964);
AT(raw_t, host_area, 67156);
AT(raw_t, ts_ena, 131768);
AT(raw_t, ts_week, 131772);
AT(raw_t, ts_tow, 131776);
AT(raw_t, te_ena, 131784);
AT(raw_t, te_week, 131788);
AT(raw_t, te_tow, 131792);

void Initial_raw(raw_t* raw, int mode)
{
    if (raw == nullptr) return;
    if (mode == 0) {
        std::memset(static_cast<void*>(raw), 0, sizeof *raw);
        std::strcpy(raw->ant_type, "KVRCVMODLA");
    }
    if (mode == 1) {
        raw->week = 0;
        raw->tow = 0.0;
    }
    std::memset(&raw->nobs, 0, offsetof(raw_t, reserved1) - offsetof(raw_t, nobs));
    raw->flag = 0;
    raw->eph_sat = 0;
    raw->nbyte = 0;
    raw->len = 0;
    std::memset(raw->buff, 0, sizeof raw->buff);
}

float ant_height(const raw_t* raw)
{
    return std::bit_cast<float>(raw->ant_word2);
}
