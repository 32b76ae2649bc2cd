"""mutate.py: changes one thing in a copy of the sources at a time and tells which changes no test notices.

    mutate.py --tree COPY --build BUILD --list FILE                   the kept list again
    mutate.py --tree COPY --build BUILD --list FILE --new N --part library|tool --seed S

A mutant is an operator, a constant, a deleted statement or two swapped neighbours. Each is built and tested until the
first test fails; the list keeps a line for it with what became of it. A line with "equivalent" gives the reason why no
test can notice it, and leaves the count.
"""

import argparse
import json
import os
import pathlib
import random
import re
import signal
import subprocess
import sys

PARTS = {"library": "libapp/utils/src", "tool": "tools/kvx"}
FIRST = {"library": "_test$", "tool": "kvx|dump"}   # the tests in which most mutants die
SWAPS = {"<": "<=", "<=": "<", ">": ">=", ">=": ">", "==": "!=", "!=": "==", "&&": "||", "||": "&&", "+": "-", "-": "+",
         "*": "/", "/": "*", "<<": ">>", ">>": "<<", "+=": "-=", "-=": "+=", "true": "false", "false": "true"}
OPERATOR = re.compile(r"(?<= )(<=?|>=?|==|!=|&&|\|\||\+=|-=|<<|>>|[-+*/])(?= )|\b(?:true|false)\b")
NUMBER = re.compile(r"(?<![\w.\"'])(0[xX][0-9A-Fa-f]+|\d+(?:\.\d+)?(?:e[-+]?\d+)?)(?![\w.\"'])")
STATEMENT = re.compile(r"^\s+(?!return|break|continue|using|const |static|case|default|public|private|\w+ \w+;|struct|}|#)"
                       r"([\w*&:(+-].*;)$")
NEIGHBOURS = re.compile(r"(?<=[(,{ ])([\w.>\[\]-]+), ([\w.>\[\]-]+)(?=[),}])")


def changed_number(text):
    if text.startswith(("0x", "0X")):
        return hex(int(text, 16) ^ 1)
    return str(int(text) + 1) if text.isdigit() else str(float(text) * 1.5 + 0.5)


LIMIT = 120   # s of testing; a change may make a loop that does not end
MUTATIONS = {"operator": (OPERATOR, lambda m: SWAPS[m[0]]), "constant": (NUMBER, lambda m: changed_number(m[0])),
             "deletion": (STATEMENT, lambda m: m[0].replace(m[1], ";")), "swap": (NEIGHBOURS, lambda m: f"{m[2]}, {m[1]}")}


def fresh(tree, part, count, seed):
    """A sample: every kind as likely as any other, whatever their numbers."""
    by_kind = {kind: [] for kind in sorted(MUTATIONS)}
    for path in sorted((tree / PARTS[part]).rglob("*.[ch]*")):
        for number, line in enumerate(path.read_text().split("\n") if path.suffix in (".cpp", ".h") else [], 1):
            code = re.split(r"\s*//", line)[0]
            if code.lstrip().startswith(("#", "static_assert", "template", "constexpr int kAt")) or '"' in code:
                continue
            for kind, (pattern, change) in MUTATIONS.items():
                for m in pattern.finditer(code):
                    by_kind[kind].append({"part": part, "file": str(path.relative_to(tree)), "line": number, "old": line,
                                          "new": line[:m.start()] + change(m) + line[m.end():]})
    chance = random.Random(seed)
    for rows in by_kind.values():
        chance.shuffle(rows)
    return [rows.pop() for _ in range(count) for rows in by_kind.values() if rows]


class Bench:
    def __init__(self, tree, build):
        self.tree, self.build = tree, build
        if self.run("ninja", "-C", build) != 0 or self.test("tool", None) != "lived":
            sys.exit("mutate: the tests must build and pass before anything is changed")

    def run(self, *command, limit=None):
        with subprocess.Popen([str(c) for c in command], stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                              start_new_session=True) as process:
            try:
                return process.wait(limit)
            except subprocess.TimeoutExpired:
                os.killpg(process.pid, signal.SIGKILL)   # the test that does not end too
                return -1

    def test(self, part, limit=LIMIT):
        for choice in ("-R", "-E"):
            log = self.build / "mutant.log"
            if self.run("ctest", "--test-dir", self.build, choice, FIRST[part], "-j2", "--stop-on-failure", "-O", log,
                        limit=limit) != 0:
                failed = re.findall(r"^\s+\d+ - (.+) \(", log.read_text(), re.M)
                return f"died in {failed[0] if failed else 'a test'}"
        return "lived"

    def verdict(self, mutant):
        path = self.tree / mutant["file"]
        text = path.read_text()
        lines = text.split("\n")
        places = [i for i, line in enumerate(lines) if line == mutant["old"]]
        if not places:
            return "gone"
        lines[min(places, key=lambda i: abs(i + 1 - mutant["line"]))] = mutant["new"]
        before = {o: o.read_bytes() for o in self.build.rglob(path.name + ".o")}
        path.write_text("\n".join(lines))
        try:
            if self.run("ninja", "-C", self.build) != 0:
                return "does not build"
            if before and all(o.read_bytes() == was for o, was in before.items()):
                return "same code"
            return self.test(mutant["part"])
        finally:
            path.write_text(text)


def main():
    parser = argparse.ArgumentParser()
    for name in ("tree", "build", "list"):
        parser.add_argument("--" + name, type=pathlib.Path, required=True)
    parser.add_argument("--new", type=int, default=0)
    parser.add_argument("--part", choices=PARTS, default="library")
    parser.add_argument("--seed", type=int, default=1)
    options = parser.parse_args()

    bench = Bench(options.tree, options.build)
    kept = [json.loads(line) for line in options.list.read_text().splitlines()] if options.list.exists() else []
    if not kept and not options.new:
        sys.exit(f"mutate: {options.list}: no mutants")
    todo = [m for m in kept if "equivalent" not in m]
    if options.new:
        todo = fresh(options.tree, options.part, options.new, options.seed)
    count = {"died": 0, "lived": 0, "lived that had died": 0}
    for mutant in todo:
        if options.new and count["died"] + count["lived"] == options.new:
            break
        verdict = bench.verdict(mutant)
        worse = verdict == "lived" and mutant.get("verdict", "lived") != "lived"
        print(f"{mutant['file']}:{mutant['line']}: {verdict}{', died before' if worse else ''}\n"
              f"  - {mutant['old'].strip()}\n  + {mutant['new'].strip()}", flush=True)
        if not verdict.startswith(("died", "lived")):
            continue
        count[verdict.split()[0]] += 1
        count["lived that had died"] += worse
        if options.new:
            kept.append(mutant)
        mutant["verdict"] = mutant["verdict"] if worse else verdict
        options.list.write_text("".join(json.dumps(m) + "\n" for m in kept))
    print(", ".join(f"{n} {what}" for what, n in count.items()))
    return 1 if count["lived that had died"] else 0


if __name__ == "__main__":
    sys.exit(main())
