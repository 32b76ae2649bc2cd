"""Reader of the navigation messages of a receiver log: what RINEX files must tell of them."""

import math
import struct
from collections import namedtuple

from log_observations import NUMBERS, timed

WEEK, DAY, MOSCOW, UNKNOWN_TIME = 604800, 86400, 10800, 999999999.999  # s
ION_UTC, SUBFRAMES, BEIDOU, BEIDOU_WEEK = 8, 41, 1696, 1356
ACCURACY = [2, 2.8, 4, 5.7, 8, 11.3, 16, 32, 64, 128, 256, 512, 1024, 2048, 4096, 8192]

# Fields of the bodies in their order: name and, where it is no f64, type; pads have no name.
ORBIT = "dn M0 e omega cuc cus crc crs cic cis i0 idot omega0 omegadot"
KEPLER = f"prn:I sent health:I :4x iode:I week:I :4x toe A {ORBIT} iodc:I toc tgd"
GALILEO = f"iode:I toe:I sqrtA {ORBIT}"
CLOCK = "toc:I af0 af1 af2 bgd5a bgd5b"
LAYOUTS = {
    ION_UTC: "a0 a1 a2 a3 b0 b1 b2 b3 week:I second:I A0 A1 :8x leap:I",
    7: f"{KEPLER} af0 af1 af2 :12x variance",
    1336: f"{KEPLER} af0 af1 af2 :12x variance fit:B",
    1047: f"{KEPLER} tgd2 af0 af1 af2 :12x variance",
    BEIDOU: "prn:I week:I sigma health:I tgd tgd2 iodc:I toc:I af0 af1 af2 iode:I toe:I sqrtA e omega dn M0 omega0 "
            "omegadot i0 idot cuc cus crc crs cic cis",
    1122: f"prn:I fnav:I inav:I h0:B h1:B h2:B v0:B v1:B v2:B sisa:B :x {GALILEO} ftoc:I faf0 faf1 faf2 {CLOCK}",
    1309: f"prn:I h0:B h2:B v0:B v2:B sisa:B :3x {GALILEO} {CLOCK}",
    723: "prn:B :x channel:H :2x week:H ms:I offset:I :4x issue:I health:I X Y Z VX VY VZ AX AY AZ taun dtau gamman "
         "frame:I :4x ft:I age:I",
    601: "prn:B iodn:B index:B t0:H :2x X Y Z VX:f VY:f VZ:f AX:f AY:f AZ:f af0:f af1:f",
}
# Fields of three subframes of 240 bits: name, first bit, bits (negative: signed), power of two, pi for semicircles.
BITS = """
    tow:24:17 week:48:10 codes:58:2 index:60:4 health:64:6 high:70:2 l2p:72:1 tgd:160:-8:-31 low:168:8 toc:176:16:4
    af2:192:-8:-55 af1:200:-16:-43 af0:216:-22:-31
    iode:288:8 crs:296:-16:-5 dn:312:-16:-43:pi M0:328:-32:-31:pi cuc:360:-16:-29 e:376:32:-33 cus:408:-16:-29
    sqrtA:424:32:-19 toe:456:16:4 long:472:1
    cic:528:-16:-29 omega0:544:-32:-31:pi cis:576:-16:-29 i0:592:-32:-31:pi crc:624:-16:-5 omega:640:-32:-31:pi
    omegadot:672:-24:-43:pi idot:704:-14:-43:pi""".split()

# A record that a file must have. sorted_by: its time in a file's order; time: that of its first line; both in s since
# 1980-01-06; fields: number by name, without those that are blank; slack: of these, in tenths of their 13th digit
Entry = namedtuple("Entry", "kind satellite sorted_by time fields slack", defaults=(5,))


def read(message, body):
    tokens = [(token + ":d").split(":")[:2] for token in LAYOUTS[message].split()]
    values = struct.unpack_from("<" + "".join(kind for _, kind in tokens), body)
    return dict(zip((name for name, _ in tokens if name), values))


def read_subframes(body):
    f, bits = dict(zip(("prn", "reference"), struct.unpack_from("<II", body))), int.from_bytes(body[12:102], "big")
    for name, at, width, *unit in (token.split(":") for token in BITS):
        size = abs(int(width))
        value = bits >> 720 - int(at) - size & (1 << size) - 1
        value -= value >> size - 1 << size if width[0] == "-" else 0
        f[name] = math.ldexp(value, int(unit[0])) * (3.1415926535898 if len(unit) > 1 else 1) if unit else value
    return f | {"week": nearest(f["week"], f["reference"], 1024), "sent": 6 * f["tow"], "ura": ACCURACY[f["index"]],
                "iodc": f["high"] << 8 | f["low"], "fit": 6 if f["long"] else 4}


