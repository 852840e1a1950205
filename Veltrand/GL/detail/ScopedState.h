// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <Veltrand/Core/NotCopyable.h>

#include <array>
#include <bitset>
#include <glad/gl.h>
#include <span>
#include <vector>

namespace Veltrand::GL {

/// Switches capabilities off for a scope.
class DisabledCapabilities : private Utils::NotCopyable {
public:
    /// @param capabilities at most 32, which outlive this
    explicit DisabledCapabilities(std::span<const GLenum> capabilities);
    ~DisabledCapabilities();

private:
    std::span<const GLenum> m_capabilities;
    std::bitset<32> m_disabled; ///< those that were on
};

/// Switches the first indices of a capability off for a scope. Those that were off, and further ones, stay as
/// they are, which `glEnable` would switch on with the others.
class DisabledIndices : private Utils::NotCopyable {
public:
    /// @param count at most 32
    DisabledIndices(GLenum capability, GLuint count);
    ~DisabledIndices();

private:
    GLenum m_capability;
    std::bitset<32> m_disabled; ///< those that were on
};

/// Fills polygons for a scope.
class FilledPolygons : private Utils::NotCopyable {
public:
    FilledPolygons();
    ~FilledPolygons();

private:
    std::array<GLint, 2> m_mode{}; ///< front and back
};

/// Counts rows from the lower edge of the viewport for a scope.
class LowerLeftOrigin : private Utils::NotCopyable {
public:
    LowerLeftOrigin();
    ~LowerLeftOrigin();

private:
    bool m_changed = false;
    GLenum m_depthMode = 0;
};

/// Switches off what only compatibility contexts do to fragments of a shader, for a scope.
class NoFixedFunction : private Utils::NotCopyable {
public:
    NoFixedFunction();
    ~NoFixedFunction();

private:
    bool m_present;
    DisabledCapabilities m_capabilities;
    GLenum m_clamping = 0;
};

/// Lets a full-screen square fill its viewport with what the fragment shader writes, for a scope. Tests,
/// blending and masks of the caller still apply.
class SquareDrawing : private Utils::NotCopyable {
public:
    SquareDrawing();

private:
    DisabledCapabilities m_obstacles;
    NoFixedFunction m_fixedFunction;
    FilledPolygons m_polygons;
    LowerLeftOrigin m_origin;
};

/// Keeps scissor, stencil and depth test from fragments for a scope.
class UntestedFragments : private Utils::NotCopyable {
public:
    UntestedFragments();

private:
    DisabledCapabilities m_tests;
    DisabledIndices m_scissor; ///< of the first viewport, where there are several
};

/// Puts back what is written of each draw buffer at the end of a scope.
class ColorMasks : private Utils::NotCopyable {
protected:
    ColorMasks();
    ~ColorMasks();

    [[nodiscard]] GLuint numBuffers() const { return static_cast<GLuint>(m_masks.size()); }

private:
    std::vector<std::array<GLboolean, 4>> m_masks;
};

/// Writes every channel of every draw buffer for a scope.
class AllBuffersWritten : private ColorMasks {
public:
    AllBuffersWritten();
};

/// Keeps drawing from every draw buffer but the first for a scope.
class FirstBufferOnly : private ColorMasks {
public:
    enum class First {
        AsItIs,
        Written, ///< every channel
        Masked,  ///< nothing is written at all
    };
    explicit FirstBufferOnly(First first);
};

/// Puts back the alignment of rows in uploads, of which textures leave 1 behind.
class UploadAlignment : private Utils::NotCopyable {
public:
    UploadAlignment();
    ~UploadAlignment();

private:
    GLint m_alignment;
};

/// Puts back, at the end of a scope, the framebuffer that is read from, in place of which a `StateGuard` puts
/// the one that is drawn to.
class ReadFramebuffer : private Utils::NotCopyable {
public:
    ReadFramebuffer();
    ~ReadFramebuffer();

private:
    GLuint m_framebuffer;
};

/// Puts back the active texture unit and the texture of one target that unit 0 has, which is the active one
/// meanwhile.
class TextureBinding : private Utils::NotCopyable {
public:
    /// @param target GL_TEXTURE_1D or GL_TEXTURE_2D
    explicit TextureBinding(GLenum target);
    ~TextureBinding();

private:
    GLenum m_target;
    GLenum m_activeTexture;
    GLuint m_texture;
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
