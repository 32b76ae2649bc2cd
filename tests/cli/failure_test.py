"""Whatever fails, kvx neither dies of it, nor calls it done, nor leaves anything behind that is not whole.

Every command below runs again and again, with its first, second, ... call of a kind failing, once or from there on, until
none is left to fail. With --all that is every allocation; else the first ones, and of the others some. Skipped (77) where
system calls cannot be counted.
"""

import argparse
import collections
import concurrent.futures
import errno
import gzip
import itertools
import os
import pathlib
import re
import shlex
import shutil
import signal
import struct
import subprocess
import sys
import tempfile

import logs

COMMANDS = """
simulate -o sim --duration 3
simulate -o - --duration 3 > sim
convert ../log -o out
convert ../log.gz -o out --rinex 2.11 --nav split
convert ../log -o out --crx --gz
convert ../log -o out --verify --json
convert ../log -o out --as-host --xyz
convert ../log ../other -j 2 -o out
convert - -o out --interval 2 --nav none --name pipe < ../log
info ../log ../torn
info ../log.gz --json
check ../rinex/p.crx.gz ../rinex/p.rnx
verify ../log ../rinex/p.crx.gz ../rinex/p.rnx
expand ../rinex/p.crx.gz ../log.gz -o out
expand --stdout ../rinex/p.crx.gz > text
dump info ../dump --json
dump verify ../dump
dump cat ../dump
dump replay --library $VISION ../dump
frame pack --id 2 --hex 01:ab
frame pack --id 3 -o frame ../dump
frame parse ../frames
frame parse --json < ../frames
gpio get 1:5
gpio set 1:5 1
i2c read /dev/i2c-0 0x50 0x100:16 4 --plain
i2c write /dev/i2c-0 0x50 0 1
--help
"""
KINDS = {"memory": errno.ENOMEM, "dlsym": errno.ENOENT, "start": errno.EAGAIN, "open": errno.EMFILE, "read": errno.EIO,
         "write": errno.ENOSPC, "finish": errno.EIO, "look": errno.EIO}
ONCE, EVER = 1, 1 << 40
ENOUGH = 40   # of single allocations, before only some of them are looked at

outcome_t = collections.namedtuple("outcome_t", "code out errors files calls")


def arguments():
    parser = argparse.ArgumentParser(description=__doc__)
    for name in ("kvx", "injector", "vision"):
        parser.add_argument("--" + name, required=True)
    parser.add_argument("--all", action="store_true", help="every allocation")
    parser.add_argument("--kinds", nargs="+", choices=KINDS, default=list(KINDS))
    parser.add_argument("--match", default="", help="only commands that hold this text")
    return parser.parse_args()


class program_t:
    def __init__(self, options, folder):
        self.options, self.folder = options, folder
        self.numbers = itertools.count()

    def prepare(self):
        def kvx(*command):
            subprocess.run([os.path.abspath(self.options.kvx), *command], cwd=self.folder, check=True, capture_output=True)
        kvx("simulate", "-o", "log", "--duration", "3")
        kvx("simulate", "-o", "other", "--duration", "3", "--seed", "2", "--start", "2024-03-10 13:00:00")
        kvx("convert", "log", "-o", "rinex", "--crx", "--gz", "--name", "p")
        kvx("expand", "rinex/p_MN.rnx.gz")
        (self.folder / "rinex/p_MO.crx.gz").rename(self.folder / "rinex/p.crx.gz")
        (self.folder / "rinex/p_MN.rnx").rename(self.folder / "rinex/p.rnx")
        log = (self.folder / "log").read_bytes()
        for name, data in {"log.gz": gzip.compress(log), "torn": log[:-7], "dump": logs.DUMP,
                           "frames": (logs.frame(1, b"one") + logs.frame(2, bytes(5000))) * 3}.items():
            (self.folder / name).write_bytes(data)

    def run(self, command, kind, at, count):
        """One run in a folder of its own."""
        place = self.folder / str(next(self.numbers))
        report = self.folder / (place.name + ".report")
        place.mkdir()
        report.write_bytes(bytes(16))
        command, _, target = command.replace("$VISION", self.options.vision).partition(" > ")
        command, _, source = command.partition(" < ")
        setting = {"LD_PRELOAD": self.options.injector, "FAIL_KIND": kind, "FAIL_AT": at, "FAIL_COUNT": count,
                   "FAIL_ERRNO": KINDS[kind], "FAIL_REPORT": report, "FAKE_VISION_RECORD": "record", "LC_ALL": "C"}
        with open(place / (source or os.devnull), "rb") as stdin:
            run = subprocess.run([os.path.abspath(self.options.kvx), *shlex.split(command)], cwd=place, stdin=stdin, capture_output=True,
                                 timeout=60, env={name: str(value) for name, value in setting.items()})
        files = {str(path.relative_to(place)): path.read_bytes() for path in place.rglob("*") if path.is_file()}
        calls, countable = struct.unpack("qq", report.read_bytes())
        shutil.rmtree(place)
        report.unlink()
        return outcome_t(run.returncode, run.stdout, run.stderr.decode(errors="replace"), files, calls if countable else -1)


