// SPDX-License-Identifier: BSD-3-Clause
#include <Veltrand/GL/ShaderLineMap.h>

#include <algorithm>
#include <cstddef>
#include <utility>

namespace Veltrand::GL {

ShaderLineMap::ShaderLineMap(std::vector<File> files, std::vector<Run> runs, int lineCount)
    : m_files(std::move(files))
    , m_runs(std::move(runs))
    , m_lineCount(lineCount) {}

std::optional<ShaderLocation> ShaderLineMap::locate(int line) const {
    return locate(line, &File::name);
}

std::optional<ShaderLocation> ShaderLineMap::locateAsNamed(int line) const {
    return locate(line, &File::directive);
}

std::optional<ShaderLocation> ShaderLineMap::locate(int line, std::string File::*name) const {
    if (line < 1 || line > m_lineCount)
        return std::nullopt;
    const auto next = std::upper_bound(m_runs.begin(), m_runs.end(), line - 1,
                                       [](int wanted, const Run& run) { return wanted < run.line; });
    if (next == m_runs.begin())
        return std::nullopt;
    const Run& run = *std::prev(next);
    if (run.file < 0 || static_cast<std::size_t>(run.file) >= m_files.size())
        return std::nullopt;
    return ShaderLocation{m_files[static_cast<std::size_t>(run.file)].*name,
                          run.fileLine + line - 1 - run.line};
}

} // namespace Veltrand::GL
