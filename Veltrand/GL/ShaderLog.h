// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <Veltrand/GL/Export.h>
#include <Veltrand/GL/GL.h>
#include <Veltrand/GL/ShaderLineMap.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// Maps what a driver says about assembled shader text back to the GLSL files that the text was made from.
///
/// With the result of `Program::assembleShader`, messages are placed by its `ShaderLineMap`. With the text
/// alone, they are placed by the marker comments around each expanded file, which do not tell everything:
/// lines that were taken out or put in move the numbers of those below, and the markers of an indented
/// directive are not seen. These functions make no OpenGL call and may be called from any thread.
namespace Veltrand::GL {

/// The file and line that line @p line of @p source comes from by its markers. Nothing for a line outside the
/// text or before the first marker (the version line, extensions and defines).
/// @param line counted from 1 over the assembled text, as drivers count
[[nodiscard]] VELTRAND_GL_API std::optional<ShaderLocation> locateShaderLine(std::string_view source,
                                                                             int line);

/// Rewrites a compiler log of the forms `0(12) : error C1008: text` and `0:12: error(#132) text`: each such
/// message comes out as `[file:line] error C1008: text` and the source line in question below it. Messages on
/// lines that @p source does not have are left out; lines of any other form are kept as they are.
[[nodiscard]] VELTRAND_GL_API std::string reformatShaderErrorLog(std::string_view log,
                                                                 std::string_view source);
/// The same with exact places; a file goes by its name in the directive.
[[nodiscard]] VELTRAND_GL_API std::string reformatShaderErrorLog(std::string_view log,
                                                                 const ShaderSource& source);

/// The messages of @p log of the form `0:12(5): error: text` that can be placed, each as the driver's line
/// with `[file:line] ` in front.
[[nodiscard]] VELTRAND_GL_API std::vector<std::string> placeShaderMessages(std::string_view log,
                                                                           std::string_view source);
/// The same with exact places.
[[nodiscard]] VELTRAND_GL_API std::vector<std::string> placeShaderMessages(std::string_view log,
                                                                           const ShaderLineMap& lines);

/// One message of a compiler.
struct ShaderMessage {
    /// How the driver has called it.
    enum class Severity { Error, Warning, Note };
    Severity severity = Severity::Note;     ///< a note where the driver has not said
    std::optional<ShaderLocation> location; ///< none for a line that comes from no file
    std::string text;                       ///< without the driver's position and severity
    friend bool operator==(const ShaderMessage&, const ShaderMessage&) = default;
};

/// Takes a compiler log apart: one message for each line that is not empty, in the forms of Mesa, NVIDIA, AMD
/// and Intel. A line of any other form is a note without location.
[[nodiscard]] VELTRAND_GL_API std::vector<ShaderMessage> parseShaderLog(std::string_view log,
                                                                        std::string_view source);
/// The same with exact places.
[[nodiscard]] VELTRAND_GL_API std::vector<ShaderMessage> parseShaderLog(std::string_view log,
                                                                        const ShaderLineMap& lines);

} // namespace Veltrand::GL
