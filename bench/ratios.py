#!/usr/bin/env python3
"""Runs benchmark programs and prints how many times faster each variant is than the plain one.

Benchmarks are named <what>/<variant>[/<size>]. All variants of one what and size run interleaved in one process, so
that neighbours on the machine disturb them alike; figures are medians of the repetitions. Further arguments go to the
program.
"""

import argparse
import json
import subprocess
import sys

BASELINE = "plain"
NANOSECONDS = {"ns": 1.0, "us": 1e3, "ms": 1e6, "s": 1e9}


def run(program, repetitions, options):
    command = [program, "--benchmark_format=json", f"--benchmark_repetitions={repetitions}",
               "--benchmark_enable_random_interleaving=true", "--benchmark_report_aggregates_only=true", *options]
    return json.loads(subprocess.run(command, stdout=subprocess.PIPE, check=True).stdout)["benchmarks"]


def medians(results):
    """(what, size) -> variant -> (ns per unit of work, text of the rate). A benchmark's error ends the script."""
    groups = {}
    for result in results:
        if result.get("error_occurred"):
            sys.exit(f"{result['name']}: {result['error_message']}")
        if result.get("aggregate_name") != "median":
            continue
        name, suffix, _ = result["run_name"].partition("/manual_time")   # what other threads do counts too
        what, variant, *size = name.split("/")
        ns = result["real_time" if suffix else "cpu_time"] * NANOSECONDS[result["time_unit"]]
        if "bytes_per_second" in result:
            ns, rate = 1e9 / result["bytes_per_second"], f"{result['bytes_per_second'] / 1e6:.0f} MB/s"
        elif "items_per_second" in result:
            ns = 1e9 / result["items_per_second"]
            rate = f"{ns:.1f} ns"
        else:
            rate = f"{ns / 1000:.2f} us"
        groups.setdefault((what, "/".join(size)), {})[variant] = ns, rate
    return groups


def size_order(size):
    return [int(part) if part.isdigit() else 0 for part in size.split("/")]


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("program", nargs="+", help="benchmark program")
    parser.add_argument("--repetitions", type=int, default=5, help="2 or more (default: 5)")
    arguments, options = parser.parse_known_args()
    print(f"{'what':28}{'size':>7}  {'variant':14}{'median':>14}{'x plain':>10}")
    for program in arguments.program:
        groups = medians(run(program, arguments.repetitions, options))
        for (what, size), variants in sorted(groups.items(), key=lambda group: (group[0][0], size_order(group[0][1]))):
            base = variants.get(BASELINE)
            for variant, (ns, rate) in sorted(variants.items(), key=lambda item: -item[1][0]):
                ratio = f"{base[0] / ns:.2f}" if base else "-"
                print(f"{what:28}{size:>7}  {variant:14}{rate:>14}{ratio:>10}")


if __name__ == "__main__":
    main()
