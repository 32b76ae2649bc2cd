"""check_exports.py NM LIBRARY LIST: the library exports the names of the list and no others.

A new export is a line in a review.
"""

import re
import subprocess
import sys

BASIC = set("bool char const double float for guard int long name short signed typeinfo unsigned variable void vtable".split())


def exported(nm, library):
    symbols = subprocess.run([nm, "-DC", "--defined-only", library], check=True, stdout=subprocess.PIPE, text=True).stdout
    names = set()
    for line in symbols.splitlines():
        _, kind, name = line.split(" ", 2)
        words = set(re.findall(r"[A-Za-z_]\w*", re.sub(r"\b(std|__gnu_cxx)(::\w+)+|::\w+", "", name)))
        if kind != "u" and (name.startswith("__") or words <= BASIC):
            continue   # the toolchain's own; a unique symbol would keep the library from being unloaded
        names.add(name)
    return names


def main():
    nm, library, listing = sys.argv[1:]
    with open(listing, encoding="utf-8") as file:
        reviewed = {line.strip() for line in file if line.strip() and not line.startswith("#")}
    found = exported(nm, library)
    for name in sorted(found - reviewed):
        print(f"exported but not in {listing}: {name}")
    for name in sorted(reviewed - found):
        print(f"in {listing} but not exported: {name}")
    return 0 if found == reviewed else 1


if __name__ == "__main__":
    sys.exit(main())
