#!/usr/bin/env python3
"""Converts logs and compares every field of the navigation files with the log's messages and with its sources.

Every ephemeris of a log must come out once, in order, with the digits that its message has; that of a recording also
with those of the RINEX files that it was made from. What messages do not carry of these is listed below: for the
tool's own files, and for those that a host of the library gets. Logs: simulated ones, and the recordings, where they
are. Exit code 0: all as it must be.
"""

import json
import subprocess
import zlib
from decimal import Decimal
from itertools import zip_longest
from pathlib import Path

from conversions import Fault, arguments, convert
from log_navigation import ACCURACY, DAY, UNKNOWN_TIME, WEEK, Entry, navigation
from log_observations import frames
from navigation_reader import read_navigation

RECORDINGS = {"japan_1hz": ["SEPT078M.21P", "30340780.21q"], "denmark_30s": ["ESBC1770_excerpt.20P"]}
SIMULATION = ["--every-signal", "--duration", "86400", "--rate", "0.004", "--range"]
# Message, place, bytes: health, accuracy and flags, of which simulated satellites have but the good ones.
VARIED = [change.split(":") for change in """
    7:12:2a 7:216:0000000000006940 41:20:a980 41:71:80 601:2:0f 723:24:05 723:108:000000000000503e 723:132:07 723:136:02
    1047:12:2a 1047:224:000000000000f07f 1122:12:01020301000160 1309:4:020301007f 1336:12:15 1336:224:01 1696:8:9a
    1696:16:03""".split()]
LETTERS = "GREJCS"
# RINEX version, --nav, systems that have files.
RUNS = [("2.11", None, "GR"), ("2.11", "split", LETTERS)] + [
    (version, kind, LETTERS) for version in ("3.04", "3.05", "4.02") for kind in ("mixed", "split")]
HOST_RUNS = [("3.04", "mixed", LETTERS), ("3.04", "split", "GRECJ"), ("3.03", "mixed", LETTERS),
             ("3.02", "split", "GRECJ"), ("2.11", "split", "GRCJ")]
KINDS2 = {"n": "N: GPS NAV DATA", "g": "G: GLONASS NAV DATA", "l": "N: GALILEO NAV DATA E",
          "q": "N: QZSS NAV DATA    J", "c": "N: BEIDOU NAV DATA  C", "h": "H: GEO NAV MSG DATA"}

# Names of the fields, line by line; - is a blank.
KEPLER = "af0 af1 af2|iode crs dn M0|cuc e cus sqrtA|toe cic omega0 cis|i0 crc omega omegadot|"
FIELDS = {kind: [line.split() for line in lines.split("|")] for kind, lines in {
    "G": KEPLER + "idot codes week l2p|ura health tgd iodc|sent fit",
    "J": KEPLER + "idot codes week l2p|ura health tgd iodc|sent fit",
    "C": KEPLER + "idot - week|ura health tgd tgd2|sent aodc",
    "E": KEPLER + "idot source week|sisa health bgd5a bgd5b|sent",
    "R": "-taun gamman frame|X VX AX health|Y VY AY channel|Z VZ AZ age|- dtau ft",
    "S": "af0 af1 sent|X VX AX health|Y VY AY ura|Z VZ AZ iodn",
    "STO": "|sent A0 A1 A2", "ION": "a0 a1 a2|a3 b0 b1 b2|b3"}.items()}
# A host's accuracy is an index by these bounds.
BOUNDS = [1.0, 2.799999952316284, 4.0, 5.699999809265137, 8.0, 11.300000190734863, *ACCURACY[6:-1]]

