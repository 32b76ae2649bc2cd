#!/usr/bin/env python3
"""Whole programs in memory (/dev/shm): their times in turn, round by round; what else they take in runs of their own.

Figures are <command>:<measure>, a list with a value a round. Called as a program it prints every figure of a table
such as programs.toml.
"""

import argparse
import concurrent.futures
import datetime
import glob
import os
import pathlib
import shlex
import shutil
import signal
import statistics
import subprocess
import sys
import tempfile
import time
import tomllib

HERE = pathlib.Path(__file__).parent
FIRST = datetime.datetime(2024, 3, 10, 12)
TIMED = {"speed": "MB/s", "seconds": "s", "processor": "s of processor time", "share": "of a processor", "system": "ms of system time a file"}
COUNTED = {"memory": "MB, the greatest process", "disk": "x what is left in the end", "calls": "system calls a MB"}


def rows(table):
    """A row with a list `each` as one for each of them, which takes the place of {each}."""
    for name, row in table.items():
        for each in row.get("each", [""]):
            yield name.replace("{each}", each), {key: value.replace("{each}", each) if isinstance(value, str) else value
                                                 for key, value in row.items()}


def read(path):
    table = tomllib.loads(pathlib.Path(path).read_text())
    table["make"] = dict(rows(table["make"]))
    for group in table["set"].values():
        group["command"] = dict(rows(group["command"]))
    return table


class Programs:
    def __init__(self, kvx, table, folder):
        self.table = table
        self.folder = pathlib.Path(folder)
        self.places = {"kvx": pathlib.Path(kvx).resolve(), "bench": HERE, "logs": self.folder / "logs", "out": self.folder / "out"}
        self.places["logs"].mkdir()
        self.commands = {name: command for group in self.table["set"].values() for name, command in group["command"].items()}

    def words(self, text, **more):
        """The words of a command line, patterns of file names expanded."""
        words = [word.format(**self.places, **more) for word in shlex.split(text)]
        return [name for word in words for name in (sorted(glob.glob(word)) if "*" in word else [word])]

    def make(self, name):
        target = self.places["logs"] / name
        if target.exists():
            return
        recipe = self.table["make"][name]
        self.make_what_is_in(recipe["run"])
        count = recipe.get("count", 0)
        targets = [target / str(i // 1000) / f"{i}.log" for i in range(count)] or [target]

        def make_one(i):
            targets[i].parent.mkdir(parents=True, exist_ok=True)
            subprocess.run(self.words(recipe["run"], to=targets[i], start=FIRST + datetime.timedelta(minutes=i)),
                           stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, check=True)
        with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
            list(pool.map(make_one, range(len(targets))))

    def make_what_is_in(self, text):
        for name in self.table["make"]:
            if "{logs}/" + name in text:
                self.make(name)

    def run(self, command, *before, while_running=lambda: time.sleep(0.001)):
        """(seconds, what it used) of a command in an empty folder; what it wrote is left."""
        shutil.rmtree(self.places["out"], ignore_errors=True)
        words = [*map(str, before), *self.words(self.commands[command]["run"])]
        with tempfile.TemporaryFile() as said:
            began = time.perf_counter()
            process = subprocess.Popen(words, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=said)
            while while_running and os.waitid(os.P_PID, process.pid, os.WEXITED | os.WNOWAIT | os.WNOHANG) is None:
                while_running()
            _, status, used = os.wait4(process.pid, 0)
            seconds = time.perf_counter() - began
            process.returncode = os.waitstatus_to_exitcode(status)
            if process.returncode:
                said.seek(0)
                sys.exit(f"{command}: exit code {process.returncode}: {said.read().decode()}")
        return seconds, used

    def inputs(self, command):
        return [name for pattern in self.commands[command]["of"].split() for name in glob.glob(f"{self.places['logs']}/{pattern}")]

    def megabytes(self, command):
        return sum(map(os.path.getsize, self.inputs(command))) / 1e6

    def timed(self, command):
        seconds, used = self.run(command, while_running=None)
        processor = used.ru_utime + used.ru_stime
        return {"seconds": seconds, "speed": self.megabytes(command) / seconds, "processor": processor, "share": processor / seconds,
                "system": 1000 * used.ru_stime / len(self.inputs(command))}

    def written(self):
        """Bytes that the folder of the results takes on the disk now."""
        try:
            return sum(file.stat().st_blocks * 512 for file in os.scandir(self.places["out"]))
        except FileNotFoundError:   # not there yet, or a file has just got another name
            return 0

    def memory_and_disk(self, command):
        sizes = []
        note = self.folder / "memory"
        # Of a child that Python starts the kernel would count the memory of Python.
        self.run(command, "/usr/bin/time", "-q", "-f", "%M", "-o", note, while_running=lambda: sizes.append(self.written()))
        return {"memory": int(note.read_text()) * 1024 / 1e6, "disk": max(sizes) / self.written() if self.written() else 0}

    def calls(self, command):
        note = self.folder / "calls"
        self.run(command, "strace", "-f", "-qq", "-c", "-U", "name,calls", "-o", note, while_running=None)
        total = next(line for line in note.read_text().splitlines() if line.startswith("total"))
        return {"calls": int(total.split()[1]) / self.megabytes(command)}

    def figures(self, wanted):
        """name -> [value]: at least those wanted."""
        asked = {}
        for name in wanted:
            command, _, measure = name.partition(":")
            asked.setdefault(command, set()).add(measure)
        found = {}

        def note(command, values):
            for measure, value in values.items():
                found.setdefault(f"{command}:{measure}", []).append(value)
        for name, group in self.table["set"].items():
            commands = [command for command in group["command"] if command in asked]
            if not commands:
                continue
            for command in commands:
                self.make_what_is_in(self.commands[command]["run"])
            for k in range(group["rounds"]):
                print(f"{name}: round {k + 1} of {group['rounds']}", file=sys.stderr)
                for command in commands:
                    if asked[command] & TIMED.keys() and k < self.commands[command].get("rounds", group["rounds"]):
                        note(command, self.timed(command))
            for command in commands:
                if asked[command] & {"memory", "disk"}:
                    note(command, self.memory_and_disk(command))
                if "calls" in asked[command]:
                    note(command, self.calls(command))
            shutil.rmtree(self.places["out"], ignore_errors=True)
        return found


def figures(kvx, table, wanted):
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(143))   # gigabytes of memory are not to stay behind
    with tempfile.TemporaryDirectory(dir="/dev/shm", prefix="bench-") as folder:
        return Programs(kvx, read(table), folder).figures(wanted)


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--kvx", required=True)
    parser.add_argument("table", nargs="?", default=HERE / "programs.toml")
    arguments = parser.parse_args()
    units = TIMED | COUNTED
    wanted = {f"{command}:{measure}" for group in read(arguments.table)["set"].values() for command in group["command"] for measure in units}
    for name, values in figures(arguments.kvx, arguments.table, wanted).items():
        unit = units[name.partition(":")[2]]
        print(f"{name:24}{statistics.median(values):12.3f} {unit} ({min(values):.3f} to {max(values):.3f})")


if __name__ == "__main__":
    main()
