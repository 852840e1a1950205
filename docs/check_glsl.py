#!/usr/bin/env python3
"""Compiles the GLSL blocks of the pages, and compares assembled texts with what the preprocessor makes.

usage: check_glsl.py SHADERCHECK FOLDER PAGE...
"""
import pathlib
import subprocess
import sys

import pages

STAGES = ('.vert', '.frag', '.geom', '.tesc', '.tese', '.comp')


def run(program, folder, words):
    repositories = [word for path in sorted(folder.iterdir()) for word in ('--dir', f'{path.name}={path}')]
    return subprocess.run([program, *repositories, *words], capture_output=True, text=True, check=False)


def check_page(program, folder, page):
    glsl = [b for b in pages.blocks(page) if b.language == 'glsl' and not b.is_in_gallery]
    files = [b for b in glsl if b.words and b.words[0] != 'print']
    for block in glsl:
        if not block.words:
            yield f'{page}:{block.line}: the block does not name its file (see pages.py)'
    for block in files:
        path = folder / block.words[0]
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text('\n'.join([*block.before, *block.code, *block.after]) + '\n', encoding='utf-8')
    for block in files:
        if not block.words[0].endswith(STAGES):
            continue
        result = run(program, folder, [*block.words[1:], block.words[0]])
        if result.returncode != 0:
            yield f'{page}:{block.line}: {block.words[0]}\n{result.stdout}{result.stderr}'
    for block in glsl:
        if not block.words or block.words[0] != 'print':
            continue
        result = run(program, folder, ['--print', *block.words[1:]])
        if result.returncode != 0 or result.stdout.rstrip() != '\n'.join(block.code).rstrip():
            yield f'{page}:{block.line}: not what the preprocessor makes, which is\n{result.stdout}{result.stderr}'


def main():
    program, folder = sys.argv[1], pathlib.Path(sys.argv[2])
    failures = [failure for page in map(pathlib.Path, sys.argv[3:])
                for failure in check_page(program, folder / page.stem, page)]
    print('\n'.join(failures))
    sys.exit(1 if failures else 0)


if __name__ == '__main__':
    main()
