#!/usr/bin/env python3
"""Measures what the goals name and says which are met.

Prints every benchmark of the kinds of work that have a goal, then the goals; --json keeps all of it. The exit code is
1 when a goal is not met.
"""

import argparse
import json
import os
import pathlib
import platform
import re
import statistics
import sys
import time
import tomllib

import micro
import programs

HERE = pathlib.Path(__file__).parent


def goals_like(pattern):
    goals = tomllib.loads((HERE / "goals.toml").read_text())["goals"]
    chosen = [goal for goal in goals if re.search(pattern, f"{goal['area']} {goal['figure']}")]
    return chosen or sys.exit(f"no goal is like {pattern}")


def names_in(goals):
    return {goal[key] for goal in goals for key in ("figure", "to", "beside") if key in goal}


def value(figures, goal):
    """A quotient is taken round by round where both were measured in the same rounds."""
    above, below = figures.get(goal["figure"]), figures.get(goal["to"]) if "to" in goal else [1.0]
    if above is None or below is None:
        return None
    if len(above) == len(below):
        return statistics.median(a / b for a, b in zip(above, below))
    return statistics.median(above) / statistics.median(below)


def judged(figures, goal):
    found = value(figures, goal)
    met = found is not None and goal.get("least", 0) <= found <= goal.get("most", float("inf"))
    return goal | {"value": found, "met": met}


def short(number):
    return f"{number:.0f}" if number >= 100 else f"{number:.1f}" if number >= 10 else f"{number:.2f}"


def beside(goal, figures):
    """The peer's figure, and how much of a processor the program got: less than a whole one, and the machine was busy."""
    peer, share = goal.get("beside"), goal["figure"].replace(":speed", ":share")
    parts = [f"{peer.removesuffix(':speed')} {short(statistics.median(figures[peer]))} MB/s"] if peer in figures else []
    if share != goal["figure"] and share in figures and "to" not in goal:
        parts.append(f"{100 * statistics.median(figures[share]):.0f} % of a processor")
    return ", ".join(parts)


def cells(row, figures):
    """area, goal, figure, met or not, what stands beside it"""
    goal = f"at most {row['most']}" if "most" in row else f"at least {row['least']}"
    found = f"{short(row['value'])} {row['unit']}" if row["value"] is not None else "not measured"
    return row["area"], goal, found, "met" if row["met"] else "NOT MET", beside(row, figures)


def print_goals(table):
    print()
    for area, goal, found, met, peer in [("area", "goal", "measured", "", "beside it"), *table]:
        print(f"{area:38}{goal:16}{found:34}{met:9}{peer}".rstrip())


def markdown(table):
    return "".join(f"| {area} | {goal} | {found}{'' if met == 'met' else ', not met'} | {peer} |\n"
                   for area, goal, found, met, peer in table)


def processor():
    names = re.findall(r"^(?:model name|CPU part)\s*: (.*)", pathlib.Path("/proc/cpuinfo").read_text(), re.M)
    return f"{names[0] if names else platform.machine()}, {os.cpu_count()} cores, Linux {platform.release()}"


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--kvx", required=True)
    parser.add_argument("--json", type=pathlib.Path, required=True, help="file to write; beside it a .md with the goals")
    parser.add_argument("--goals", default="", help="only those whose area or figure has this pattern")
    parser.add_argument("benchmarks", nargs="+", help="programs made with Google Benchmark")
    arguments = parser.parse_args()
    began, load = time.monotonic(), os.getloadavg()[0]
    goals = goals_like(arguments.goals)
    whole = {name for name in names_in(goals) if ":" in name}
    figures, units = micro.figures(arguments.benchmarks, {name.partition("/")[0] for name in names_in(goals) - whole})
    if figures:
        micro.print_table(figures, units)
    if whole:
        figures |= programs.figures(arguments.kvx, HERE / "programs.toml", whole)
    rows = [judged(figures, goal) for goal in goals]
    table = [cells(row, figures) for row in rows]
    print_goals(table)
    arguments.json.with_suffix(".md").write_text(markdown(table))
    arguments.json.write_text(json.dumps({"machine": processor(), "goals": rows, "figures": figures}, indent=1))
    print(f"\n{sum(row['met'] for row in rows)} of {len(rows)} met in {time.monotonic() - began:.0f} s on {processor()}; "
          f"load at the beginning {load:.1f}; all figures: {arguments.json}")
    return 0 if all(row["met"] for row in rows) else 1


if __name__ == "__main__":
    sys.exit(main())
