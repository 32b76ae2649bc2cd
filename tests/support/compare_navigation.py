#!/usr/bin/env python3
"""Converts the recorded logs as the host does and compares the ephemerides with those that the logs were made from.

Every ephemeris of a log must come out once, in the order of the log, and every field must have the digits of its
source. What a message cannot carry is listed below with its reason and checked against what it does carry.
Exit code 0: all as it must be.
"""

import datetime
import json
from collections import Counter
from decimal import Decimal

from compare_recordings import OPTIONS
from conversions import Fault, arguments, convert
from navigation_reader import read_navigation

RECORDINGS = {"japan_1hz": ["SEPT078M.21P", "30340780.21q"], "denmark_30s": ["ESBC1770_excerpt.20P"]}
RUNS = [("3.04", "mixed"), ("3.04", "split"), ("3.03", "mixed"), ("3.02", "split"), ("2.11", "split")]
ENDINGS = {"GN": "G", "RN": "R", "EN": "E", "CN": "C", "JN": "J"}
SYSTEMS = {"mixed": "GRECJS", "split": "GRECJ", "2.11": "GRCJ"}

GPS_LIKE = [["af0", "af1", "af2"], ["iode", "crs", "dn", "M0"], ["cuc", "e", "cus", "sqrtA"],
            ["toe", "cic", "omega0", "cis"], ["i0", "crc", "omega", "omegadot"]]
STATE = [["X", "VX", "AX", "health"], ["Y", "VY", "AY"], ["Z", "VZ", "AZ"]]
FIELDS = {
    "G": GPS_LIKE + [["idot", "codes", "week", "l2p"], ["ura", "health", "tgd", "iodc"], ["sent", "fit"]],
    "C": GPS_LIKE + [["idot", "spare", "week", "spare"], ["ura", "health", "tgd", "tgd2"], ["sent", "aodc"]],
    "E": GPS_LIKE + [["idot", "source", "week"], ["sisa", "health", "bgd5a", "bgd5b"], ["sent"]],
    "R": [["-taun", "gamman", "frame"]] + [STATE[0], STATE[1] + ["channel"], STATE[2] + ["age"]],
    "S": [["af0", "af1", "sent"]] + [STATE[0], STATE[1] + ["ura"], STATE[2] + ["iodn"]],
}
FIELDS["J"] = FIELDS["G"]

URA = [2.0, 2.8, 4.0, 5.7, 8.0, 11.3, 16.0, 32.0, 64.0, 128.0, 256.0, 512.0, 1024.0, 2048.0, 4096.0]
BOUNDS = [1.0, 2.8, 4.0, 5.7, 8.0, 11.3, 16.0, 32.0, 64.0, 128.0, 256.0, 512.0, 1024.0, 2048.0, 4096.0]
SINGLE_BOUNDS = {2.8: 2.799999952316284, 5.7: 5.699999809265137, 11.3: 11.300000190734863}


def accuracy(metres):
    """The accuracy printed for a source value: the message has metres, the record an index with other bounds."""
    for index, bound in enumerate(BOUNDS):
        if float(metres) <= SINGLE_BOUNDS.get(bound, bound):
            return Decimal(str(URA[index]))
    return Decimal(32767)


def bit0(health):
    return Decimal(int(health) & 1)


# (messages, field) -> (reason, what is printed instead, from the source's fields and the index line of the frame).
NOT_CARRIED = {
    ((7, 1336, 1696, 1047), "ura"): ("accuracy in metres becomes an index", lambda s, f: accuracy(s["ura"])),
    ((7, 1336, 1696, 1047), "health"): ("of the health only bit 0 is kept", lambda s, f: bit0(s["health"])),
    ((7, 41, 1336), "codes"): ("codes on L2 are a constant", lambda s, f: Decimal(1)),
    ((7, 41, 1336), "l2p"): ("the L2 P flag is not in the message", lambda s, f: Decimal(0)),
    ((7,), "fit"): ("the fit interval is not in the message", lambda s, f: Decimal(0)),
    ((41,), "fit"): ("the message has the fit flag, the source hours", lambda s, f: Decimal(s["fit"] > 4)),
    ((7, 1336, 1309), "sent"): ("the reference time stands for the time of sending", lambda s, f: s["toe"]),
    ((41, 1122), "sent"): ("the time of the log", lambda s, f: Decimal(f["ms"]) / 1000),
    ((1696, 1047), "sent"): ("BeiDou: the time of clock", lambda s, f: s["toe"]),
    ((723,), "health"): ("GLONASS: of the health only the highest bit is kept", lambda s, f: Decimal(s["health"] > 3)),
    ((601,), "sent"): ("SBAS: the reference time stands for the time of sending", lambda s, f: Decimal(f["eph"]["t0"])),
    ((601,), "ura"): ("SBAS: the message has the index, the source metres",
                      lambda s, f: Decimal(URA.index(float(s["ura"])) if s["ura"] < 8192 else 15)),
    ((601,), "health"): ("SBAS: health is written as 0", lambda s, f: Decimal(0)),
    ((1309,), "health"): ("the message has no health of E5a", lambda s, f: Decimal(int(s["health"]) & 0b111000111)),
    ((1122, 1309), "source"): ("the source is named by the clock: 517 I/NAV, 258 F/NAV",
                               lambda s, f: Decimal(517 if f["eph"].get("inav", True) else 258)),
}


