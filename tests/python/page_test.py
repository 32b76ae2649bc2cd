"""docs/python.md: its code runs and prints what it shows, and makes the picture; what the README shows runs, too; the types
of the module are right."""

import contextlib
import io
import os
import pathlib
import re
import subprocess
import sys
import tempfile
import traceback
import unittest

HERE = pathlib.Path(__file__).parent
ROOT = HERE.parents[1]
DOCS = ROOT / "docs"
KVX, PACKAGES = os.environ["KVX"], os.environ["PACKAGES"]
sys.path.insert(0, PACKAGES)

import numpy

BLOCK = re.compile(r"^```(.*)\n((?:.*\n)*?)^```$", re.M)


def in_order(shown):
    return re.compile(r"\s+".join(".*?".join(map(re.escape, word.split("..."))) for word in shown.split()), re.S)


def size(picture):
    content = picture.read_bytes()
    assert content[:8] == b"\x89PNG\r\n\x1a\n", picture
    return content[16:24]


class Page(unittest.TestCase):
    def test_code_prints_what_is_shown_and_makes_the_picture(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.addCleanup(os.chdir, os.getcwd())
        os.chdir(folder.name)
        names, printed = {}, None
        for language, text in BLOCK.findall((DOCS / "python.md").read_text()):
            if language == "sh":
                subprocess.run(["sh", "-ec", text.replace("kvx ", KVX + " ")], check=True, stdout=subprocess.DEVNULL)
            elif language == "python":
                with contextlib.redirect_stdout(io.StringIO()) as out:
                    try:
                        exec(compile(text, "python.md", "exec"), names)
                    except Exception:
                        self.fail(f"{text}\n{traceback.format_exc()}")
                printed = out.getvalue()
            else:
                self.assertRegex(printed, in_order(text))
        self.assertEqual(size(DOCS / "pictures/python.png"), size(pathlib.Path("python.png")))
        shuffled = names["obs"][numpy.random.default_rng(1).permutation(len(names["obs"]))]
        self.assertTrue(shuffled.to_xarray().equals(names["ds"]))
        code, = (text for language, text in BLOCK.findall((ROOT / "README.md").read_text()) if language == "python")
        exec(compile(code, "README.md", "exec"), {})


class Types(unittest.TestCase):
    def run_tool(self, *words):
        with tempfile.TemporaryDirectory() as folder:
            environment = os.environ | {"MYPY_CACHE_DIR": folder}
            return subprocess.run(["/usr/bin/python3", "-m", *words], cwd=PACKAGES, env=environment, stdout=subprocess.PIPE,
                                  stderr=subprocess.STDOUT, text=True)

    def test_the_package_is_typed(self):
        done = self.run_tool("mypy", "--strict", "rtk_utils")
        self.assertEqual(0, done.returncode, done.stdout)

    def test_the_stub_tells_what_the_module_has(self):
        done = self.run_tool("mypy.stubtest", "--mypy-config-file", os.devnull, "rtk_utils")
        self.assertRegex(done.stdout, r"checked \d+ modules|no issues found")
        faults = re.findall(r"^error: (rtk_utils\._core\b.*)$", done.stdout, re.M)
        self.assertEqual([], [fault for fault in faults if not fault.endswith("metaclass differs")])   # the binding library has its own


if __name__ == "__main__":
    unittest.main()
