"""A session at the command line: every command below, and what came of it, is compared with data/session.golden.

Of a file that was written, or of a long output, the account has size and checksum, without the date of its making; the
version of kvx reads x.y.z. With
RTK_UTILS_UPDATE_GOLDEN=1 the golden file is written anew; review the change like code.
"""

import difflib
import gzip
import itertools
import os
import pathlib
import re
import shlex
import subprocess
import sys
import tempfile
import zlib

import logs

KVX, FAKE_VISION = sys.argv[1:3]
GOLDEN = pathlib.Path(__file__).parent.parent / "data" / "session.golden"
LONG = 2500   # bytes of output that are shown

SESSION = """
--help
--version
nonsense
convrt log
convert --systms=G log
dump verfy log
simulate -o log --duration 120
simulate -o 140 --duration 20 --range 140 --start '2024-03-10 12:00:00.5' --position 35.7,139.8,60 --seed 3
simulate -o fast --duration 12 --rate 5 --systems GEC --elevation-mask 30 --ephemeris-interval 5
simulate -o - --duration 1 --rate 20
simulate -o day --duration 86400 --rate 0.001 --start '2024-12-31 12:00:00'
simulate -o damaged --duration 60 --damage 30 --seed 2
simulate -o damaged --duration 60 --damage 30
simulate -o few --duration 2 --systems GES --elevation-mask 40
simulate -o late --duration 1 --start '2024-03-09 23:59:59.997'
simulate -o x --start '2024-03-10 23:59:59.99999999999999999999'
simulate -o x --rate 21
simulate -o missing/x
simulate -o x --position 91,0,0
simulate -o x --start 2009-01-01
simulate -o x --obstruction 10,10,5
simulate -o x --moving --position 89.5,0,0
simulate -o course --duration 23 --slips 12 --multipath 2 --obstruction 350,20,90 --obstruction 90,180,40 --moving --every-signal
info log
info log --json
info damaged few day torn gaps twice log.gz
info damaged --json
info nothing
info log missing
simulate -o log.zst --duration 20 --systems G
info log.zst --quick
info - < log.gz
convert log -o log.out
show log.out/XXXX00XXX_R_20240701200_02M_01S_MO.rnx
show log.out/XXXX00XXX_R_20240701200_02M_MN.rnx
convert log -o log.out
convert log -o json --json
convert log.gz -o packed
convert 140 -o packed
convert late -o packed --force
convert fast -o packed --force
convert day -o packed
convert damaged -o damaged.out
convert torn -o out --json
convert gaps -o out
convert twice -o out --force
forks convert log missing 140 -o some
forks convert log log.gz -o same
forks convert log damaged -o mixed
convert other -o none
convert empty -o none
convert /proc -o none
convert noise -o none
convert bad.gz -o bad
convert flip.gz -o bad
convert again -o bad
convert - -o stdin --name pipe < log
convert split -o joined
convert echoes -o joined
simulate -o every --every-signal --range both --duration 400 --rate 0.1 --start '2024-03-16 23:57:20.016'
convert every -o two --rinex 2 --marker 'H3PD' --json
show two/h3pd076x57.24o
show two/h3pd076x57.24g
convert every -o two --rinex 2.11 --nav split --marker ABMF --start '2024-03-17' --xyz
convert every -o 304 --rinex 3.04 --nav split --marker ABMF00GLP
convert every -o 402 --rinex 4 --marker 'Łódź Point' --country POL --agency Müller
show 402/LODZ00POL_R_20240762357_07M_10S_MO.rnx
show 402/LODZ00POL_R_20240762357_07M_MN.rnx
convert every -o packs --crx --gz --name p
convert every -o packs --rinex 2 --crx --name p --nav none
expand packs/p_MO.crx.gz packs/p.24d packs/p_MN.rnx.gz
expand packs/p_MO.crx.gz
check packs/p_MO.crx.gz packs/p.24o packs/p_MN.rnx
convert every -o packs --verify --name v --crx
verify every packs/v_MO.crx packs/v_MN.rnx
verify log packs/v_MO.crx
convert - --verify
convert every --rinex 4 --crx
convert every -o part --satellites 'G0*,C60,S48' --signals '1C,G2*' --signal G:17=2L --signal C:20=1X --events none
convert every -o thin --interval 60 --nav none --name grid
convert every -o thin --interval 60 --anchor first --nav none --name first
convert every -o window --interval 60 --anchor first --start '2024-03-16 23:58:00' --end '2024-03-17 00:01:00' --nav none
convert every -o host --as-host --json
convert log -o two.host --rinex 2.11 --as-host
show two.host/LOG000XXX_R_20240701200_02M_01S_MO.rnx
convert log -o 302 --rinex 3.02 --nav split --as-host
convert log -o 303 --rinex 3.03 --nav none --xyz --as-host
convert day -o plain --as-host --nav split --rinex 2.11
convert day -o window.host --interval 3000 --start '2024-12-31 13:00:00' --end '2025-01-01 03:20:00' --nav-repeats --as-host
convert log -o systems --systems RJS --nav-repeats
convert day -o window --interval 3000 --start '2024-12-31 13:00:00' --end '2025-01-01 03:20:00' --nav-repeats
convert log -o kv3 --as-host --receiver-type KV3A0 --receiver-kind 6 --no-signal-map --raw-prn
convert log -o words --as-host --receiver-type other --name Base --marker 'Point 7' --marker-number 12 --observer Ada
convert log -o antenna --marker 'A b Point 17' --agency Office --run-by me --antenna-type TYPE --antenna-delta 1.5,0.25,-0.125
convert log -o receiver --marker ABMF00GLP --receiver-number R9 --receiver-version 2.0 --antenna-number A1 --marker-type GEODYNAMIC
convert leap -o changed
convert noeph -o changed --force
convert sbas0 -o changed --force
convert sick -o changed --json --force
convert leap -o changed.host --as-host
convert noeph -o changed.host --as-host
convert sbas0 -o changed.host --as-host
convert sick -o changed.host --as-host --json
convert
convert log --rinex 3.05 --as-host
convert log --rinex 3.03
convert log --marker '北京'
convert log --observer 'somebody whose name is long'
convert log --country gb
convert log --signal G:17=9L
convert log --as-host --satellites G01
convert log --systems GX
convert log --start yesterday
convert log --start 2024-02-30
convert log fast --name one
convert log --rinex 2.11 --nav mixed
convert log --interval nan
convert log --antenna-delta 1,2
dump info dump
dump info dump --json
dump verify dump
dump verify dump.gz
dump verify broken
dump verify broken --json
dump verify - < dump
dump verify empty
dump cat broken
dump verify bad.gz
dump info missing
dump cat /proc
dump replay --library $VISION dump
dump replay --library $VISION --rate 1000 broken
dump replay --library ./text dump
dump replay dump
dump replay --rate -1 dump
dump
frame pack --id 513 --extra 7 text
frame pack --id 2 --hex 01:Ab
frame pack --id 65535 -o frame dump
frame parse frames
frame parse frames --json
frame parse --hex 'aa 44 cc 10 01 00 00 00 03 00 00 00 00 00 00 00 6f 6e 65 8f 08 64 41'
frame pack --id 65536
frame pack --id 1 --hex 0g
frame pack --id 1 --hex 012
frame pack --id 1 log
frame pack --id 1 -o text text --force
frame pack --id 3 -o longest brim
frame pack --id 1 -o text/out text
frame parse --hex 00 text
gpio
gpio get x
gpio get :5
gpio get 1:
gpio get 99:0
gpio get 3200 --json
gpio set 1:5 1 --sysfs
gpio set 37 2
i2c read /dev/i2c-99 0x50 0x100:16 4 --plain
i2c read /dev/i2c-0 0x80 0
i2c read /dev/i2c-0 0x50 256
i2c read /dev/i2c-0 0x50 1:12
i2c read /dev/i2c-0 0x50 0 8193
i2c read /dev/i2c-0 0x50 0 0
i2c write /dev/i2c-0 0x50 0 1 0x100
frame pack --help
"""