def faults(run, plain, kind):
    """What of a run with a failure is wrong; plain is the one without."""
    if run.code < 0:
        yield "killed by " + signal.Signals(-run.code).name
    if "terminate called" in run.errors:
        yield "an uncaught exception"
    if run.code not in (0, 1, 3) or run.code == 0 != plain.code:
        yield f"exit code {run.code}"
    if run.code == plain.code and (run.out, run.files) != (plain.out, plain.files):
        yield "exit code as ever, and other results: " + " ".join(sorted(
            name for name in run.files.keys() | plain.files.keys() if run.files.get(name) != plain.files.get(name)))
    if run.code == 1 and "kvx: error: " not in run.errors:
        yield "no message"
    if run.code == 1 and kind == "memory" and not re.search("out of memory|Cannot allocate memory", run.errors):
        yield "does not tell that memory was out"
    for name, data in run.files.items():
        told = name.endswith(".partial") and name in run.errors
        if not told and data != plain.files.get(name) and not (run.code == 3 and name in plain.files):
            yield "left behind: " + re.sub("kvx-.*", "kvx-", name)


def chosen(calls, kind, row, every):
    """(first call to fail, how many fail): all, or of many allocations the more sparsely the later they are."""
    at = 1
    while at <= calls:
        yield at, ONCE
        if kind != "memory" or at % 8 == 1:
            yield at, EVER
        at += 1 if every or kind != "memory" or at < ENOUGH else 1 + (at + row) // ENOUGH


def examine(program, row, command, kind):
    """(runs, what was wrong) of a command and a kind of calls."""
    plain = program.run(command, kind, 0, 0)
    assert plain.code in (0, 3), plain
    if plain.calls < 0:
        return -1, []
    found = []
    runs = 0
    for at, count in chosen(plain.calls, kind, row, program.options.all):
        run = program.run(command, kind, at, count)
        runs += 1
        wrong = list(faults(run, plain, kind))
        if wrong:
            found.append((command, kind, at, "once" if count == ONCE else "ever", wrong, run.code, run.errors))
    return runs, found


def main():
    options = arguments()
    with tempfile.TemporaryDirectory(dir="/dev/shm" if os.path.isdir("/dev/shm") else None) as folder:
        program = program_t(options, pathlib.Path(folder))
        program.prepare()
        tasks = [(row, command, kind) for row, command in enumerate(COMMANDS.strip().splitlines()) for kind in options.kinds
                 if options.match in command]
        with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
            done = list(pool.map(lambda task: examine(program, *task), tasks))
    for (_, command, kind), (runs, found) in zip(tasks, done):
        if os.environ.get("LOOPS_TELL"): print(runs, len(found), kind, command)
    for _, found in done:
        for fault in found: print(*fault)
    print(sum(r for r, _ in done), sum(len(f) for _,f in done))


main()
