"""The unit of share/systemd, as the service manager runs it: fed by a pipe that never ends, ended, and started again."""

import os
import pathlib
import re
import shlex
import shutil
import signal
import subprocess
import sys
import tempfile
import time
import unittest

KVX = os.environ["KVX"]
UNIT = pathlib.Path(__file__).resolve().parents[2] / "share/systemd/kvx-record@.service"


class Service(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.dir = pathlib.Path(folder.name)
        (self.dir / "raw").mkdir()
        (self.dir / "bin").mkdir()
        (self.dir / "bin/kvx").symlink_to(KVX)
        self.fifo = self.dir / "receiver"
        os.mkfifo(self.fifo)

    def start(self, source):
        command = re.search(r"^ExecStart=(.*)$", UNIT.read_text(), re.M)[1].replace("$$", "$").replace("%%", "%")
        environment = {**os.environ, "PATH": f"{self.dir}/bin:{os.environ['PATH']}", "SOURCE": source, "MARKER": "TEST",
                       "OPTIONS": "--split 5m"}
        return subprocess.Popen(shlex.split(command), cwd=self.dir, env=environment, start_new_session=True,
                                stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)

    def test_a_receiver_that_is_off_leaves_nothing(self):
        service = self.start(f"OPEN:{self.dir}/none,rdonly")
        self.assertIn("No such file", service.communicate(timeout=60)[1])
        self.assertEqual((1, []), (service.returncode, list((self.dir / "raw").iterdir())))

    def serve(self, data, parts):
        """Runs it until so many parts are there; then everything in it is told to end, as the manager does."""
        service = self.start(f"OPEN:{self.fifo},rdonly")
        with self.fifo.open("wb") as receiver:
            receiver.write(data)
            receiver.flush()
            end = time.monotonic() + 60
            while len(list(self.dir.glob("*_MO.rnx"))) < parts and time.monotonic() < end:
                time.sleep(0.02)
            time.sleep(1)   # for what is left
            os.killpg(service.pid, signal.SIGTERM)
            told, errors = service.communicate(timeout=60)
        self.assertNotIn("error", errors)
        return told

    def test_parts_as_they_fill_and_again_after_a_restart(self):
        log = self.dir / "sky.log"
        subprocess.run([KVX, "simulate", "-q", "-o", log, "--duration", "840"], check=True)
        names = [f"TEST00XXX_R_2024070{minute}_05M_01S_MO.rnx" for minute in ("1200", "1205", "1210")]
        self.assertIn(names[2], self.serve(log.read_bytes(), 2))
        self.assertEqual(sorted(f.name for f in self.dir.glob("*_MO.rnx")), names)
        self.assertEqual(next((self.dir / "raw").iterdir()).read_bytes(), log.read_bytes())
        subprocess.run([KVX, "verify", log, *self.dir.glob("*.rnx")], check=True, stdout=subprocess.DEVNULL)
        self.serve(log.read_bytes(), 5)
        again = [name.replace("_MO", "_2_MO") for name in names]
        self.assertEqual(sorted(f.name for f in self.dir.glob("*_MO.rnx")), sorted(names + again))
        self.assertEqual([f for f in self.dir.iterdir() if f.name.startswith(".")], [])

    @unittest.skipUnless(shutil.which("systemd-analyze"), "no service manager here")
    def test_the_manager_understands_it(self):
        unit = self.dir / "kvx-record@base.service"
        unit.write_text(UNIT.read_text())
        told = subprocess.run(["systemd-analyze", "verify", "--man=no", unit], capture_output=True, text=True, timeout=60).stderr
        self.assertNotIn("kvx-record", told)


if __name__ == "__main__":
    sys.exit(77) if shutil.which("socat") is None else unittest.main()
