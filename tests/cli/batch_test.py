"""kvx convert --batch: an archive becomes what its logs become one by one, each once, whenever a run is killed; kvx summary
tells what became of it."""

import hashlib
import json
import os
import pathlib
import random
import re
import shlex
import shutil
import signal
import subprocess
import tempfile
import time
import unittest

KVX = shlex.split(os.environ["KVX"])
TREE = ("--tree", "{yyyy}/{doy}/{site}", "--marker", "{stem:4}")


def kvx(*arguments, code=0):
    done = subprocess.run([*KVX, *map(str, arguments)], stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
    assert code is None or done.returncode == code, (arguments, done)
    return done


def undated(path):
    return re.sub(rb"(?m)^.*PGM / RUN BY / DATE.*\n", b"", path.read_bytes())


class Batch(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        scratch = tempfile.TemporaryDirectory()
        cls.addClassCleanup(scratch.cleanup)
        cls.made = pathlib.Path(scratch.name)
        (cls.made / "raw/deep/er").mkdir(parents=True)
        for k, folder in enumerate(["", "", "deep", "deep/er"] * 3):
            kvx("simulate", "-q", "-o", cls.made / f"raw/{folder}/S{k:03}.log", "--duration", 20 + k, "--seed", k,
                "--start", f"2024-03-{10 + k % 3} 12:00:00", *(["--damage", 3] if k == 5 else []))
        (cls.made / "raw/empty.log").touch()
        (cls.made / "raw/note.log").write_text("no log\n")
        (cls.made / "raw/.hidden").write_text("nor this\n")
        cls.logs = sorted(cls.made.glob("raw/**/S*.log"))

    def setUp(self):
        scratch = tempfile.TemporaryDirectory()
        self.addCleanup(scratch.cleanup)
        self.dir = pathlib.Path(scratch.name)
        shutil.copytree(self.made / "raw", self.dir / "raw")
        self.out = self.dir / "out"
        self.ledger = self.out / "kvx-ledger.ndjson"

    def batch(self, *options, source="raw", code=1):
        return json.loads(kvx("convert", "--json", "-q", "--batch", self.dir / source, "-o", self.out, *TREE, *options, code=code).stdout)

    def lines(self):
        return [json.loads(line[line.rindex('{"log":'):]) for line in self.ledger.read_text().splitlines() if line.endswith("}")]

    def files(self):
        return {str(path.relative_to(self.out)): path for path in self.out.rglob("*") if path.is_file() and path != self.ledger}

    def demand_plain_files(self, *options):
        """Files and ledger are those of the logs, converted one by one."""
        expected = {}
        for log in self.logs:
            plain = self.dir / "plain" / log.stem
            shutil.rmtree(plain, ignore_errors=True)
            kvx("convert", "-q", log, "-o", plain, "--marker", log.stem, *options, code=None)
            for path in plain.iterdir():
                date = re.search(r"_R_(\d{4})(\d{3})", path.name)
                expected[f"{date[1]}/{date[2]}/{log.stem}/{path.name}"] = undated(path)
        self.assertEqual(expected, {name: undated(path) for name, path in self.files().items()})
        last = {line["log"]: line for line in self.lines()}
        self.assertEqual({str(path) for path in (self.dir / "raw").rglob("*.log")}, set(last))
        listed = [file for line in last.values() for file in line["files"]]
        self.assertEqual({name: hashlib.sha256(path.read_bytes()).hexdigest() for name, path in self.files().items()},
                         {file["name"]: file["sha256"] for file in listed})

    def test_each_log_once(self):
        first = self.batch("-j", 3)
        self.assertEqual([14, 11, 1, 0, 2], [first[k] for k in ("logs", "converted", "damaged", "skipped", "failed")])
        self.demand_plain_files()
        self.assertEqual(14, len(self.lines()))
        before = {name: path.stat() for name, path in self.files().items()}
        again = self.batch("-j", 2)
        self.assertEqual([0, 12, 2], [again[k] for k in ("converted", "skipped", "failed")])
        self.assertEqual(before, {name: path.stat() for name, path in self.files().items()})

        # What has changed is done again, and nothing else: a log, a file, by its contents only where they are compared.
        log, other = self.dir / "raw/S000.log", self.dir / "raw/S001.log"
        log.write_bytes(log.read_bytes()[:-3000])
        (self.out / "2024/071/S004").rename(self.dir / "gone")
        changed = self.batch()
        self.assertEqual([1, 1], [changed[k] for k in ("converted", "damaged")])
        self.assertEqual([0, 2], [self.batch("--checksum")[k] for k in ("skipped", "failed")])   # no line has one of its log yet
        status = other.stat()
        other.write_bytes(other.read_bytes().replace(b"\xaa\x44\x12", b"\xaa\x44\x13", 1))
        os.utime(other, ns=(status.st_atime_ns, status.st_mtime_ns))
        self.assertEqual([12, 11], [self.batch(*options)["skipped"] for options in ((), ("--checksum",))])

    def test_other_options_replace_the_files_and_only_these(self):
        self.batch()
        foreign = self.out / "2024/070/S000/S00000XXX_R_20240701200_01M_05S_MO.rnx"
        foreign.write_text("somebody else's\n")
        told = self.batch("--interval", 5)
        self.assertEqual(3, told["failed"])
        self.assertEqual("somebody else's\n", foreign.read_text())
        foreign.unlink()
        self.assertEqual(1, self.batch("--interval", 5)["converted"])
        (own,) = self.out.glob("2024/071/S001/*MO.rnx")   # what stands there now is not what was made
        own.write_text("somebody else's\n")
        self.assertEqual(3, self.batch("--interval", 5)["failed"])
        own.unlink()
        self.assertEqual(1, self.batch("--interval", 5)["converted"])
        self.demand_plain_files("--interval", 5)

    def test_files_among_their_logs(self):
        self.out = self.dir / "raw"
        told = [self.batch(), self.batch(), self.batch("--interval", 5)]
        self.assertEqual([(14, 12, 0), (14, 0, 12), (14, 12, 0)],
                         [(t["logs"], t["converted"] + t["damaged"], t["skipped"]) for t in told])

    def test_a_name_goes_over_to_another_log(self):
        def batch(log, marker):
            (self.dir / "list").write_text(f"{self.dir}/{log}\t{marker}\n")
            return self.batch("--nav", "none", source="list", code=0)

        batch("raw/S000.log", "SAME")
        (name,) = self.files()
        (self.out / name).unlink()
        kvx("simulate", "-q", "-o", self.dir / "T000.log", "--duration", 20, "--seed", 99, "--start", "2024-03-10 12:00:00")
        batch("T000.log", "SAME")
        made = (self.out / name).read_bytes()
        batch("raw/S000.log", "OTHR")   # what was made of it under that name is gone
        self.assertEqual(made, (self.out / name).read_bytes())

    def test_logs_that_move(self):
        self.batch()
        (self.dir / "raw/deep").rename(self.dir / "raw/deeper")
        subprocess.run(["gzip", *self.dir.glob("raw/S*.log")], check=True)
        self.assertEqual(14, self.batch()["failed"])
        (foreign,) = self.out.glob("2024/070/S000/*MO.rnx")
        foreign.write_text("somebody else's\n")
        self.assertEqual(3, self.batch("--adopt")["failed"])
        self.assertEqual("somebody else's\n", foreign.read_text())
        foreign.unlink()
        self.assertEqual(2, self.batch("--adopt", "--nav", "none")["failed"])   # others are left of nobody's
        totals = json.loads(kvx("summary", "--json", self.ledger, code=1).stdout)
        self.assertEqual((14, len(self.files())), (totals["logs"], totals["files"]))

    def test_ledgers_of_others(self):
        self.batch()
        other = self.dir / "other.ndjson"
        known = self.batch("--ledger", other, "--known", self.ledger)
        self.assertEqual((12, 2), (known["skipped"], known["failed"]))
        self.assertEqual(set(line["log"] for line in self.lines()), {json.loads(line)["log"] for line in other.read_text().splitlines()})
        victim = self.dir / "victim"
        victim.touch()
        for name in (str(victim), "../victim"):
            line = self.lines()[0] | {"files": [{"name": name, "bytes": 0, "modified": 0, "sha256": hashlib.sha256().hexdigest()}]}
            other.write_text(json.dumps(line) + "\n")
            self.assertIn("lies elsewhere", kvx("convert", "--batch", self.dir / "raw", "-o", self.out, "--known", other, code=1).stderr)
        self.assertTrue(victim.exists())
        kept = self.logs[0].read_bytes()
        for what in (("convert", "-o", self.out, "--batch", self.dir / "raw", "--ledger", self.logs[0]), ("summary", self.logs[0])):
            self.assertIn("is no ledger", kvx(*what, code=1).stderr)
        self.assertEqual(kept, self.logs[0].read_bytes())

    def test_killed_at_any_moment(self):
        chance = random.Random(7)
        scratch = "--scratch", self.dir / "scratch"
        counts = os.environ | {"GCOV_PREFIX": str(self.dir / "counts")}   # torn, too, where a build counts what tests reach
        def whole():   # logs whose files have their names
            return self.ledger.exists() and sum(all((self.out / file["name"]).exists() for file in line["files"]) and line["code"] != 1 for line in self.lines())

        killed = 0
        while killed < 25 or not whole():
            killed += 1
            run = subprocess.Popen([*KVX, "convert", "-q", "--batch", self.dir / "raw", "-o", self.out, *TREE, "-j", "2", "--gz", *scratch],
                                   env=counts, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, start_new_session=True)
            time.sleep(chance.uniform(0, 0.05 + 0.05 * max(0, killed - 25)))
            os.killpg(run.pid, signal.SIGKILL)
            run.wait()
        with self.ledger.open("r+") as ledger:   # torn, with a line behind it, and torn at the end
            lines = ledger.read()
            ledger.seek(0)
            ledger.write('{"log":"/x","co' + lines + '{"log":"torn')
        self.assertGreater(self.batch("--gz", *scratch)["skipped"], 0)
        self.batch(*scratch)
        self.assertEqual([], list((self.dir / "scratch").iterdir()))
        self.demand_plain_files()

    def test_a_worker_that_is_killed(self):
        os.mkfifo(self.dir / "raw/wait.log")   # a list may name what a folder's search leaves out
        names = sorted((self.dir / "raw").glob("*.log"))
        (self.dir / "list").write_text("# logs\n" + "".join(f"{name}\n" for name in names))
        run = subprocess.Popen([*KVX, "convert", "--json", "--batch", self.dir / "list", "-o", self.out, *TREE, "-j", "1"],
                               stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
        with open(self.dir / "raw/wait.log", "wb"):   # it is there
            children = pathlib.Path(f"/proc/{run.pid}/task/{run.pid}/children")
            os.kill(int(children.read_text().split()[0]), signal.SIGKILL)
            told, errors = run.communicate(timeout=60)
        self.assertIn("killed by signal 9", errors)
        self.assertEqual(3, json.loads(told)["failed"])

    def test_list_with_markers(self):
        (self.dir / "list").write_text(f"{self.logs[0]}\tALBO\tDNK\r\n{self.logs[1]}\n{self.logs[1]}\n")
        self.assertEqual(2, self.batch(source="list", code=0)["converted"])
        self.assertEqual(["ALBO00DNK", "S00100XXX"], sorted({pathlib.Path(name).name[:9] for name in self.files()}))
        (self.dir / "list").write_text("x.log\tALBO\tDenmark\n")
        self.assertRegex(kvx("convert", "--batch", self.dir / "list", code=1).stderr, "list:1: 'Denmark' is not three capital letters")
        (self.dir / "list").write_text(f"{self.logs[2]}\t\t\tANT # / TYPE={'7':20}CHOKE\n")
        self.assertEqual(1, self.batch(source="list", code=0)["converted"])
        (made,) = self.out.glob(f"*/*/{self.logs[2].stem}/*MO.rnx")
        self.assertIn(f"{'7':20}{'CHOKE':20}{'':20}ANT # / TYPE\n", made.read_text())

    def test_refusals(self):
        for options in (("--batch", "raw", "a.log"), ("--batch", "raw", "--join"), ("--tree", "{yyyy}", "a.log"), (),
                        ("--batch", "raw", "--tree", "../x"), ("--batch", "raw", "--tree", "{day}"), ("--batch", "raw", "--marker", "{x}")):
            kvx("convert", *options, code=2)
        kvx("convert", "--batch", self.dir / "none", code=1)

    def test_summary(self):
        self.batch()
        (self.dir / "list").write_text("".join(f"{log}\n" for log in (self.dir / "raw").rglob("S*.log")))
        totals = json.loads(kvx("summary", "--json", self.ledger, "--list", self.dir / "list", "-o", self.dir / "page.html", code=1).stdout)
        plain = [json.loads(kvx("convert", "--json", "-q", log, "-o", self.dir / "plain" / log.stem, "--marker", log.stem, code=None).stdout)
                 for log in self.logs]
        self.assertEqual([14, 11, 1, 2, 0], [totals[k] for k in ("logs", "converted", "damaged", "failed", "without_line")])
        for name in ("bytes", "epochs"):
            self.assertEqual(sum(log[name] for log in plain), totals[name])
        self.assertEqual(sum(row["records"] for log in plain for row in log["signals"]), totals["observations"]["in_log"])
        self.assertEqual(3, len(totals["not_well"]))
        self.assertIn("Not well: 3.", (self.dir / "page.html").read_text())
        (self.dir / "list").write_text("/none.log\n")
        self.assertEqual(1, json.loads(kvx("summary", "--json", self.ledger, "--list", self.dir / "list", code=1).stdout)["without_line"])


if __name__ == "__main__":
    unittest.main()
