"""tidy.py BUILD FILE...: clang-tidy over sources, two at a time, by the commands of BUILD/compile_commands.json.

A source that was found clean is not looked at again before something changes of what it reads: its own text, that of its
headers with their comments, the checks, the command or clang-tidy itself. BUILD/clean keeps a mark for each.
"""

import concurrent.futures
import hashlib
import json
import pathlib
import re
import shlex
import subprocess
import sys

FOR_GCC_ALONE = {"-fno-gnu-unique", "-Wno-restrict"}


def commands(build):
    """The command of each source, as arguments clang understands, without what it writes."""
    found = {}
    for entry in json.loads((build / "compile_commands.json").read_text()):
        words = [word for word in shlex.split(entry["command"]) if word not in FOR_GCC_ALONE]
        compiler = next(at for at, word in enumerate(words) if re.search(r"(\+\+|\bg?cc)(-\d+)?$", word))
        written = words.index("-o")
        arguments = words[compiler + 1 : written] + words[written + 2 :]
        found.setdefault(pathlib.Path(entry["file"]), (entry["directory"], [word for word in arguments if word != "-c"]))
    return found


def look(source, directory, arguments, clean, common):
    read = subprocess.run(["clang++", *arguments, "-E", "-CC"], cwd=directory, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
    mark = clean / hashlib.sha256(common + repr(arguments).encode() + read.stdout).hexdigest()
    if read.returncode == 0 and mark.exists():
        return True, ""
    command = ["clang-tidy", "--quiet", str(source), "--", *arguments]
    result = subprocess.run(command, cwd=directory, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
    if result.returncode == 0 and not result.stdout and read.returncode == 0:
        mark.touch()
    return result.returncode == 0, result.stdout + (result.stderr if result.returncode else "")


def main():
    build, *names = sys.argv[1:]
    build = pathlib.Path(build).resolve()
    clean = build / "clean"
    clean.mkdir(exist_ok=True)
    known = commands(build)
    common = pathlib.Path(".clang-tidy").read_bytes() + subprocess.run(["clang-tidy", "--version"], stdout=subprocess.PIPE).stdout
    sources = [pathlib.Path(name).resolve() for name in names]
    unknown = [str(source) for source in sources if source not in known]
    if unknown:
        sys.exit("tidy.py: not built, so nobody knows how to read: " + " ".join(unknown))
    with concurrent.futures.ThreadPoolExecutor(2) as pool:
        results = list(pool.map(lambda source: look(source, *known[source], clean, common), sources))
    for _, text in results:
        sys.stdout.write(text)
    return 0 if all(good for good, _ in results) else 1


if __name__ == "__main__":
    sys.exit(main())
