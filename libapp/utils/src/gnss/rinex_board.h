// Facts about the receiver board that choose observation types.
#ifndef RTK_RINEX_BOARD_H
#define RTK_RINEX_BOARD_H

#include <cstring>
#include <string_view>

#include "rtk_gnss.h"

namespace rinex {

/// What the options say of the board; a model counts when the receiver type contains its name.
struct board_t {
    int version;
    int kind;
    bool kv210, kv220, kv3a0, kv4a0, trimble, polarx5;

    explicit board_t(const rnx_t& opt) : version(opt.version), kind(opt.rcvkind)
    {
        const std::string_view type(opt.rectype, strnlen(opt.rectype, sizeof opt.rectype));
        const auto has = [type](std::string_view name) { return type.find(name) != type.npos; };
        kv210 = has("KV210");
        kv220 = has("KV220");
        kv3a0 = has("KV3A0");
        kv4a0 = has("KV4A0");
        trimble = has("Trimble");
        polarx5 = has("SEPT POLARX5");
    }
};

}   // namespace rinex

#endif
