"""The installed kvx works with the closed libraries of the platform where there are some, else with the stand-ins."""

import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import unittest

CMAKE, BUILD = sys.argv[1:]
CLOSED = ("libkorvexlog.so", "librtk_common.so")


class InstalledTool(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix="a prefix ")
        self.addCleanup(folder.cleanup)
        self.prefix = pathlib.Path(folder.name) / "usr"
        subprocess.run([CMAKE, "--install", BUILD, "--prefix", self.prefix], check=True, stdout=subprocess.DEVNULL)
        self.standins = self.prefix / "lib/rtk-utils/standins"
        self.linked = self.prefix.parent / "linked"
        self.linked.symlink_to("usr/bin/kvx")

    def kvx(self, *arguments, **variables):
        return subprocess.run([self.linked, *arguments], env={"PATH": os.environ["PATH"], **variables},
                              capture_output=True, text=True, timeout=60)

    def loaded(self, **variables):
        """Where each of the closed libraries comes from."""
        run = self.kvx("--version", LD_DEBUG="libs", **variables)
        self.assertEqual(run.returncode, 0, run.stderr)
        begun = re.findall(r"calling init: (.*)", run.stderr)   # of the launcher, then of the tool
        last = {pathlib.Path(path).name: pathlib.Path(path).resolve().parent for path in begun}
        return {last[name] for name in CLOSED}

    def test_the_platform_comes_first_and_stand_ins_serve_where_it_is_not(self):
        self.assertEqual(self.loaded(), {self.standins.resolve()})
        platform = self.prefix.parent / "platform"
        platform.mkdir()
        for name in CLOSED:
            shutil.copy(self.standins / name, platform)
        self.assertEqual(self.loaded(LD_LIBRARY_PATH=str(platform)), {platform.resolve()})

        # Beside the library they are found without a word.
        for name in CLOSED:
            shutil.copy(self.standins / name, self.prefix / "lib")
        self.assertEqual(self.loaded(), {(self.prefix / "lib").resolve()})

        # Half of a platform is none.
        (self.prefix / "lib" / CLOSED[0]).unlink()
        self.assertEqual(self.loaded(), {self.standins.resolve()})

    def test_neither_is_told(self):
        shutil.rmtree(self.standins)
        run = self.kvx("--version")
        self.assertEqual((run.returncode, run.stdout), (1, ""))
        self.assertRegex(run.stderr, "^kvx: error: libkorvexlog.so, .*librtk-utils-standins.*LD_LIBRARY_PATH")

    def test_what_it_is_given_reaches_the_tool(self):
        log = self.prefix.parent / "log with blanks"
        self.assertEqual(self.kvx("simulate", "-o", str(log), "--duration", "10").returncode, 0)
        self.assertEqual(self.kvx("convert", str(log), "-o", str(log.parent), "--rinex", "9").returncode, 2)
        self.assertEqual(self.kvx("info", str(log)).returncode, 0)


unittest.main(argv=[sys.argv[0]])