def prepare(after):
    """Files that are made of others, as soon as the command that makes those has run."""
    if after.startswith("simulate -o damaged"):
        log, fast, day = (pathlib.Path(name).read_bytes() for name in ("log", "fast", "day"))
        packed = gzip.compress(log, 0)   # with blocks that every version of zlib cuts alike
        made = {"log.gz": packed, "torn": b"rubbish" + log[:-7], "twice": fast * 2,
                "gaps": logs.without_epochs(fast, lambda n: n in (3, 10, 11, 20) or 30 < n < 41),
                "split": logs.split_epochs(log), "echoes": logs.with_echoes(fast), "leap": logs.changed(log, logs.ION_UTC, 96, b"\x10\0"),
                "noeph": logs.without_ephemerides(log), "sbas0": logs.changed(log, logs.SBAS, 0, b"\0"),
                "nothing": bytes(range(256)) * 100, "empty": b"", "brim": log[:65535], "text": b"not a library", "noise": log[:40] + log[41:60],
                "other": logs.only(log, 1999), "bad.gz": packed[:90000], "flip.gz": packed[:70000] + b"?" + packed[70001:],
                "again": log + day + log, "sick": log + logs.with_sick_galileo(logs.changed(log, logs.SBAS, 3, bytes(2))),
                "dump": logs.DUMP, "dump.gz": gzip.compress(logs.DUMP, 0), "broken": logs.BROKEN_DUMP,
                "frames": (logs.frame(1, b"one") + b"junk" + logs.frame(2, b"")) * 3}
        for name, data in made.items():
            pathlib.Path(name).write_bytes(data)


