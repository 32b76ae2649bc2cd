"""pages.py PAGE: a page of docs/ as the reference takes it.

Headings get anchors that are of their page, links to headings lead to these, and links to what is not in docs/ become
text. A link to a page that is not there is left for the reference to complain of.
"""

import os
import pathlib
import re
import sys

DOCS = pathlib.Path(__file__).resolve().parent.parent
page = pathlib.Path(sys.argv[1]).resolve()


def anchor(path, slug):
    return os.path.relpath(path, DOCS).removesuffix(".md").replace("/", "-") + "-" + slug


def slug(heading):
    text = re.sub(r"\[([^\]]*)\]\([^)]*\)", r"\1", heading.strip()).lower()
    return re.sub(r"[^\w\- ]", "", text).replace(" ", "-")


def link(m):
    text, target = m.groups()
    if re.match(r"\w+:", target) or target.endswith(".png"):
        return m.group()
    path, _, heading = target.partition("#")
    to = (page.parent / path).resolve() if path else page
    if DOCS not in to.parents or to.suffix != ".md":
        return text
    return m.group() if not heading and to.exists() else f"[{text}](@ref {anchor(to, heading)})"


for part in re.split(r"(^```.*?^```$)", page.read_text("utf-8"), flags=re.M | re.S):
    if not part.startswith("```"):
        part = re.sub(r"\[([^\[\]]*)\]\(([^()\s]*)\)", link, part)
        part = re.sub(r"^(##+ )(.*)$", lambda m: f"{m.group()} {{#{anchor(page, slug(m.group(2)))}}}", part, flags=re.M)
    sys.stdout.write(part)
