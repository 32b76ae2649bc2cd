"""mutate.py: changes one thing in a copy of the sources at a time and tells which changes no test notices.

    mutate.py --tree COPY --build BUILD --list FILE                   the kept list again
    mutate.py --tree COPY --build BUILD --list FILE --new N --part library|tool --seed S

A mutant is an operator, a constant, a deleted statement or two swapped neighbours. Each is built and tested until the
first test fails; the list keeps a line for it with what became of it. A line with "equivalent" gives the reason why no
test can notice it, and leaves the count.
"""

import argparse
import json
import pathlib
import random
import re
import subprocess
import sys

PARTS = {"library": ["libapp/utils/src"], "tool": ["tools/kvx"]}
SWAPS = {"<": "<=", "<=": "<", ">": ">=", ">=": ">", "==": "!=", "!=": "==", "&&": "||", "||": "&&", "+": "-", "-": "+",
         "*": "/", "/": "*", "<<": ">>", ">>": "<<", "+=": "-=", "-=": "+=", "true": "false", "false": "true"}
OPERATOR = re.compile(r" (<=?|>=?|==|!=|&&|\|\||\+=|-=|<<|>>|[-+*/]) |\b(true|false)\b")
NUMBER = re.compile(r"(?<![\w.\"'])(0[xX][0-9A-Fa-f]+|\d+(?:\.\d+)?(?:e[-+]?\d+)?)(?![\w.\"'])")
STATEMENT = re.compile(r"^\s+(?!return|break|continue|using|const |static|case|default|public|private|\w+ \w+;|struct|}|#)"
                       r"[\w*&:(+-].*;$")
NEIGHBOURS = re.compile(r"(?<=[(,{ ])([\w.>\[\]-]+), ([\w.>\[\]-]+)(?=[),}])")
QUICK = "_test$"   # most mutants die in the unit tests


def code_of(line):
    """The line without its comment; nothing of it lies in a text."""
    return re.split(r"\s*//", line)[0]


def changed_number(text):
    if text.startswith(("0x", "0X")):
        return hex(int(text, 16) ^ 1)
    return str(int(text) + 1) if text.isdigit() else str(float(text) * 1.5 + 0.5)


def mutations(lines):
    """Every mutation of a file: (kind, index, the line, what it becomes)."""
    for i, line in enumerate(lines):
        code = code_of(line)
        if line.lstrip().startswith(("//", "#", "static_assert", "template", "constexpr int kAt")) or '"' in code:
            continue
        for m in OPERATOR.finditer(code):
            group = 1 if m.group(1) else 2
            yield "operator", i, line, line[:m.start(group)] + SWAPS[m.group(group)] + line[m.end(group):]
        for m in NUMBER.finditer(code):
            yield "constant", i, line, line[:m.start()] + changed_number(m.group()) + line[m.end():]
        if STATEMENT.match(code):
            yield "deletion", i, line, re.match(r"\s*", line).group() + ";"
        for m in NEIGHBOURS.finditer(code):
            yield "swap", i, line, line[:m.start()] + f"{m.group(2)}, {m.group(1)}" + line[m.end():]


def fresh(tree, part, count, seed):
    """A sample: every kind as likely as any other, whatever their numbers."""
    by_kind = {}
    for folder in PARTS[part]:
        for path in sorted((tree / folder).rglob("*")):
            if path.suffix not in (".cpp", ".h"):
                continue
            for kind, i, old, new in mutations(path.read_text().split("\n")):
                mutant = {"part": part, "file": str(path.relative_to(tree)), "line": i + 1, "old": old, "new": new}
                by_kind.setdefault(kind, []).append(mutant)
    chance = random.Random(seed)
    for rows in by_kind.values():
        chance.shuffle(rows)
    kinds = sorted(by_kind)
    return [by_kind[kinds[k % len(kinds)]].pop() for k in range(4 * count)]


def place(lines, mutant):
    """Where the mutant's line stands now: the place nearest to where it stood."""
    found = [i for i, line in enumerate(lines) if line == mutant["old"]]
    return min(found, key=lambda i: abs(i + 1 - mutant["line"]), default=None)


class Bench:
    def __init__(self, tree, build):
        self.tree, self.build = tree, build
        if self.run("ninja", "-C", build) != 0 or self.test() != "lived":
            sys.exit("mutate: the tests must build and pass before anything is changed")

    def run(self, *command):
        try:
            return subprocess.run([str(c) for c in command], stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                                  timeout=900).returncode
        except subprocess.TimeoutExpired:
            return -1

    def test(self):
        for choice in ("-R", "-E"):
            log = self.build / "mutant.log"
            command = ["ctest", "--test-dir", self.build, choice, QUICK, "-j2", "--stop-on-failure", "--timeout", "60",
                       "-O", log]
            if self.run(*command) != 0:
                failed = re.findall(r"^\s+\d+ - (.+) \(", log.read_text(), re.M)
                return f"died in {failed[0] if failed else 'a test'}"
        return "lived"

    def verdict(self, mutant):
        path = self.tree / mutant["file"]
        text = path.read_text()
        lines = text.split("\n")
        at = place(lines, mutant)
        if at is None:
            return "gone"
        lines[at] = mutant["new"]
        before = {o: o.read_bytes() for o in self.build.rglob(path.name + ".o")}
        path.write_text("\n".join(lines))
        try:
            if self.run("ninja", "-C", self.build) != 0:
                return "does not build"
            if before and all(o.read_bytes() == was for o, was in before.items()):
                return "same code"
            return self.test()
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
    again = not options.new
    todo = [m for m in kept if "equivalent" not in m] if again else fresh(options.tree, options.part, options.new, options.seed)
    died = lived = worse = 0
    for mutant in todo:
        if not again and died + lived == options.new:
            break
        verdict = bench.verdict(mutant)
        resurrected = verdict == "lived" and mutant.get("verdict", "lived") != "lived"
        print(f"{mutant['file']}:{mutant['line']}: {verdict}{', died before' if resurrected else ''}\n"
              f"  - {mutant['old'].strip()}\n  + {mutant['new'].strip()}", flush=True)
        if verdict in ("does not build", "same code", "gone"):
            continue
        died += verdict.startswith("died")
        lived += verdict == "lived"
        worse += resurrected
        if not again:
            kept.append(mutant)
        if not resurrected:
            mutant["verdict"] = verdict
        options.list.write_text("".join(json.dumps(m) + "\n" for m in kept))
    print(f"{died} died, {lived} lived, {worse} of them had died before")
    return 0 if worse == 0 else 1


if __name__ == "__main__":
    sys.exit(main())
