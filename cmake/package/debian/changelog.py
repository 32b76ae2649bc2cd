"""changelog.py CHANGELOG.md MAINTAINER FILE.gz: the released versions of a change log as Debian writes them."""

import datetime
import gzip
import re
import sys
import textwrap

source, maintainer, target = sys.argv[1:]
with open(source, encoding="utf-8") as file:
    text = file.read()

entries = []
for version, day, changes in re.findall(r"^## ([\d.]+) \((\d{4}-\d\d-\d\d)\)\n(.*?)(?=^## |\Z)", text, flags=re.M | re.S):
    lines = []
    for item in re.findall(r"^- (.*?)(?=^\S|\Z)", changes, flags=re.M | re.S):
        words = " ".join(item.replace("`", "").split())
        lines += textwrap.wrap(words, 78, initial_indent="  * ", subsequent_indent="    ", break_long_words=False)
    date = datetime.datetime.fromisoformat(day).strftime("%a, %d %b %Y 12:00:00 +0000")
    entries.append("\n".join([f"rtk-utils ({version}-1) unstable; urgency=medium", "", *lines, "", f" -- {maintainer}  {date}", ""]))
if not entries:
    sys.exit(f"{source}: no version with a date")
with open(target, "wb") as raw, gzip.GzipFile("", "wb", 9, raw, mtime=0) as file:   # the same bytes whenever it is made
    file.write("\n".join(entries).encode())
