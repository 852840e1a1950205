// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "RawProgram.h"

#include <array>
#include <glad/gl.h>
#include <string>
#include <vector>

namespace Veltrand::GL {

/// Plain text of one colour in hand-written OpenGL: the printable ASCII characters in one texture, and for
/// each line one upload and one draw.
class HandwrittenText : private Utils::NotCopyable {
public:
    HandwrittenText(const std::string& fontPath, int pixelSize);
    ~HandwrittenText();

    /// Sets the state that all lines share.
    void begin(int width, int height);
    void drawLine(const std::string& text, int x, int y);
    void end();

private:
    struct Glyph {
        float advance = 0;
        std::array<float, 4> box{};       ///< left, bottom, right, top from the pen
        std::array<float, 4> texCoords{}; ///< of the same sides
    };

    RawProgram m_program;
    std::array<Glyph, 128> m_glyphs;
    std::vector<float> m_vertices;
    GLuint m_texture = 0;
    GLuint m_buffer = 0;
    GLuint m_vertexArray = 0;
};

} // namespace Veltrand::GL
