"""compare.py FOLDER JOB...: each job has accounted for every log of FOLDER/list once, and made what FOLDER/plain holds."""

import gzip
import json
import pathlib
import re
import sys

folder = pathlib.Path(sys.argv[1])
logs = {str(folder.resolve() / name) for name in (folder / "list").read_text().splitlines() if not name.startswith("#")}


def files_of(root):
    return {str(path.relative_to(root)): re.sub(rb"(?m)^.*(PGM / RUN BY|CRINEX PROG).*\n", b"", gzip.decompress(path.read_bytes()))
            for path in root.rglob("*.gz")}


plain = files_of(folder / "plain")
for job in sys.argv[2:]:
    lines = {}
    for ledger in (folder / job / "ledgers").iterdir():
        for line in map(json.loads, ledger.read_text().splitlines()):
            assert lines.setdefault(line["log"], (ledger, line))[0] == ledger, f"{line['log']} is in two parts"
            lines[line["log"]] = ledger, line
    assert set(lines) == logs, logs ^ set(lines)
    failed = {pathlib.Path(log).name for log, (_, line) in lines.items() if line["code"] == 1}
    assert failed == {"empty.log", "text.log", "missing.log"}, failed
    made = files_of(folder / f"{job}-files")
    assert made == plain, (len(made), len(plain), sorted(made.keys() ^ plain.keys())[:5])
    entered = sorted(file["name"] for _, line in lines.values() for file in line["files"])
    assert entered == sorted(made), set(entered) ^ set(made)
    left = [path for path in (folder / f"{job}-files").rglob(".kvx*")]
    assert not left, left
    told = json.loads((folder / job / "summary.json").read_text())
    assert (told["logs"], told["failed"], told["without_line"]) == (len(logs), 3, 0), told
    print(f"{job}: {len(logs)} logs, each once; {len(made)} files as of a plain run")
