#!/usr/bin/env python3
"""Takes the lines out of sources that are marked to be shown beside their pictures.

    snippets.py extract SOURCE OUTPUT   writes the marked lines of one source
    snippets.py check PAGE              fails where blocks of a Markdown page differ from the marked lines
    snippets.py update PAGE             puts the marked lines into these blocks

Lines are marked by a comment "// [snippet]" before and "// [/snippet]" behind them, as often as a source
likes. A block of a page follows a line "<!-- snippet: gallery/FILE -->", which names a source in apps/; so does scene/FILE.
"""
import re
import sys
import textwrap
from pathlib import Path

BEGIN = "// [snippet]"
END = "// [/snippet]"
GAP = "// ...\n"
MARK = re.compile(r"<!-- snippet: (?:gallery|scene)/")
BLOCK = re.compile(r"(<!-- snippet: ((?:gallery|scene)/\S+) -->\n```cpp\n)(.*?)(?=```$)", re.MULTILINE | re.DOTALL)


class SnippetError(Exception):
    """What is wrong with the marks, in one line that starts with the place."""


def extract(text, name):
    """The marked regions of a source, each moved to the left, with GAP between them."""
    regions = []
    begin = None
    lines = text.splitlines(keepends=True)
    for number, line in enumerate(lines, 1):
        mark = line.strip()
        if mark not in (BEGIN, END):
            continue
        if (mark == END) != (begin is not None):
            raise SnippetError(f"{name}:{number}: unexpected {mark}")
        if mark == BEGIN:
            begin = number
            continue
        region = textwrap.dedent("".join(lines[begin:number - 1]))
        if not region.strip():
            raise SnippetError(f"{name}:{begin}: nothing lies between the marks")
        regions.append(region)
        begin = None
    if begin is not None:
        raise SnippetError(f"{name}:{begin}: {BEGIN} is never closed")
    if not regions:
        raise SnippetError(f"{name}: no lines are marked with {BEGIN}")
    return GAP.join(regions)


def old_and_new(page):
    """The text of a page, and the text that it should have."""
    text = page.read_text(encoding="utf-8")
    marks = MARK.findall(text)
    if not marks or len(marks) != len(BLOCK.findall(text)):
        raise SnippetError(f"{page}: a block of C++ must follow each {MARK.pattern}... -->, and there must be one")

    def fill(match):
        source = page.parent / "apps" / match[2]
        return match[1] + extract(source.read_text(encoding="utf-8"), match[2])

    return text, BLOCK.sub(fill, text)


def main(arguments):
    command, paths = (arguments + [""])[0], [Path(argument) for argument in arguments[1:]]
    if command == "extract" and len(paths) == 2:
        source, output = paths
        output.parent.mkdir(parents=True, exist_ok=True)
        output.write_text(extract(source.read_text(encoding="utf-8"), source), encoding="utf-8")
    elif command in ("check", "update") and len(paths) == 1:
        page = paths[0]
        old, new = old_and_new(page)
        if command == "update":
            page.write_text(new, encoding="utf-8")
        elif old != new:
            raise SnippetError(f"{page}: code differs from its source; run scripts/snippets.py update {page.name}")
    else:
        raise SnippetError("usage: snippets.py extract SOURCE OUTPUT | check PAGE | update PAGE")


if __name__ == "__main__":
    try:
        main(sys.argv[1:])
    except (SnippetError, OSError) as error:
        sys.exit(str(error))
