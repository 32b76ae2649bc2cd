"""check_hardening.py READELF FILE...: what is built is hardened; programs, libraries and, for 64-bit Arm, objects.

Programs and libraries: position-independent, all relocations read-only before the first own instruction runs, no executable
stack, guarded stacks and fortified calls. Objects for Arm: every one marks its branch targets and signs its return addresses.
A linked file shows that no longer: the start files of Debian 12 have no such mark, and the linker keeps what all have.
"""

import re
import subprocess
import sys

LINKED = {
    "is not position-independent": r"Type:\s+DYN",
    "has relocations that stay writable": r"GNU_RELRO",
    "binds some functions late": r"\(FLAGS_1\)\s+Flags:.*\bNOW\b",
    "has an executable stack, or may have": r"GNU_STACK(\s+0x\w+){5}\s+RW\s",
    "has no guarded stacks": r"\b__stack_chk_fail\b",
    "has no fortified calls": r"\b__\w+_chk\b",
}
PROGRAM = {"is a program at a fixed place": r"\(FLAGS_1\)\s+Flags:.*\bPIE\b"}
ARM_OBJECT = {"does not mark its branch targets and sign its return addresses": r"AArch64 feature: BTI, PAC"}
NEVER = {"has text that is written to": r"\(TEXTREL\)"}


def faults(text):
    if re.search(r"Type:\s+REL ", text):
        wanted = ARM_OBJECT if re.search(r"Machine:\s+AArch64", text) else {}
    else:
        wanted = LINKED | (PROGRAM if "INTERP" in text else {})
    missing = [fault for fault, sign in wanted.items() if not re.search(sign, text)]
    return missing + [fault for fault, sign in NEVER.items() if re.search(sign, text)]


def main():
    readelf, *files = sys.argv[1:]
    if not files:
        sys.exit("check_hardening.py: no files")
    found = []
    for file in files:
        text = subprocess.run([readelf, "-hldnW", "--dyn-syms", file], check=True, stdout=subprocess.PIPE, text=True).stdout
        found += [f"{file}: {fault}" for fault in faults(text)]
    print("\n".join(found) or f"{len(files)} files are hardened")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
