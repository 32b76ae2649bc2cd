"""Whatever fails, kvx neither dies of it, nor calls it done, nor leaves behind what is not whole.

Every command below runs again and again, with its first, second, ... call of a kind failing, alone or with all that follow,
until none is left to fail. Allocations are many: the first ones fail, and of the others some; with --all every one does. The
exit code is 77 where system calls cannot be counted.
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
simulate -o - --duration 20 --range both
convert ../log -o out
convert ../log.gz -o out --rinex 2.11 --nav split
convert ../log -o out --crx --gz
convert ../log -o out --verify --json
convert ../other -o out --as-host --xyz
convert ../log ../other -j 2 -o out
convert - -o out --interval 2 --nav none --name pipe < ../log
convert ../other ../log -o out --join --split 15m --verify
convert - -o out --split 15m < ../log
convert ../rinex/p.crx.gz ../rinex/p.rnx -o out --join --rinex 4.02 --interval 2
convert --batch ../list -o out --tree {yyyy} --marker {stem} -q -j 2
summary ../ledger -o page.html
info ../log ../torn
info ../log.gz --json
report ../log -o page.html
check ../rinex/p.crx.gz ../rinex/p.rnx
verify ../log ../rinex/p.crx.gz ../rinex/p.rnx
expand ../rinex/p.crx.gz ../log.gz -o out
expand --stdout ../rinex/p.crx.gz
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
# What fails, and how it says so.
KINDS = {"memory": errno.ENOMEM, "dlsym": errno.ENOENT, "fork": errno.EAGAIN, "open": errno.EMFILE, "read": errno.EIO,
         "write": errno.ENOSPC, "finish": errno.EIO, "look": errno.EIO, "seek": errno.EIO}
ONCE, EVER = 1, 1 << 40
CLOSE = 24   # the first allocations that all fail; of later ones every (n / CLOSE)-th does

outcome_t = collections.namedtuple("outcome_t", "code out errors files calls")


def arguments():
    parser = argparse.ArgumentParser(description=__doc__)
    for name in ("kvx", "injector", "vision"):
        parser.add_argument("--" + name, required=True, type=os.path.abspath)
    parser.add_argument("--all", action="store_true", help="let every allocation fail")
    parser.add_argument("--kinds", nargs="+", choices=KINDS, default=list(KINDS))
    parser.add_argument("--match", default="", help="only commands that hold this text")
    return parser.parse_args()


class program_t:
    def __init__(self, options, folder):
        self.options, self.folder = options, folder
        self.numbers = itertools.count()

    def prepare(self):
        def kvx(*command):
            subprocess.run([self.options.kvx, *command], cwd=self.folder, check=True, capture_output=True)
        kvx("simulate", "-o", "log", "--duration", "3")
        kvx("simulate", "-o", "other", "--duration", "20", "--every-signal", "--start", "2024-03-10 13:00:00")
        kvx("convert", "log", "-o", "rinex", "--crx", "--gz", "--name", "p")
        kvx("expand", "rinex/p_MN.rnx.gz")
        (self.folder / "rinex/p_MO.crx.gz").rename(self.folder / "rinex/p.crx.gz")
        (self.folder / "rinex/p_MN.rnx").rename(self.folder / "rinex/p.rnx")
        log = (self.folder / "log").read_bytes()
        for name, data in {"log.gz": gzip.compress(log), "torn": log[:-7], "dump": logs.DUMP,
                           "frames": (logs.frame(1, b"one") + logs.frame(2, bytes(5000))) * 3}.items():
            (self.folder / name).write_bytes(data)
        (self.folder / "list").write_text(f"{self.folder}/log\n{self.folder}/other\n")
        kvx("convert", "--batch", "list", "-o", "batch", "--ledger", "ledger", "--marker", "{stem}")
        self.common = self.run("--version", "memory", 0, 0).calls - 100   # allocations that every command begins with

    def run(self, command, kind, at, count):
        """One run in a folder of its own."""
        place = self.folder / str(next(self.numbers))
        report = self.folder / (place.name + ".report")
        place.mkdir()
        report.write_bytes(bytes(16))
        command, _, source = command.replace("$VISION", self.options.vision).partition(" < ")
        setting = {"LD_PRELOAD": self.options.injector, "FAIL_KIND": kind, "FAIL_AT": at, "FAIL_COUNT": count,
                   "FAIL_ERRNO": KINDS[kind], "FAIL_REPORT": report, "LC_ALL": "C"}
        with open(place / (source or os.devnull), "rb") as stdin:
            run = subprocess.run([self.options.kvx, *shlex.split(command)], cwd=place, stdin=stdin, capture_output=True,
                                 timeout=60, env={name: str(value) for name, value in setting.items()})
        files = {str(path.relative_to(place)): path.read_bytes() for path in place.rglob("*")
                 if path.is_file() and path.suffix != ".ndjson"}   # a ledger tells of failures, and how long it took
        calls, countable = struct.unpack("qq", report.read_bytes())
        shutil.rmtree(place)
        report.unlink()
        out = sorted(run.stdout.splitlines()) if "-j" in command else run.stdout
        return outcome_t(run.returncode, out, run.stderr.decode(errors="replace"), files, calls if countable else -1)


def faults(run, plain, kind):
    """What is wrong of a run in which something failed; plain is the one in which nothing did."""
    cut = kind == "read" and run.code == 3   # what had come before is there
    if run.code < 0:
        yield "killed by " + signal.Signals(-run.code).name
    elif run.code not in (1, plain.code) and not cut:
        yield f"exit code {run.code}"
    if run.code == plain.code and not cut:
        for name in sorted(run.files.keys() | plain.files.keys()):
            if run.files.get(name) != plain.files.get(name):
                yield "exit code as ever, but not the file " + name
        if run.out != plain.out and kind != "dlsym":   # a library may lack a function
            yield "exit code as ever, but not the output"
    if run.code == 1 and "kvx: error: " not in run.errors:
        yield "no message"
    memory = "out of memory|Cannot allocate memory|loading the vision library"   # the loader may not say why
    if run.code == 1 and kind == "memory" and not re.search(memory, run.errors):
        yield "memory was out, the message is another"
    for name, data in run.files.items():
        told = name.endswith(".partial") and name in run.errors
        if data != plain.files.get(name) and not told and not (cut and name in plain.files):
            yield "left behind: " + name


def chosen(calls, kind, first, every):
    """(first call that fails, how many do), allocations from the `first` on"""
    at = first
    while at <= calls:
        yield at, ONCE
        if kind != "memory" or (at - first) % 8 == 0:
            yield at, EVER
        at += 1 if every or kind != "memory" else 1 + (at - first) // CLOSE


def examine(program, row, command, kind):
    """(runs, lines about what was wrong) of a command and a kind; no runs when its calls cannot be counted."""
    plain = program.run(command, kind, 0, 0)
    assert plain.code in (0, 3), plain
    runs, wrong = 0, []
    first = program.common if row and kind == "memory" else 1   # up to there all commands are alike
    for at, count in chosen(plain.calls, kind, first, program.options.all):
        run = program.run(command, kind, at, count)
        what = "; ".join(faults(run, plain, kind))
        if what:
            wrong.append(f"kvx {command}\n  {kind} {at}{'' if count == ONCE else ' and on'}: {what}\n  {run.errors.strip()}")
        runs += 1
    return runs if plain.calls >= 0 else None, wrong


def main():
    options = arguments()
    with tempfile.TemporaryDirectory(dir="/dev/shm" if os.access("/dev/shm", os.W_OK) else None) as folder:
        program = program_t(options, pathlib.Path(folder))
        program.prepare()
        tasks = [(row, command, kind) for row, command in enumerate(COMMANDS.strip().splitlines())
                 if options.match in command for kind in options.kinds]
        with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
            results = list(pool.map(lambda task: examine(program, *task), tasks))
    wrong = [line for _, lines in results for line in lines]
    print(*wrong, f"{sum(runs or 0 for runs, _ in results)} runs, {len(wrong)} of them wrong", sep="\n")
    if wrong:
        return 1
    uncounted = {kind for (_, _, kind), (runs, _) in zip(tasks, results) if runs is None}
    if uncounted:
        print("not examined, this system does not let them be counted:", *sorted(uncounted))
    return 77 if uncounted else 0


sys.exit(main())