RULES = {(message, field): rule for (messages, field), rule in NOT_CARRIED.items() for message in messages}


def named(record):
    names = FIELDS[record.satellite[0]]
    return {name: value if value is not None else Decimal(0)
            for line, values in zip(names, record.fields) for name, value in zip(line, values)}


def last_place(value):
    """Half a unit of the twelfth digit."""
    return Decimal(5).scaleb(value.adjusted() - 12) if value else Decimal(0)


def differences(frame, written, source, lost):
    """Names of the fields that differ, with both values."""
    found, wanted = named(written), named(source)
    result = []
    for name in wanted:
        if name == "spare":
            continue
        value = wanted[name]
        rule = RULES.get((frame["id"], name))
        if rule:
            if rule[1](wanted, frame) != value:
                lost[rule[0]] += 1
            value = rule[1](wanted, frame)
        difference = abs(found.get(name, Decimal("NaN")) - value)
        if frame["id"] == 41 and last_place(value) < difference <= 2 * last_place(value):
            lost["raw subframes have whole numbers: a tie of the twelfth digit"] += 1
        elif not difference <= last_place(value):
            result.append((name, found.get(name), value))
    if written.epoch != source.epoch:
        result.append(("epoch", written.epoch, source.epoch))
    return result


def week_second(epoch):
    start = datetime.datetime(*epoch[:5]) + datetime.timedelta(seconds=float(epoch[5]))
    return (start - datetime.datetime(1980, 1, 6)).total_seconds() % 604800


def matches(record, frame):
    """True for source records that the index line may mean."""
    key, fields = frame["eph"], named(record)
    if record.satellite != frame["sat"]:
        return False
    if record.satellite[0] == "R":
        return week_second(record.epoch) == key["tb_utc"]
    if record.satellite[0] == "S":
        return week_second(record.epoch) == key["t0"] and fields["iodn"] == key["iodn"]
    issue = key.get("iode", key.get("aode", key.get("iodnav")))
    return fields["toe"] == Decimal(key["toe"]) and fields["iode"] == issue


def read_index(log):
    with open(f"{log}.index.jsonl", encoding="ascii") as stream:
        frames = [json.loads(line) for line in stream]
    return [frame for frame in frames if "eph" in frame and "expect" not in frame and not frame.get("repeat")]


def navigation_files(paths, kind):
    """(system or "" for all, file) of each navigation file."""
    files = {path.name[-6:-4]: path for path in paths if not path.name.endswith("_MO.rnx")}
    if kind == "mixed":
        return [("", read_navigation(files["MN"]))] if len(files) == 1 else []
    return [(ENDINGS[end], read_navigation(path, ENDINGS[end], 4 if end == "JN" else 3)) for end, path in files.items()]


def check_header(file):
    lines = {label: content for content, label in file.header}
    if "LEAP SECONDS" in lines and lines["LEAP SECONDS"].rstrip() != "    18":
        raise Fault(repr(lines["LEAP SECONDS"]))
    system = file.records[0].satellite[0] if file.version < 300 else file.system
    has_ionosphere = any("ION" in label and label != "RINEX VERSION / TYPE" for label in lines)
    if has_ionosphere != (system in "GM"):
        raise Fault(f"ionospheric lines in {lines}")


def compare_file(file, frames, sources, lost):
    """Number of records of a file; raises Fault where it is not what it must be."""
    check_header(file)
    satellites = [record.satellite for record in file.records]
    if satellites != [frame["sat"] for frame in frames]:
        raise Fault(f"{len(satellites)} records, {len(frames)} ephemerides in the log, or their order")
    for frame, record in zip(frames, file.records):
        if file.version < 300 and record.satellite[0] == "R":  # second of the day there
            record.fields[0][2] += Decimal(frame["eph"]["tb_utc"]) // 86400 * 86400
        tried = [differences(frame, record, source, counts) + [counts]
                 for source in sources if matches(source, frame) for counts in [Counter()]]
        if not tried:
            raise Fault(f"line {record.line}: {frame} has no source")
        best = min(tried, key=len)
        if len(best) > 1:
            raise Fault(f"line {record.line}: {frame}: {best[:-1]}")
        lost += best[-1]
    return len(satellites)


def compare_run(files, kind, frames, sources):
    """Compares all files of a conversion; the number of ephemerides and what is lost, by reason."""
    lost, count = Counter(), 0
    for system, file in files:
        count += compare_file(file, [f for f in frames if f["sat"][0] in (system or SYSTEMS[kind])], sources, lost)
    if count != sum(f["sat"][0] in SYSTEMS[kind] for f in frames):
        raise Fault("a file is missing")
    return count, lost


def main():
    args = arguments(__doc__)
    for name, files in RECORDINGS.items():
        log = args.recordings / name / f"{name}.log"
        sources = [record for file in files for record in read_navigation(log.parent / file).records]
        frames = read_index(log)
        for version, kind in RUNS:
            written, _ = convert(args.kvx, log, args.workdir / f"{name}-{version}-{kind}", "--rinex", version,
                                 "--nav", kind, *OPTIONS)
            print(f"{name}, RINEX {version}, {kind}:", flush=True)
            count, lost = compare_run(navigation_files(written, kind), "2.11" if version == "2.11" else kind, frames,
                                      sources)
            print(f"    {count} ephemerides as in their sources")
            for reason, times in sorted(lost.items()):
                print(f"    not carried in {times}: {reason}")


if __name__ == "__main__":
    main()
