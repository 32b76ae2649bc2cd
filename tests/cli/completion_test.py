"""What bash, zsh and fish make of command lines that somebody is typing, with the scripts of kvx completion.

bash and zsh run on a terminal of their own: a key inserts all that they would offer, and another writes the line down.
"""

import os
import pathlib
import pty
import select
import shlex
import subprocess
import tempfile
import time
import unittest

KVX = os.environ["KVX"]
ODD, FOLDER = """my $site's "best" log.gz""", "my folder"

# Typed, and the words that may stand there: of the files, those above.
TABLE = [
    ("kvx con", {"convert"}),
    ("kvx --ver", {"--version"}),
    ("kvx dump ", {"info", "verify", "cat", "replay"}),
    ("kvx dump replay --l", {"--library"}),
    ("kvx convert --n", {"--name", "--nav", "--nav-repeats", "--no-signal-map"}),
    ("kvx convert --json log --nav-", {"--nav-repeats"}),
    ("kvx convert --nav ", {"split", "mixed", "none"}),
    ("kvx convert --nav=m", {"mixed"}),
    ("kvx convert --rinex 3", {"3.04", "3.05"}),
    ("kvx convert -o my", {FOLDER}),
    ("kvx info my", {FOLDER, ODD}),
    ("kvx positions -o x --format g", {"geojson", "gpx"}),
    ("kvx convert --marker m", set()),
    ("kvx check --allow cr-lf,last-", {"cr-lf,last-line-end"}),
    ("kvx gpio get m", set()),
    ("kvx gpio set 1:5 ", {"0", "1"}),
    ("kvx completion ", {"bash", "zsh", "fish"}),
]

BASH = r"""
source kvx.bash
wrote() { printf %s "$READLINE_LINE" > line.new; mv line.new line; READLINE_LINE=; }
bind '"\C-t": insert-completions'
bind -x '"\C-y": wrote'
"""
ZSH = r"""
fpath=($PWD $fpath); autoload -Uz compinit; compinit -u -D
everything() { _main_complete; compstate[insert]=all; compstate[list]= }
zle -C everything complete-word everything; bindkey '^T' everything
wrote() { print -rn -- "$BUFFER" > line.new; mv line.new line; BUFFER= }
zle -N wrote; bindkey '^Y' wrote
"""


def written(script):
    return subprocess.run([KVX, "completion", script], capture_output=True, check=True, timeout=60).stdout


class Completion(unittest.TestCase):
    def setUp(self):
        scratch = tempfile.TemporaryDirectory()
        self.addCleanup(scratch.cleanup)
        self.dir = pathlib.Path(scratch.name)
        (self.dir / FOLDER).mkdir()
        (self.dir / ODD).touch()
        self.environment = {"PATH": os.environ["PATH"], "HOME": scratch.name, "TERM": "dumb", "LC_ALL": "C.UTF-8"}

    def words(self, typed, line):
        """What came in the place of the last word."""
        before = shlex.split(typed if typed.endswith(" ") else typed.rpartition(" ")[0])
        after = shlex.split(line)
        self.assertEqual(after[:len(before)], before, line)
        if after[len(before):] == [typed.rpartition(" ")[2]]:
            return set()   # nothing came
        return {word.removeprefix("--nav=").rstrip("=/,") for word in after[len(before):]}

    def line(self, terminal):
        """What the shell has written down, as soon as it is there."""
        path, end = self.dir / "line", time.monotonic() + 60
        while not path.exists() and time.monotonic() < end:
            if select.select([terminal], [], [], 0.01)[0]:
                os.read(terminal, 4096)   # what it shows, so that it does not wait
        text = path.read_text()
        path.unlink()
        return text

    def on_a_terminal(self, command, start):
        (self.dir / "start").write_text(start + "\n: > line\n")
        child, terminal = pty.fork()
        if child == 0:
            os.chdir(self.dir)
            os.execvpe(command[0], command, self.environment)
        os.write(terminal, b". ./start\n")
        self.line(terminal)
        for typed, expected in TABLE:
            os.write(terminal, f"{typed}\x14\x19".encode())
            with self.subTest(typed=typed):
                self.assertEqual(self.words(typed, self.line(terminal)), expected)
        os.close(terminal)
        os.waitpid(child, 0)

    def test_bash(self):
        (self.dir / "kvx.bash").write_bytes(written("bash"))
        self.on_a_terminal(["bash", "--norc", "--noprofile", "-i"], BASH)

    def test_zsh(self):
        (self.dir / "_kvx").write_bytes(written("zsh"))
        self.on_a_terminal(["zsh", "-f", "-i"], ZSH)

    def test_fish(self):
        (self.dir / "kvx.fish").write_bytes(written("fish"))
        for typed, expected in TABLE:
            with self.subTest(typed=typed):
                shown = subprocess.run(["fish", "--no-config", "-c", f"source kvx.fish; complete -C {shlex.quote(typed)}"], cwd=self.dir,
                                       env=self.environment, capture_output=True, text=True, check=True, timeout=60).stdout
                lines = [line.split("\t") for line in shown.splitlines()]
                self.assertEqual({line[0].removeprefix("--nav=").rstrip("/") for line in lines}, expected)
                if expected and typed.endswith("--n"):
                    self.assertTrue(all(line[1] for line in lines), "options are described")


if __name__ == "__main__":
    unittest.main()
