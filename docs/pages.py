"""The code blocks of the Markdown pages.

A block says by a comment in front of it how it is compiled:

    <!-- snippet                    lines that the reader is spared: they come before the block, and a line
    GL::Program program = ...;      "..." among them stands for the block, if something comes after it too
    -->
    <!-- snippet: WORDS             words for the kind of block, with or without such lines
    -->

C++ without "..." is the body of a function, in which namespace Veltrand is open and the headers of Snippets.h are
included; with "..." it stands at namespace scope. A block with includes of its own is compiled
as it is. GLSL names its file, such as My/light.glh, with options for veltrandgl-shadercheck behind it; or, after the
word "print", the shader whose assembled text it is. The word gallery/FILE or scene/FILE means that the block is part of
that source.
"""
import pathlib
import re
from dataclasses import dataclass

FENCE = re.compile(r'^```(\w*)\s*$')
COMMENT = re.compile(r'<!--\s*snippet(?::[ ]*(?P<words>[^\n]*?))?[ ]*(?:\n(?P<lines>.*?))?[ ]*-->\s*\Z', re.S)


@dataclass
class Block:
    page: pathlib.Path
    language: str
    line: int  # of the first line of code, from 1
    code: list
    words: list
    before: list
    after: list
    hidden_line: int  # of the first line of `before`
    is_surrounded: bool

    @property
    def is_in_gallery(self):
        return bool(self.words) and self.words[0].startswith(('gallery/', 'scene/'))


def blocks(page):
    lines = page.read_text(encoding='utf-8').split('\n')
    result = []
    i = 0
    while i < len(lines):
        fence = FENCE.match(lines[i])
        if not fence:
            i += 1
            continue
        end = next(k for k in range(i + 1, len(lines)) if lines[k].startswith('```'))
        result.append(block(page, fence.group(1), lines, i + 1, end))
        i = end + 1
    return result


def block(page, language, lines, begin, end):
    above = '\n'.join(lines[:begin - 1]).rstrip()
    start = above.rfind('<!--')
    comment = COMMENT.match(above[start:]) if start >= 0 else None
    words, hidden, hidden_line = [], [], 0
    if comment:
        words = (comment.group('words') or '').split()
        hidden = (comment.group('lines') or '').rstrip('\n').split('\n') if comment.group('lines') else []
        hidden_line = above[:start].count('\n') + 2
    marks = [k for k, line in enumerate(hidden) if line.strip() == '...']
    cut = marks[0] if marks else len(hidden)
    return Block(page, language, begin + 1, lines[begin:end], words, hidden[:cut], hidden[cut + 1:], hidden_line,
                 bool(marks))
