"""The pages on kvx: every command on them runs, and prints what they show; help and manual say the same.

A page's ```sh blocks run in order, in a folder of their own. "exits N" behind the sh is the exit code of the block's
commands, else 0. A block without a language shows what came of those above it: its words, in order, with "..." for what is
left out. "board" needs hardware and is not run; "serial" and "stream" get a port, and a server, that play receiver.log.
"""

import os
import pathlib
import re
import signal
import socket
import subprocess
import tempfile
import time
import unittest

KVX = os.environ["KVX"]
DOCS = pathlib.Path(__file__).parents[2] / "docs"
PAGES = [DOCS.parent / "README.md", DOCS / "kvx.md", *sorted((DOCS / "kvx").glob("*.md"))]
BLOCK = re.compile(r"^```(.*)\n((?:.*\n)*?)^```$", re.M)
BOARDS = 3          # blocks that need one
GONE = 141          # kvx, when head has read enough


def run(command, folder, **options):
    environment = {**os.environ, "PATH": f"{folder}/bin:{os.environ['PATH']}", "HOME": str(folder), "LC_ALL": "C", "PAGER": "cat",
                   "MANPAGER": "cat", "MANWIDTH": "90"}
    return subprocess.run(["bash", "-o", "pipefail", "-c", command], cwd=folder, env=environment, stdin=subprocess.DEVNULL,
                          stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, timeout=120, **options)


def in_order(shown):
    return re.compile(r"\s+".join(".*?".join(map(re.escape, word.split("..."))) for word in shown.split()), re.S)


def commands(text):
    return [line.partition("   #")[0].replace("build/dev/tools/kvx/kvx", "kvx").strip()
            for line in text.replace("\\\n", "").splitlines()]


class Receiver:
    """Plays a log to the first who opens its serial port, or connects to it."""

    def __init__(self, kind, folder):
        self.kind, self.folder = kind, folder

    def __enter__(self):
        with socket.create_server(("127.0.0.1", 0)) as free:
            port = free.getsockname()[1]
        self.names = {"/dev/ttyUSB0": f"{self.folder}/ttyUSB0", "receiver.local:5017": f"127.0.0.1:{port}"}
        source, way = "OPEN:receiver.log", f"TCP-LISTEN:{port},bind=127.0.0.1"
        if self.kind == "serial":   # which loses what is still in it when it closes
            source = "SYSTEM:cat receiver.log; until cmp -s receiver.log survey.log; do sleep 0.1; done"
            way = f"PTY,link={self.names['/dev/ttyUSB0']},rawer,wait-slave"
        self.process = subprocess.Popen(["socat", "-u", source, way], cwd=self.folder, start_new_session=True)
        while not (os.path.lexists(self.names["/dev/ttyUSB0"]) or self.listens(port)):
            time.sleep(0.02)
        return self

    def listens(self, port):
        return f":{port:04X} 00000000:0000 0A" in pathlib.Path("/proc/net/tcp").read_text()

    def called(self, command):
        for name, own in self.names.items():
            command = command.replace(name, own)
        return command

    def __exit__(self, *_):
        os.killpg(self.process.pid, signal.SIGKILL)
        self.process.wait()


class Scratch(unittest.TestCase):
    def scratch(self):
        """A folder with kvx on the PATH."""
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        programs = pathlib.Path(folder.name) / "bin"
        programs.mkdir()
        (programs / "kvx").symlink_to(KVX)
        return pathlib.Path(folder.name)


class Pages(Scratch):
    def block(self, how, text, folder):
        """Runs a block, and gives all that it printed."""
        code = int(how.partition("exits ")[2] or 0)
        printed = ""
        for command in commands(text):
            if how in ("serial", "stream"):
                with Receiver(how, folder) as receiver:
                    done = run(receiver.called(command), folder)
            else:
                done = run(command, folder)
            self.assertTrue(done.returncode == code or done.returncode == GONE and "| head" in command, f"{command}\n{done.stdout}{done}")
            printed += done.stdout
        return printed

    def page(self, text):
        folder, printed = self.scratch(), None
        for match in BLOCK.finditer(text):
            language, _, how = match[1].partition(" ")
            if language == "sh" and how != "board":
                printed = self.block(how, match[2], folder)
            elif not language:
                self.assertIsNotNone(printed, f"nothing shows this:\n{match[2]}")
                self.assertRegex(printed, in_order(match[2]))

    def test_commands_run_and_print_what_is_shown(self):
        for page in PAGES:
            with self.subTest(page=page.name):
                self.page(page.read_text())

    def test_few_commands_need_a_board(self):
        self.assertLessEqual(sum(page.read_text().count("```sh board") for page in PAGES), BOARDS)

    def test_links_lead_somewhere(self):
        for page in [*DOCS.rglob("*.md"), *DOCS.parent.glob("*.md")]:
            for target in re.findall(r"\]\(([^)#:]+)(?:#[^)]*)?\)", page.read_text()):
                self.assertTrue((page.parent / target).exists(), f"{page}: {target}")


class Words(Scratch):
    """What the option table says: help, manual pages, and the pages' examples."""

    def names(self):
        return ["", *re.findall(r"(?m)^  (\w+)  ", run("kvx", self.folder).stdout.partition("Commands:")[2])]

    def setUp(self):
        self.folder = self.scratch()

    def help(self, name):
        return run(f"kvx help {name}", self.folder, check=True).stdout

    def test_examples_of_the_help_stand_on_the_pages(self):
        pages = "".join(page.read_text() for page in PAGES)
        for name in self.names():
            for example in re.findall(r"(?m)^    (\w*\W*kvx .*)$", self.help(name).partition("\nExamples:\n")[2]):
                self.assertIn(example, pages)

    def test_manual_pages_tell_all_that_the_help_tells(self):
        run("kvx manual -o man1", self.folder, check=True)
        names = {f"kvx-{name}.1".replace("-.", ".") for name in self.names()}
        self.assertEqual({path.name for path in (self.folder / "man1").iterdir()}, names)
        self.assertEqual(run("mandoc -Tlint man1/*; groff -man -ww -Tascii man1/* >/dev/null", self.folder).stdout, "")
        for name in self.names():
            text = self.help(name)
            self.assertTrue(all(len(line) <= 80 for line in text.partition("\nExamples:")[0].splitlines()), text)
            page = run(f"man -l man1/kvx{'-' * bool(name)}{name}.1", self.folder, check=True).stdout
            for option in re.findall(r"(?m)^  .{,4}(--[\w-]+)", text):
                self.assertRegex(page, rf"(?m)^ .*{option}\b")


if __name__ == "__main__":
    unittest.main()