def any_version(data):
    return re.sub(rb"\bkvx \d\.\d\.\d", b"kvx x.y.z", data)


def shown(data):
    """An output: text as it is, long ones by their start, size and checksum."""
    data = any_version(data)
    text = data.decode("ascii", "replace").replace(FAKE_VISION, "$VISION")
    if len(data) <= LONG:
        return text
    start = text[:300].rstrip() + " ...\n" if text.isascii() else ""
    return f"{start}({len(data)} bytes, {zlib.crc32(data):08x})\n"


def undated(path):
    """A file without the date of its making; one that kvx compressed by what it holds."""
    data = path.read_bytes()
    data = gzip.decompress(data) if path.match("packs/*.gz") else data
    return re.sub(rb"(?m)^(.{40}).*((PGM / RUN BY|CRINEX PROG) / DATE)", rb"\1\2", any_version(data))


def header(name):
    return f"$ head {name}\n" + re.match(r"(?s).*END OF HEADER *\n", undated(pathlib.Path(name)).decode())[0]


def state_of(path, known):
    """When the file was written, and its size and checksum, which are read anew only then."""
    written = path.stat().st_mtime_ns
    if str(path) in known and known[str(path)][0] == written:
        return known[str(path)]
    data = undated(path)
    return written, f"{len(data)} {zlib.crc32(data):08x}"


def states(known):
    return {str(path): state_of(path, known) for path in sorted(pathlib.Path().rglob("*")) if path.is_file()}


def account():
    """A block for each command."""
    blocks, before = [], {}
    for command in SESSION.strip().splitlines():
        if command.startswith("show "):
            blocks.append(header(command.removeprefix("show ")))
            continue
        if command.startswith("forks ") and os.environ.get("KVX_EMULATED"):
            continue   # forked processes spin under qemu-user
        arguments, _, source = command.removeprefix("forks ").replace("$VISION", FAKE_VISION).partition(" < ")
        with open(source or os.devnull, "rb") as stdin:
            run = subprocess.run([KVX, *shlex.split(arguments)], stdin=stdin, capture_output=True, timeout=300,
                                 env={**os.environ, "VISION_PHG_LIB_NAME": "", "FAKE_VISION_RECORD": "calls"})
        text = f"$ {command}\n{shown(run.stdout)}{shown(run.stderr)}-> {run.returncode}\n"
        if os.path.exists("calls"):
            text += pathlib.Path("calls").read_text()
            os.remove("calls")
        after = states(before)
        text += "".join(f"   {name} {state}\n" for name, (_, state) in after.items() if before.get(name, "  ")[1] != state)
        prepare(command)
        before = states(after)
        blocks.append(text)
    return blocks


with tempfile.TemporaryDirectory() as folder:
    os.chdir(folder)
    seen = account()
if os.environ.get("RTK_UTILS_UPDATE_GOLDEN"):
    GOLDEN.write_text("".join(seen))
kept = re.split(r"^(?=\$ )", GOLDEN.read_text(), flags=re.M)[1:]
if os.environ.get("KVX_EMULATED"):
    kept = [block for block in kept if not block.startswith("$ forks ")]
for is_now, was in itertools.zip_longest(seen, kept, fillvalue=""):
    if is_now != was:
        sys.exit("".join(difflib.unified_diff(was.splitlines(True), is_now.splitlines(True), str(GOLDEN), "this run")))
