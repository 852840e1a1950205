// SPDX-License-Identifier: BSD-3-Clause
#include "HandwrittenText.h"

#include <ft2build.h>
#include <stdexcept>

#include FT_FREETYPE_H

namespace Veltrand::GL {

namespace {

constexpr int atlasSize = 512;
constexpr int firstCharacter = 32;
constexpr GLsizei floatsPerVertex = 4;

} // namespace

HandwrittenText::HandwrittenText(const std::string& fontPath, int pixelSize)
    : m_program(
          {{GL_VERTEX_SHADER, "#version 330\n"
                              "layout(location = 0) in vec4 vertex;\n"
                              "uniform vec2 pixelSize;\n"
                              "out vec2 texCoord;\n"
                              "void main() {\n"
                              "    texCoord = vertex.zw;\n"
                              "    gl_Position = vec4(vertex.xy * pixelSize * 2.0 - 1.0, 0.0, 1.0);\n"
                              "}\n"},
           {GL_FRAGMENT_SHADER,
            "#version 330\n"
            "uniform sampler2D glyphs;\n"
            "uniform vec4 textColor;\n"
            "in vec2 texCoord;\n"
            "out vec4 color;\n"
            "void main() { color = vec4(textColor.rgb, textColor.a * texture(glyphs, texCoord).r); }\n"}}) {
    glGenBuffers(1, &m_buffer);
    glGenVertexArrays(1, &m_vertexArray);
    glBindVertexArray(m_vertexArray);
    glBindBuffer(GL_ARRAY_BUFFER, m_buffer);
    glEnableVertexAttribArray(0);
    glVertexAttribPointer(0, floatsPerVertex, GL_FLOAT, GL_FALSE, 0, nullptr);
    glBindVertexArray(0);
    glGenTextures(1, &m_texture);
    glBindTexture(GL_TEXTURE_2D, m_texture);
    glTexImage2D(GL_TEXTURE_2D, 0, GL_R8, atlasSize, atlasSize, 0, GL_RED, GL_UNSIGNED_BYTE, nullptr);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_NEAREST);

    FT_Library library = nullptr;
    FT_Face face = nullptr;
    if (FT_Init_FreeType(&library) != 0 || FT_New_Face(library, fontPath.c_str(), 0, &face) != 0)
        throw std::runtime_error("cannot read " + fontPath);
    FT_Set_Pixel_Sizes(face, 0, static_cast<FT_UInt>(pixelSize));
    glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
    int x = 0;
    int y = 0;
    for (std::size_t c = firstCharacter; c < m_glyphs.size(); ++c) {
        if (FT_Load_Char(face, c, FT_LOAD_RENDER) != 0)
            continue;
        const FT_GlyphSlot slot = face->glyph;
        const auto columns = static_cast<int>(slot->bitmap.width);
        const auto rows = static_cast<int>(slot->bitmap.rows);
        if (x + columns > atlasSize) {
            x = 0;
            y += 2 * pixelSize;
        }
        glTexSubImage2D(GL_TEXTURE_2D, 0, x, y, columns, rows, GL_RED, GL_UNSIGNED_BYTE, slot->bitmap.buffer);
        const auto asFloats = [](int left, int bottom, int right, int top, float scale) {
            return std::array<float, 4>{static_cast<float>(left) * scale, static_cast<float>(bottom) * scale,
                                        static_cast<float>(right) * scale, static_cast<float>(top) * scale};
        };
        m_glyphs[c] = {static_cast<float>(slot->advance.x >> 6),
                       asFloats(slot->bitmap_left, slot->bitmap_top - rows, slot->bitmap_left + columns,
                                slot->bitmap_top, 1),
                       asFloats(x, y + rows, x + columns, y, 1.F / atlasSize)};
        x += columns + 1;
    }
    glPixelStorei(GL_UNPACK_ALIGNMENT, 4);
    FT_Done_Face(face);
    FT_Done_FreeType(library);
}

HandwrittenText::~HandwrittenText() {
    glDeleteTextures(1, &m_texture);
    glDeleteVertexArrays(1, &m_vertexArray);
    glDeleteBuffers(1, &m_buffer);
}

void HandwrittenText::begin(int width, int height) {
    glUseProgram(m_program.id());
    glUniform2f(glGetUniformLocation(m_program.id(), "pixelSize"), 1.F / static_cast<float>(width),
                1.F / static_cast<float>(height));
    glUniform4f(glGetUniformLocation(m_program.id(), "textColor"), 1, 1, 1, 1);
    glBindTexture(GL_TEXTURE_2D, m_texture);
    glBindVertexArray(m_vertexArray);
    glBindBuffer(GL_ARRAY_BUFFER, m_buffer);
    glEnable(GL_BLEND);
    glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
}

void HandwrittenText::drawLine(const std::string& text, int x, int y) {
    m_vertices.clear();
    auto penX = static_cast<float>(x);
    const auto penY = static_cast<float>(y);
    for (const char character : text) {
        const Glyph& glyph = m_glyphs[static_cast<unsigned char>(character) % m_glyphs.size()];
        const auto& [left, bottom, right, top] = glyph.box;
        const auto& [s0, t0, s1, t1] = glyph.texCoords;
        m_vertices.insert(m_vertices.end(),
                          {penX + left,  penY + bottom, s0, t0, penX + right, penY + bottom, s1, t0,
                           penX + right, penY + top,    s1, t1, penX + left,  penY + bottom, s0, t0,
                           penX + right, penY + top,    s1, t1, penX + left,  penY + top,    s0, t1});
        penX += glyph.advance;
    }
    glBufferData(GL_ARRAY_BUFFER, static_cast<GLsizeiptr>(m_vertices.size() * sizeof(float)),
                 m_vertices.data(), GL_STREAM_DRAW);
    glDrawArrays(GL_TRIANGLES, 0, static_cast<GLsizei>(m_vertices.size()) / floatsPerVertex);
}

void HandwrittenText::end() {
    glDisable(GL_BLEND);
    glBlendFunc(GL_ONE, GL_ZERO);
    glBindVertexArray(0);
    glBindBuffer(GL_ARRAY_BUFFER, 0);
    glBindTexture(GL_TEXTURE_2D, 0);
    glUseProgram(0);
}

} // namespace Veltrand::GL
