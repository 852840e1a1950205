#!/usr/bin/env python3
"""Compares what the pages quote and list with the sources: messages, renderers' state, capabilities, limits, links.

usage: check_texts.py ROOT
"""
import pathlib
import re
import sys

# Text on the page limits.md, and where the figure comes from.
LIMITS = [
    ('768 × 768 texels', 'Veltrand/GL/detail/GlyphPacking.h', 'textureSize = 768;'),
    ('2 to 65535', 'Veltrand/GL/detail/TextPlacement.h', 'fewestPixels = 2;'),
    ('2 to 65535', 'Veltrand/GL/detail/TextPlacement.h', '0xFFFF'),
    ('DejaVu Sans', 'Veltrand/GL/detail/FontFamilyRegistry.h', 'builtIn = "DejaVu Sans"'),
    ('151 degrees', 'Veltrand/Resources/VeltrandGL/WideLines.glh', '151 degrees'),
    ('48 bytes a point', 'Veltrand/GL/LineRenderer.cpp', 'verticesPerPoint = 4;'),
    ('48 bytes a point', 'Veltrand/GL/LineRenderer.cpp', 'numVertices() * 3 * sizeof(float)'),
    ('programs per context | 10', 'Veltrand/GL/LineRenderer.cpp', 'programCapacity = 10;'),
    ('4 per pixel on average', 'Veltrand/GL/OrderIndependentTransparency.h', 'm_nodesPerPixel = 4;'),
    ('bytes of a fragment | 12', 'Veltrand/GL/detail/NodeBudget.h', 'bytesPerNode = 12;'),
    ('0x55555555', 'Veltrand/GL/detail/NodeBudget.h', 'largestCapacity = 0x55555555;'),
    ('outputs | 8', 'Veltrand/GL/Framebuffer.h', 'maxColorAttachments = 8;'),
    ('2048 below OpenGL 4.3', 'Veltrand/GL/ImageProgram.cpp', 'leastWithoutQuery = 2048;'),
    ('4.8 s expected', 'Veltrand/GL/detail/ImagePlan.h', 'imageTimeLimit = 4800;'),
    ('first 50 slices', 'Veltrand/GL/detail/ImagePlan.h', 'initialSlices = 50;'),
    ('vertex array | 16', 'Veltrand/GL/VertexArrayObject.h', 'maxLocations = 16;'),
    ('256 levels', 'Veltrand/GL/ProgramSource.cpp', 'maxIncludeDepth = 256;'),
    ('65536 files', 'Veltrand/GL/ProgramSource.cpp', 'maxFiles = 65536;'),
    ('64 MiB a stage', 'Veltrand/GL/ProgramSource.cpp', 'maxSourceSize = std::size_t(1) << 26;'),
    ('10 configurations', 'Veltrand/GL/OffscreenRenderHelper.cpp', 'defaultCacheSize = 10;'),
    ('1 to 16 pixels', 'Veltrand/GL/OffscreenRenderHelper.cpp', 'maxOutlineWidth = 16;'),
    ('1 GiB', 'Veltrand/Core/Zstd.h', 'ByteSize::fromGB(1)'),
]
# Reasons that stand behind one quoted message, and what only the build sees.
NOT_QUOTED = ('FrameError', 'Veltrand/Resources/tools', 'Veltrand/Core/MonoCypher.cpp')

STRING = re.compile(r'"((?:[^"\\\n]|\\.)*)"')
REPORT = re.compile(r'logMessage\(\s*Log::(?:Warning|Error|Fatal)|Log::log\(Log::(?:Warning|Error|Fatal)|throw [\w:]+\(|'
                    r'refuse\(|std::runtime_error \w+\(')


def read(path):
    return path.read_text(encoding='utf-8')


def joined(source):
    """The source with adjacent literals made one, and quotes within them as they are printed."""
    source = re.sub(r'(?m)^\s*//.*$', '', source)
    return re.sub(r'(?<!\\)"\s*\n\s*"', '', source)


def quoted_messages(page):
    for line in page.splitlines():
        if line.startswith('| `'):
            yield line[3:line.index('` |')]


