"""compare_format_pages.py LIBRARY PAGES: the pages of the receiver log say what the readers read, and nothing else.

Each field has its place, type and power-of-two scale in a reader, and each place that a reader reads stands on a page;
so do the messages, the signals and the bits of the tracking status. The fields of a body leave no bit of it out.
"""

import pathlib
import re
import sys

LIBRARY, PAGES = (pathlib.Path(folder) for folder in sys.argv[1:])
CODE = "\n".join(re.sub(r"//.*", "", file.read_text("utf-8")) for file in sorted(LIBRARY.glob("src/gnss/log/*")))
ENUM = dict(re.findall(r"(MSG_\w+) = (\d+)", (LIBRARY / "include/rtk_gnss.h").read_text("utf-8")))
SYSTEMS = {"GPS": "GPS", "GLO": "GLONASS", "GAL": "Galileo", "QZS": "QZSS", "BDS": "BeiDou", "SBS": "SBAS"}
SIZES = {name: int(n) for row in re.findall(r"constexpr int (.*?);", CODE) for name, n in re.findall(r"(\w+) = (\d+)", row)}
WHOLE = {"43": "kRangeSize", "140": "kRangeCompressedSize", "11111": "kStopAndGoFullSize"}   # bodies that can be shorter

# Parameters and text of functions, and constants, by name. Those of one name count together.
THINGS = {}
for name, parameters, text in re.findall(r"^[\w:&*]+[^\n;=]*[ *&](\w+)\(([^{;]*)\)\n\{\n(.*?)^\}", CODE, re.M | re.S):
    THINGS[name] = (parameters, THINGS.get(name, ("", ""))[1] + re.sub(r"\( ", "(", re.sub(r"\s+", " ", text)))
THINGS.update({name: ("", text) for name, text in re.findall(r"^constexpr \w+ (\w+) = (\{.*?\});", CODE, re.M | re.S)})


def left_of(bits, steps):
    """The bits that shifts and masks leave of a field, from its lowest."""
    for step, number in re.findall(r"(<<|>>|&) (\w+)", steps):
        n = int(number, 0)
        bits = [None] * n + bits[:-n] if step == "<<" else bits[n:] if step == ">>" else bits[:n.bit_length()]
    return bits


def reads(name, base=0):
    """First bit, kind, width and power of two of the scale of what a reader takes from its bytes."""
    parameters, text = THINGS[name]
    p = re.search(r"uint8_t\* (\w+)", parameters).group(1)
    for kind, size, at, index, steps in re.findall(
            rf"(?:wire::(\w)(\d+)\({p}(?: \+ (.*?))?\)|\b{p}\[(\d+)\])((?: (?:<<|>>|&) \w+)*)", text):
        at = re.sub(r"k[A-Z]\w+", lambda m: str(SIZES[m.group()]), at or index or "0")
        times = int(re.search(r"i < (\d+);", text).group(1)) if "i" in at else 1
        for place in {eval(at, {}, {"i": i}) for i in range(times)}:
            bits = left_of([8 * (base + place) + bit for bit in range(int(size or 8))], steps)
            yield bits[0], kind or "u", len(bits), ""
    for form, at, width, power in re.findall(rf"\b(bits|scaled_unsigned|scaled)\({p}, (\d+), (\d+)(?:, (-?\d+))?\)", text):
        yield 8 * base + int(at), "i" if form == "scaled" else "u", int(width), power
    for field, at, size in re.findall(rf"(?:memcpy|copy_n)\((?:\w+\.(\w+), )?{p} \+ (\d+), (\w+)", text):
        size = re.search(rf"char .*\b{field}\[(\d+)\]", CODE).group(1) if field else size
        yield from ((8 * (base + int(at) + i), "char" if field else "u", 8, "") for i in range(int(size)))
    for other, at in re.findall(rf"\b(read_\w+)\({p}(?: \+ (\d+))?[,)]", text):
        yield from reads(other, base + int(at or 0))


def used_by(name, seen):
    """Adds all names that a thing needs, but none that only a reader needs."""
    if name not in seen:
        seen.add(name)
        for other in re.findall(r"\w+", "" if name.startswith("read_") else THINGS.get(name, ("", ""))[1]):
            used_by(other, seen)
    return seen