def nearest(value, to, period):
    return to + (value - to + period // 2) % period - period // 2


def kepler(message, f, sent):
    """GPS, QZSS, BeiDou; like its kin: kind, letter, number, time, what tells data sets apart, fields."""
    letter, number = ("J", (f["prn"] - 1) % 32 + 1) if f["prn"] > 32 else ("G", f["prn"])
    kind, offset = "LNAV", 0
    if "tgd2" in f:
        letter, number, offset, f["aodc"] = "C", f["prn"] % 160, BEIDOU_WEEK, f["iodc"]
        kind = "D1" if 5 < number < 59 else "D2"
    if message != SUBFRAMES:
        f.setdefault("sqrtA", math.sqrt(f.get("A", 0)))
        sigma = f.get("sigma", math.sqrt(f.get("variance", 0)))
        f["ura"] = next((bound for bound in ACCURACY if sigma <= bound * 1.001), 8192)
    time = nearest(f["sent"], f["toe"], WEEK) if "sent" in f else math.inf
    toe = (f["week"] + (BEIDOU_WEEK if message == BEIDOU else 0)) * WEEK + f["toe"]
    f |= {"sent": time if abs(time - f["toe"]) <= DAY else UNKNOWN_TIME, "week": toe // WEEK - offset}
    yield kind, letter, number, nearest(f["toc"], toe, WEEK), (toe, f["iode"], f["health"]), f


def galileo(message, f, sent):
    toe, start = nearest(f["toe"], sent, WEEK), next(i for i in (100, 75, 50, 0) if f["sisa"] >= i)
    sisa = {0: 0, 50: .5, 75: 1, 100: 2}[start] + {0: .01, 50: .02, 75: .04, 100: .16}[start] * (f["sisa"] - start)
    f["health"] = sum((f.get(f"v{i}", 0) & 1 | (f.get(f"h{i}", 0) & 3) << 1) << 3 * i for i in range(3))
    f |= {"week": toe // WEEK, "source": 517, "sisa": sisa if f["sisa"] <= 125 else -1, "sent": UNKNOWN_TIME}
    key = toe, f["iode"], f["health"]
    if f.get("inav", 1):
        yield "INAV", "E", f["prn"], nearest(f["toc"], toe, WEEK), key, f
    if f.get("fnav"):
        clock = {name: f["f" + name] for name in ("af0", "af1", "af2")}
        yield "FNAV", "E", f["prn"], nearest(f["ftoc"], toe, WEEK), key, f | clock | {"source": 258, "bgd5b": 0}


def glonass(message, f, sent):
    time = f["week"] * WEEK + (f["ms"] + 500) // 1000 + f["offset"]
    frame = nearest(f["frame"] % DAY, time, DAY) - MOSCOW
    f |= {"frame": frame % WEEK, "-taun": -f["taun"], "channel": f["channel"] - 7}
    yield "FDMA", "R", f["prn"] - 37, time - MOSCOW, (time, f["issue"], f["health"]), f


def sbas(message, f, sent):
    time, known = nearest(f["t0"] * 16, int(sent), DAY), f["index"] < 15
    f |= {"sent": sent % WEEK, "ura": ACCURACY[f["index"]] if known else 32767, "health": 31 if known else 63}
    yield "SBAS", "S", f["prn"] + 19, time, (time, f["iodn"]), f


READERS = {7: kepler, SUBFRAMES: kepler, 1336: kepler, 1047: kepler, BEIDOU: kepler, 1122: galileo, 1309: galileo,
           723: glonass, 601: sbas, ION_UTC: lambda message, f, sent: []}


def navigation(data):
    """The records in the order of the log, each once, and the fields of its last message 8."""
    entries, known, ion = [], set(), None
    for message, ms, body in (frame for frame in timed(data) if frame[0] in READERS):
        f = read_subframes(body) if message == SUBFRAMES else read(message, body)
        if message == ION_UTC and f != ion:
            ion, time = f, ms // 1000
            entries += [Entry(f"STO LNAV {'GPUT':38}UTC(USNO)", "G", time, f["week"] * WEEK + f["second"],
                              f | {"sent": time % WEEK, "A2": 0}), Entry("ION LNAV", "G", time, time, f)]
        for kind, letter, number, time, key, fields in READERS[message](message, f, ms / 1000):
            if number in NUMBERS[letter] and (kind, letter, number, key) not in known:
                known.add((kind, letter, number, key))
                in_km = {name: value / 1000 if name[-1] in "XYZ" else value for name, value in fields.items()}
                entries.append(Entry(f"EPH {kind}", f"{letter}{number:02}", time, time, in_km))
    return entries, ion