def check_messages(root):
    page = read(root / 'docs/error-messages.md')
    sources = {path: joined(read(path)) for path in sorted((root / 'Veltrand').rglob('*'))
               if path.suffix in ('.cpp', '.h')}
    printed = '\n'.join(sources.values()).replace('\\"', '"')
    for message in quoted_messages(page):
        pieces = [re.escape(piece) for piece in message.strip('… ').split('…')]
        if not re.search('.{0,400}?'.join(pieces), printed, re.S):
            yield f'error-messages.md quotes what no source says: {message}'

    plain = page.replace('…', '')
    for path, source in sources.items():
        for report in REPORT.finditer(source):
            statement = source[report.start():source.find(';\n', report.start())]
            texts = [t.replace('\\"', '"') for t in STRING.findall(statement) if ' ' in t.strip()]
            if not texts or any(name in f'{path.relative_to(root)} {statement}' for name in NOT_QUOTED):
                continue
            if max(texts, key=len).strip(' .:') not in plain:
                yield f'error-messages.md lacks a message of {path.relative_to(root)}: {max(texts, key=len)}'


def check_renderer_state(root):
    test = read(root / 'tests/gl/RendererStateGLTest.cpp')
    names = {m.group(1): set(STRING.findall(m.group(2)))
             for m in re.finditer(r'const Names (\w+)\{(.*?)\};', test, re.S)}
    table = re.search(r'const Renderer renderers\[\] = \{(.*?)\n\};', test, re.S).group(1)
    tested = {}
    for entry in re.split(r'\n    (?=\{")', table)[1:]:
        first, *others = STRING.findall(entry)
        words = re.findall(r'\b\w+\b', re.sub(r'".*?"', '', entry))
        tested[first] = set(others).union(*(names[word] for word in words if word in names))
    page = read(root / 'docs/renderer-state.md')
    listed = {row[0]: set(row[1].split(', ')) for row in re.findall(r'^\| ([\w, ]+) \| ([\w, ]+) \|$', page, re.M)
              if row[0] != 'Renderer'}
    for name in tested.keys() | listed.keys():
        if tested.get(name) != listed.get(name):
            yield f'renderer-state.md and RendererStateGLTest.cpp differ about {name}'
    snapshot = read(root / 'tests/support/StateSnapshot.cpp')
    watched = re.findall(r'(?m)^        \{"([^"]+)"', snapshot) + re.findall(r'snapshot\["([^"]+)"\]', snapshot)
    words = ' '.join(page[page.index('## What is watched'):].split())
    for name in watched:
        if name not in words:
            yield f'renderer-state.md does not say that the test watches: {name}'


def check_capabilities(root):
    page = read(root / 'docs/capabilities.md')
    source = read(root / 'apps/info/DriverReport.cpp')
    features = re.findall(r'\{"([^"]+)", (\d)(\d), (?:nullptr|"([^"]+)"), "([^"]+)"\}', source)
    if not features:
        yield 'DriverReport.cpp has no table of features'
    for name, major, minor, extension, otherwise in features:
        row = re.search(rf'^\| {major}\.{minor} \| {re.escape(name)}(.*)$', page, re.M)
        if not row or extension not in row.group(1) or otherwise not in row.group(1):
            yield f'capabilities.md lacks what veltrandgl-info says of: {name}'


def check_limits(root):
    page = read(root / 'docs/limits.md')
    for text, file, origin in LIMITS:
        if text not in page:
            yield f'limits.md does not say: {text}'
        if origin not in read(root / file):
            yield f'{file} does not say: {origin}, so limits.md may be wrong about: {text}'


def check_links(root):
    for page in [root / 'README.md', root / 'CONTRIBUTING.md', *sorted((root / 'docs').glob('*.md'))]:
        for target in re.findall(r'\]\(([^)#:]+)\)', read(page)):
            if not (page.parent / target).exists():
                yield f'{page.relative_to(root)} links to {target}, which is not there'


def main():
    root = pathlib.Path(sys.argv[1])
    checks = (check_messages, check_renderer_state, check_capabilities, check_limits, check_links)
    failures = [failure for check in checks for failure in check(root)]
    print('\n'.join(failures))
    sys.exit(1 if failures else 0)


if __name__ == '__main__':
    main()