def told_by_code():
    yield from (("field", "frame", *field) for field in reads("read_header"))
    yield from (("bit", "frame", bit) for bit in range(8 * SIZES["kHeaderSize"]))
    status = re.search(r"trackstat_t read_trackstat.*?\n}", CODE, re.S).group()
    for at, size in re.findall(r"bits\((\d+), (\d+)\)", status):
        at, end = int(at), int(at) + int(size)
        yield "status", f"{at}-{end - 1}" if end > at + 1 else str(at), f"0x{(1 << end) - (1 << at):08X}"
    for systems, *row in re.findall(r'\{(SYS_[\w |]+), +(\d+), "(.*?)", +"?(\w+)"?, +(\d+), +(\d+), k', CODE):
        yield "signal", ", ".join(SYSTEMS[s] for s in re.findall(r"SYS_(\w+)", systems)), *(c.replace("nullptr", "-") for c in row)
    rows = {name: row for name, *row in re.findall(r"\{(MSG_\w+), +(\w+), +(DECODE_\w+), (\w+)\}", CODE)}
    for name, number in ENUM.items():
        size, short, decode = rows.get(name, ("-", "-", ""))
        used = used_by(decode, set())
        brings = {u for u in used if u.startswith("DECODE_")} - {"DECODE_REFUSED", "DECODE_NOTHING"}
        yield "message", number, name, str(SIZES.get(size, size)), short, *(brings or {"DECODE_NOTHING"})
        for reader in (u for u in used if u.startswith("read_") and "uint8_t*" in THINGS[u][0]):
            yield from (("field", number, *field) for field in reads(reader))
            yield from (("bit", number, bit) for bit in range(8 * SIZES[WHOLE.get(number, size)]))


def told_by_row(message, start, text, unit):
    number, of, kind, width, count, first, last = re.fullmatch(
        r"(?:(\d+) (byte|bit)s?|(u|i|f|char)(\d*)(?:\[(\d+)\])?(?: bits (\d+)-(\d+))?)", text).groups()
    size = int(number) * (8 if of == "byte" else 1) if of else int(width or 8)
    power = re.search(r"2\^(-?\d+)|$", unit).group(1) or ""
    for begin in range(start, start + size * int(count or 1), size):
        yield from (("bit", message, bit) for bit in range(begin, begin + size))
        if not of:
            yield "field", message, begin + int(first or 0), kind, int(last) - int(first) + 1 if first else size, power


def told_by_pages():
    ids, head = [], []
    for line in "\n".join(page.read_text("utf-8") for page in sorted(PAGES.glob("log-*.md"))).splitlines():
        if line.startswith("## "):
            ids = ["frame"] if line == "## Frame" else re.findall(r"\d+", line.split(":")[0])
        cells = [cell.strip(" `") for cell in line.strip("|").split("|")] if line.startswith("|") else []
        head = head or cells if cells else []
        row = dict(zip(head, cells))
        if not cells or cells == head or cells[0].startswith("---") or row.get("Type") == "N bytes":
            continue
        facts = {"ID": ("message", *cells[:2], *cells[3:]), "System": ("signal", *cells), "Bits": ("status", *cells[:2])}
        if head[0] in facts:
            yield facts[head[0]]
        for name, cell in row.items():
            column = re.fullmatch(r"Offset|In (\d+)|Bit from byte (\d+)", name)
            if column and cell != "-":
                start = 8 * int(column.group(2)) + int(cell) if column.group(2) else 8 * int(cell)
                for message in [column.group(1)] if column.group(1) else ids:
                    yield from told_by_row(message, start, row["Type"], row.get("Unit", ""))


code, pages = set(told_by_code()), set(told_by_pages())
for fact in sorted(code ^ pages, key=str):
    print("only in the sources:" if fact in code else "only on the pages:", *fact)
print(*(f"{sum(f[0] == kind for f in code)} {kind}s" for kind in ("message", "field", "signal")), sep=", ")
sys.exit(code != pages or not code)