# (messages, field): what is written instead, None for a blank, from the source's fields and the frame's index line.
OWN = {
    ((7, 1336), "codes"): lambda s, f: None,
    ((7, 1336), "l2p"): lambda s, f: None,
    ((7,), "fit"): lambda s, f: None,
    ((41,), "sent"): lambda s, f: s["sent"] - (s["sent"] - 6) % 30,  # of the first subframe
    ((1122, 1309, 1696), "sent"): lambda s, f: UNKNOWN_TIME,
    ((601,), "sent"): lambda s, f: Decimal(f["ms"]) / 1000,
    ((1122, 1309), "source"): lambda s, f: 258 if int(s["source"]) & 2 else 517,  # not whether of E1B or E5b alone
    ((723,), "dtau"): lambda s, f: 0,  # unknown to the source, so made up for the log
}
HOST = {
    ((7, 1336, 1696, 1047), "ura"): lambda s, f: next(a for a, bound in zip(ACCURACY, BOUNDS) if s["ura"] <= bound),
    ((7, 41, 1336), "codes"): lambda s, f: 1,
    ((7, 41, 1336), "l2p"): lambda s, f: 0,
    ((7,), "fit"): lambda s, f: 0,
    ((41,), "fit"): lambda s, f: s["fit"] > 4,
    ((7, 1336, 1309, 1696, 1047), "sent"): lambda s, f: s["toe"],
    ((41, 1122), "sent"): lambda s, f: Decimal(f["ms"]) / 1000,
    ((1122, 1309), "source"): lambda s, f: 517 if f["eph"].get("inav", True) else 258,
    ((601,), "sent"): lambda s, f: f["eph"]["t0"],
    ((601,), "ura"): lambda s, f: ACCURACY.index(float(s["ura"])) if s["ura"] < 8192 else 15,
    ((601,), "health"): lambda s, f: 0,
}


def differences(record, entry, version, host):
    """What is not as it must be: name, what is written, what must be."""
    found, wanted = (record.kind, record.satellite, record.time), (entry.kind, entry.satellite, entry.time)
    if found[1:] != wanted[1:] or version >= 400 and not found[0].startswith(wanted[0]):
        yield "record", found, wanted
    names = FIELDS.get(entry.kind[:3], FIELDS[entry.satellite[0]])
    for line, values in zip_longest(names[: len(record.fields)], record.fields):
        for name, value in zip_longest(line, values):
            must = entry.fields.get(name)
            if name == "frame" and version < 300:
                must %= DAY
            if host:  # 0 stands for a blank
                value, must = value or 0, must or 0
            if value is not must and (None in (value, must) or abs(value - Decimal(must)) > Decimal(entry.slack).scaleb(
                    Decimal(must).adjusted() - 13)):
                yield name, value, must


def as_entry(record, frame, host):
    """A source as the frame's record must have it, or nothing when it is not the frame's source."""
    key, s = frame["eph"], {name: value for line in zip(FIELDS[record.satellite[0]], record.fields)
                            for name, value in zip(*line) if name != "-" and value is not None}
    reference = key.get("toe", key.get("tb_utc", key.get("t0")))
    issue = next((value for name, value in key.items() if name.startswith(("iod", "aod"))), None)
    if (record.satellite, s.get("toe", record.time % WEEK), s.get("iode", s.get("iodn"))) != (
            frame["sat"], reference, issue):
        return None
    changed = {name: instead(s, frame) for (messages, name), instead in (HOST if host else OWN).items()
               if frame["id"] in messages}
    kind = "" if "source" not in s else " FNAV" if int(s["source"]) & 2 else " INAV"
    # raw subframes have whole numbers, the source and a host but 12 digits
    slack = (50 if host else 5) if frame["id"] != 41 else 100 if host else 50
    return Entry("EPH" + kind, record.satellite, record.time, record.time, s | changed, slack)


def from_sources(log, host):
    """The ephemerides that a recording's index names: of each a list of what it may be, for sources may be many."""
    sources = [record for name in RECORDINGS[log.stem] for record in read_navigation(log.parent / name)[2]]
    for frame in map(json.loads, Path(f"{log}.index.jsonl").read_text(encoding="ascii").splitlines()):
        if "eph" in frame and "expect" not in frame and not frame.get("repeat"):
            found = [entry for record in sources for entry in [as_entry(record, frame, host)] if entry]
            inav, fnav = ([entry for entry in found if entry.kind[4:] == kind] for kind in ("INAV", "FNAV"))
            if host or frame["sat"][0] != "E":
                yield found
            elif frame["eph"].get("inav", True):
                yield inav
            if not host and frame["eph"].get("fnav"):
                for entry in fnav if frame["eph"]["inav"] else []:  # one group delay for both
                    entry.fields["bgd5a"] = inav[0].fields["bgd5a"]
                yield fnav


