"""Speeds of benchmark programs.

Benchmarks are named <what>/<variant>[/<size>]. All variants of one what run interleaved in one process, so that
neighbours on the machine disturb them alike; figures are medians of the repetitions.
"""

import json
import re
import subprocess
import sys

NANOSECONDS = {"ns": 1.0, "us": 1e3, "ms": 1e6, "s": 1e9}
REPETITIONS = 5
SECONDS = 0.05   # of a repetition, at least


def list_of(program):
    return subprocess.run([program, "--benchmark_list_tests"], stdout=subprocess.PIPE, text=True, check=True).stdout.split()


def run(program, pattern):
    command = [program, "--benchmark_format=json", f"--benchmark_repetitions={REPETITIONS}", f"--benchmark_min_time={SECONDS}",
               "--benchmark_enable_random_interleaving=true", "--benchmark_report_aggregates_only=true",
               f"--benchmark_filter={pattern}"]
    results = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, check=True).stdout
    return json.loads(results)["benchmarks"]


def speed(result, by_the_clock):
    """(speed, its unit)"""
    if "bytes_per_second" in result:
        return result["bytes_per_second"] / 1e6, "MB/s"
    if "items_per_second" in result:
        return result["items_per_second"], "a second"
    return 1e9 / (result["real_time" if by_the_clock else "cpu_time"] * NANOSECONDS[result["time_unit"]]), "a second"


def figures(programs, whats):
    """name -> [speed] and name -> unit of all benchmarks that work on `whats`. A benchmark's error ends the script."""
    found, units = {}, {}
    for program in programs:
        mine = {name.partition("/")[0] for name in list_of(program)} & whats
        if not mine:
            continue
        for result in run(program, f"^({'|'.join(sorted(mine))})/"):
            if result.get("error_occurred"):
                sys.exit(f"{result['name']}: {result['error_message']}")
            if result.get("aggregate_name") == "median":
                name = re.sub("/(iterations:|manual_time).*", "", result["run_name"])
                median, units[name] = speed(result, "manual_time" in result["run_name"])   # what other threads do counts too
                found[name] = [median]
    return found, units


def print_table(figures, units):
    """Every benchmark, the slowest variant of a kind and size of work first."""
    def place(name):
        what, variant, *size = name.split("/")
        return what, [int(part) if part.isdigit() else 0 for part in size], figures[name][0]
    print(f"{'benchmark':40}{'median':>14}{'x plain':>18}")
    for name in sorted(figures, key=place):
        what, _, *size = name.split("/")
        plain = figures.get("/".join([what, "plain", *size]))
        ratio = f"{figures[name][0] / plain[0]:.2f}" if plain else "-"
        print(f"{name:40}{figures[name][0]:14,.0f} {units[name]:9}{ratio:>8}")
