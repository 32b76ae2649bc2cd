"""kvx check on files with one fault each: the rows of data/check/faults.txt, and every rule has one."""

import json
import os
import pathlib
import shlex
import subprocess
import tempfile
import unittest

KVX = os.environ["KVX"]
DATA = pathlib.Path(__file__).parents[1] / "data/check"


def kvx_check(*args):
    run = subprocess.run([KVX, "check", *map(str, args)], stdout=subprocess.PIPE, stderr=subprocess.PIPE, timeout=300)
    return run.returncode, run.stdout.decode()


def rows():
    text = (DATA / "faults.txt").read_text()
    return [shlex.split(row) for row in text.splitlines() if row and not row.startswith("#")]


def with_fault(base, where, old, new):
    lines = (DATA / (base + ".rnx")).read_bytes().decode("latin-1").splitlines(True)
    new = new.encode().decode("unicode_escape")
    at = int(where) - 1 if where.isdecimal() else next(i for i, line in enumerate(lines) if where in line)
    assert old in ("*", "**") or old.encode().decode("unicode_escape") in lines[at], (base, where, old)
    del lines[at + 1 if old == "**" else len(lines):]   # ** stands for all that follow, too
    lines[at] = new if old in ("*", "**") else lines[at].replace(old.encode().decode("unicode_escape"), new, 1)
    return "".join(lines).encode("latin-1")


class Check(unittest.TestCase):
    def setUp(self):
        scratch = tempfile.TemporaryDirectory()
        self.addCleanup(scratch.cleanup)
        self.dir = pathlib.Path(scratch.name)

    def findings(self, files):
        code, out = kvx_check("--json", *files)
        objects = [json.loads(line) for line in out.splitlines()]
        return code, [[f"{f['rule']} {f['line']}:{f['column']}" for f in o["findings"]] for o in objects]

    def test_good_files_have_no_findings(self):
        self.assertEqual((0, []), (lambda code, found: (code, sum(found, [])))(*self.findings(DATA.glob("*.rnx"))))

    def test_each_fault_is_found_and_nothing_else(self):
        files = []
        for i, (base, where, old, new, *_) in enumerate(rows()):
            files.append(self.dir / f"{i:03}")
            files[-1].write_bytes(with_fault(base, where, old, new))
        code, found = self.findings(files)
        self.assertEqual(3, code)
        for row, one in zip(rows(), found, strict=True):
            with self.subTest(row=" ".join(row)):
                self.assertEqual([" ".join(row[4:])], one)

    def test_every_rule_has_a_row(self):
        listed = {json.loads(line)["rule"] for line in kvx_check("--rules", "--json")[1].splitlines()}
        self.assertEqual(set(), listed ^ {row[4] for row in rows()})

    def test_exit_codes(self):
        broken, empty, odd = (self.dir / name for name in ("broken", "empty", "odd"))
        broken.write_bytes(with_fault("nav304", "LEAP", "*", "x\n" * 30))
        empty.write_bytes(b"")
        odd.write_bytes(bytes(range(256)) * 999)
        crlf = self.dir / "crlf"
        crlf.write_bytes((DATA / "nav304.rnx").read_bytes().replace(b"\n", b"\r\n"))
        for code, *args in ((3, broken), (0, "--allow", "cr-lf", "--allow", "kind,lab*", broken), (2, broken, "--allow", "no-rule"), (2,), (1, empty),
                            (1, odd), (1, broken, self.dir / "none"), (0, crlf), (3, crlf, "--strict")):
            self.assertEqual(code, kvx_check(*args)[0], args)
        out = kvx_check(broken)[1].splitlines()
        self.assertEqual(12, len(out))   # ten of a kind, how many more, the summary
        self.assertTrue(out[-2].endswith("and 20 more of this kind"), out)
        self.assertEqual(31, len(kvx_check(broken, "--all")[1].splitlines()))
        self.assertEqual(1, len(kvx_check(broken, "--quiet")[1].splitlines()))


if __name__ == "__main__":
    unittest.main()
