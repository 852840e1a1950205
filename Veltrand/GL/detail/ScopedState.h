// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <Veltrand/Core/NotCopyable.h>

#include <array>
#include <glad/gl.h>
#include <span>
#include <vector>

namespace Veltrand::GL {

/// What would keep a full-screen square from filling its viewport with what the fragment shader writes.
/// Clipping would read distances that the vertex shader does not write; eight are the fewest there are.
inline constexpr std::array squareObstacles = {
    GLenum{GL_CULL_FACE},           GLenum{GL_COLOR_LOGIC_OP},  GLenum{GL_POLYGON_SMOOTH},
    GLenum{GL_RASTERIZER_DISCARD},  GLenum{GL_DITHER},          GLenum{GL_SAMPLE_ALPHA_TO_COVERAGE},
    GLenum{GL_SAMPLE_ALPHA_TO_ONE}, GLenum{GL_SAMPLE_COVERAGE}, GLenum{GL_SAMPLE_MASK},
    GLenum{GL_CLIP_DISTANCE0},      GLenum{GL_CLIP_DISTANCE1},  GLenum{GL_CLIP_DISTANCE2},
    GLenum{GL_CLIP_DISTANCE3},      GLenum{GL_CLIP_DISTANCE4},  GLenum{GL_CLIP_DISTANCE5},
    GLenum{GL_CLIP_DISTANCE6},      GLenum{GL_CLIP_DISTANCE7}};

/// Switches capabilities off for a scope.
class DisabledCapabilities : private Utils::NotCopyable {
public:
    explicit DisabledCapabilities(std::span<const GLenum> capabilities);
    ~DisabledCapabilities();

private:
    std::vector<GLenum> m_disabled; ///< those that were on
};

/// Fills polygons for a scope.
class FilledPolygons : private Utils::NotCopyable {
public:
    FilledPolygons();
    ~FilledPolygons();

private:
    std::array<GLint, 2> m_mode{}; ///< front and back
};

/// Keeps drawing from every draw buffer but the first for a scope.
class FirstBufferOnly : private Utils::NotCopyable {
public:
    enum class First {
        AsItIs,
        Written, ///< every channel
        Masked,  ///< nothing is written at all
    };
    explicit FirstBufferOnly(First first);
    ~FirstBufferOnly();

private:
    std::vector<std::array<GLboolean, 4>> m_masks;
};

/// Puts back the alignment of rows in uploads, of which textures leave 1 behind.
class UploadAlignment : private Utils::NotCopyable {
public:
    UploadAlignment();
    ~UploadAlignment();

private:
    GLint m_alignment;
};

/// Puts back the active texture unit and the vertex array object at the end of a scope.
class DrawingBindings : private Utils::NotCopyable {
public:
    DrawingBindings();
    ~DrawingBindings();

private:
    GLenum m_activeTexture;
    GLuint m_vertexArray;
};

} // namespace Veltrand::GL
