"""What the comparisons of converted logs share: the command line, the run of kvx, the comparison of observations."""

import argparse
import shutil
import subprocess
from collections import Counter
from decimal import Decimal
from itertools import zip_longest
from pathlib import Path

from rinex_reader import Header, observations, read_lines, ticks_text


class Fault(Exception):
    """A file is not what it must be."""


def arguments(description):
    parser = argparse.ArgumentParser(description=description, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--kvx", required=True, help="the program")
    parser.add_argument("--recordings", type=Path, help="folder of the recordings")
    parser.add_argument("--workdir", required=True, type=Path, help="where the files are kept")
    return parser.parse_args()


def convert(kvx, log, folder, *options):
    """Runs kvx; the files that it wrote, and what it printed."""
    shutil.rmtree(folder, ignore_errors=True)
    command = [kvx, "convert", log, "-o", folder, *options]
    printed = subprocess.run(command, stdout=subprocess.PIPE, check=True, timeout=600).stdout
    return sorted(folder.iterdir()), printed


def compare_value(where, found, wanted, tolerance):
    text, bits, digit = wanted
    if found.text != text and not abs(Decimal(found.text) - Decimal(text)) <= tolerance:
        raise Fault(f"{where}: {found.text} is written, it must be {text}")
    if int(found.lli.strip() or 0) != bits:
        raise Fault(f"{where}: loss-of-lock digit {found.lli!r}, it must be {bits}")
    if digit is not None and found.strength.strip() not in ("", digit):
        raise Fault(f"{where}: strength digit {found.strength!r}, it must be {digit!r} or blank")


def compare(path, wanted, tolerances=None, ignored=""):
    """Compares a file with what must stand there, one by one: (ticks, {satellite: {code: (text, loss-of-lock digit,
    strength digit or None for any)}}). Values of kinds in `ignored` may stand there besides. Its header, and how many
    values it has by (system, code)."""
    lines = read_lines(path)
    header, counts = Header(lines), Counter()
    for epoch, must in zip_longest(observations(lines, header), wanted):
        if epoch is None or must is None or epoch[0] != must[0]:
            raise Fault(f"{path}: epochs: {epoch and ticks_text(epoch[0])} is written, "
                        f"{must and ticks_text(must[0])} must come")
        found, values = ({(name, code): value for name, codes in satellites.items() for code, value in codes.items()
                          if code[0] not in ignored} for satellites in (epoch[1], must[1]))
        where = f"{path}: {ticks_text(epoch[0])}"
        if found.keys() != values.keys() or epoch[1].keys() != must[1].keys():
            raise Fault(f"{where}: missing {sorted(values.keys() - found.keys())}, extra "
                        f"{sorted(found.keys() - values.keys())}, satellites {epoch[1].keys() ^ must[1].keys()}")
        for (name, code), value in found.items():
            tolerance = (tolerances or {}).get(code[0].replace("P", "C"), 0)
            compare_value(f"{where} {name} {code}", value, values[name, code], tolerance)
            counts[name[0], code] += 1
    if not counts:
        raise Fault(f"{path}: no values")
    return header, counts
