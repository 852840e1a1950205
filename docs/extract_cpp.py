#!/usr/bin/env python3
"""Makes a translation unit of each C++ block of the pages and prints their names.

usage: extract_cpp.py FOLDER PAGE...
"""
import pathlib
import sys

import pages


def is_program(block):
    return any(line.startswith('#include') for line in block.code)


def text_of(block):
    code = [f'#line {block.line} "{block.page}"', *block.code]
    if is_program(block):
        return code
    hidden = [f'#line {block.hidden_line} "{block.page}"', *block.before] if block.before else []
    head = ['#include <Snippets.h>', 'using namespace Veltrand; // NOLINT']
    if block.is_surrounded:
        return [*head, *hidden, *code, f'#line {block.hidden_line + len(block.before) + 1} "{block.page}"',
                *block.after]
    return [*head, 'int snippet();', 'int snippet() {', *hidden, *code, 'return 0;', '}']


def main():
    folder = pathlib.Path(sys.argv[1])
    folder.mkdir(parents=True, exist_ok=True)
    for page in map(pathlib.Path, sys.argv[2:]):
        found = [b for b in pages.blocks(page) if b.language == 'cpp' and not b.is_in_gallery]
        for number, block in enumerate(found, 1):
            path = folder / f'{page.stem}-{number}{"-program" if is_program(block) else ""}.cpp'
            text = '\n'.join(text_of(block)) + '\n'
            if not path.exists() or path.read_text(encoding='utf-8') != text:
                path.write_text(text, encoding='utf-8')
            print(path)


if __name__ == '__main__':
    main()
