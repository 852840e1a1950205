// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <Veltrand/GL/Export.h>

#include <optional>
#include <string>
#include <vector>

namespace Veltrand::GL {

/// A line of a GLSL file.
struct ShaderLocation {
    std::string file; ///< as named by the directive that inserted it, or the name of the shader itself
    int line = 0;     ///< from 1
    friend bool operator==(const ShaderLocation&, const ShaderLocation&) = default;
};

/// Tells which line of which file each line of an assembled shader text comes from.
///
/// It is made beside the text, so it knows what the text does not show: lines that were taken out or put in.
/// A plain value without OpenGL, for any thread.
class VELTRAND_GL_API ShaderLineMap {
public:
    /// A file that the text was made from.
    struct File {
        std::string name;      ///< of the resource
        std::string directive; ///< the name in the directive: of an abstract include, that of the hole
    };
    /// Lines that follow each other in the text as in a file, until the next run begins.
    struct Run {
        int line = 0;     ///< of the text, from 0
        int file = -1;    ///< an index, -1 for lines that come from no file
        int fileLine = 0; ///< of the first line, from 1
        friend bool operator==(const Run&, const Run&) = default;
    };

    /// Of a text without lines.
    ShaderLineMap() = default;
    /// @param runs in the order of their lines
    /// @param lineCount the number of lines of the text
    ShaderLineMap(std::vector<File> files, std::vector<Run> runs, int lineCount);

    /// The resource and line that a line of the text comes from; of the marker lines around what was
    /// inserted, those of the directive. Nothing for a line outside the text, and for what comes from no file
    /// (the version line, extensions and defines).
    /// @param line counted from 1, as drivers count
    [[nodiscard]] std::optional<ShaderLocation> locate(int line) const;
    /// The same, with the file as the directive names it.
    [[nodiscard]] std::optional<ShaderLocation> locateAsNamed(int line) const;

private:
    [[nodiscard]] std::optional<ShaderLocation> locate(int line, std::string File::*name) const;

    std::vector<File> m_files;
    std::vector<Run> m_runs;
    int m_lineCount = 0;
};

} // namespace Veltrand::GL