def header_of(version, letter, ending, ion):
    """The header of one of the tool's own files without the program's line."""
    alpha, beta = ("".join(f"{ion[key + i]:12.4E}" for i in "0123") for key in "ab")
    kind = KINDS2.get(ending, f"N: GNSS NAV DATA    {letter}")
    lines = [f"{version / 100:9.2f}{'':11}{kind:40}RINEX VERSION / TYPE"]
    if letter in "GM" and version < 300:
        lines += [f"  {alpha:58}ION ALPHA", f"  {beta:58}ION BETA",
                  f"   {ion['A0']:19.12E}{ion['A1']:19.12E}{ion['second']:9}{ion['week']:9} DELTA-UTC: A0,A1,T,W"]
    elif letter in "GM" and version < 400:
        lines += [f"GPSA {alpha:55}IONOSPHERIC CORR", f"GPSB {beta:55}IONOSPHERIC CORR",
                  f"GPUT {ion['A0']:17.10E}{ion['A1']:16.9E}{ion['second']:7}{ion['week']:5}{'':10}TIME SYSTEM CORR"]
    return lines + [f"{ion['leap']:6}{'':54}LEAP SECONDS", f"{'':60}END OF HEADER"]


def place(entries):
    """In the order of a file."""
    e = entries[0]
    return e.sorted_by, LETTERS.index(e.satellite[0]), e.satellite * (e.kind[:3] == "EPH"), e.kind == "EPH FNAV"


def compare_run(args, log, run, expected, ion=None):
    """Compares all files of a conversion, which without ion is a host's."""
    options = ["--rinex", run[0]] + (["--nav", run[1]] if run[1] else []) + ([] if ion else ["--as-host"])
    paths, _ = convert(args.kvx, log, args.workdir / f"{log.stem}-converted", *options)
    left = [e for e in expected if e[0].satellite[0] in run[2] and (run[0] > "4" or e[0].kind[:3] == "EPH")]
    for path in (path for path in paths if not path.name.endswith(("_MO.rnx", "o"))):
        ending = path.name[-1] if path.suffix != ".rnx" else ""
        letter = LETTERS["nglqch".index(ending)] if ending else path.name[-6]
        version, header, records = read_navigation(path, letter, 4 if letter == "J" and not ion else 3)
        if ion and header[:1] + header[2:] != header_of(version, letter, ending, ion):
            raise Fault("\n".join([f"{path}: must be:", *header_of(version, letter, ending, ion), "is:", *header]))
        mine = [entries for entries in left if letter in ("M", entries[0].satellite[0])]
        left = [entries for entries in left if letter not in ("M", entries[0].satellite[0])]
        for record, entries in zip_longest(records, mine, fillvalue=()):
            faults = min((list(differences(record, entry, version, not ion)) for entry in entries), key=len, default=1)
            if faults:
                raise Fault(f"{path}, {len(records)} records of {len(mine)}: {record}: {faults}")
    if left:
        raise Fault(f"{run}: no file has {left[0]}")


def varied(data):
    for header, body in frames(data):
        for message, at, value in VARIED:
            if int(message) == int.from_bytes(header[4:6], "little"):
                body = body[: int(at)] + bytes.fromhex(value) + body[int(at) + len(value) // 2 :]
        yield header + body + (zlib.crc32(header + body, 0xFFFFFFFF) ^ 0xFFFFFFFF).to_bytes(4, "little")


def main():
    args = arguments(__doc__)
    args.workdir.mkdir(parents=True, exist_ok=True)
    logs = [args.recordings / name / f"{name}.log" for name in RECORDINGS if args.recordings]
    for message in ("43", "140"):
        logs.append(args.workdir / f"range_{message}.log")
        subprocess.run([args.kvx, "simulate", "--force", "-o", logs[-1], *SIMULATION, message], check=True)
    logs[-1].write_bytes(b"".join(varied(logs[-1].read_bytes())))
    for log in logs:
        entries, ion = navigation(log.read_bytes())
        told = [[entry] for entry in entries]
        own, host = (list(from_sources(log, host)) if log.stem in RECORDINGS else [] for host in (False, True))
        for expected in [told, own + [e for e in told if e[0].kind[:3] != "EPH"]] if own else [told]:
            for run in RUNS:
                compare_run(args, log, run, sorted(expected, key=place), ion)
        for run in HOST_RUNS if host else ():
            compare_run(args, log, run, host)
        print(f"{log.stem}: {len(told)} records as in the messages, {len(own)} as in the sources, {len(host)} as hosts")


if __name__ == "__main__":
    main()
