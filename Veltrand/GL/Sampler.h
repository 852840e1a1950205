// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <Veltrand/Core/NotCopyable.h>
#include <Veltrand/GL/EigenForward.h>
#include <Veltrand/GL/Export.h>
#include <Veltrand/GL/GL.h>

namespace Veltrand::GL {

/// Owns a sampler object: how a texture unit filters, wraps and compares, independently of the texture that
/// is bound to it.
class VELTRAND_GL_API Sampler : private Utils::NotCopyable {
public:
    /// How texels become a pixel that covers several.
    enum class MinFilter : GLenum {
        Nearest = 0x2600,              // GL_NEAREST
        Linear = 0x2601,               // GL_LINEAR
        NearestMipmapNearest = 0x2700, // GL_NEAREST_MIPMAP_NEAREST
        LinearMipmapNearest = 0x2701,  // GL_LINEAR_MIPMAP_NEAREST
        NearestMipmapLinear = 0x2702,  // GL_NEAREST_MIPMAP_LINEAR
        LinearMipmapLinear = 0x2703,   // GL_LINEAR_MIPMAP_LINEAR
    };
    /// How texels become a pixel that covers less than one.
    enum class MagFilter : GLenum {
        Nearest = 0x2600, // GL_NEAREST
        Linear = 0x2601,  // GL_LINEAR
    };
    /// What is read outside of the texture.
    enum class Wrap : GLenum {
        Repeat = 0x2901,            // GL_REPEAT
        ClampToBorder = 0x812D,     // GL_CLAMP_TO_BORDER
        ClampToEdge = 0x812F,       // GL_CLAMP_TO_EDGE
        MirroredRepeat = 0x8370,    // GL_MIRRORED_REPEAT
        MirrorClampToEdge = 0x8743, // GL_MIRROR_CLAMP_TO_EDGE, 4.4
    };

    // Xlib defines None and Always as macros, so those two tokens have other names here.
    /// Whether depth is read or compared.
    enum class CompareMode : GLenum {
        Off = 0,                      // GL_NONE
        CompareRefToTexture = 0x884E, // GL_COMPARE_REF_TO_TEXTURE
    };
    /// Which reference values, compared to the depth, give 1.
    enum class CompareFunc : GLenum {
        Never = 0x0200,      // GL_NEVER
        Less = 0x0201,       // GL_LESS
        Equal = 0x0202,      // GL_EQUAL
        LEqual = 0x0203,     // GL_LEQUAL
        Greater = 0x0204,    // GL_GREATER
        NotEqual = 0x0205,   // GL_NOTEQUAL
        GEqual = 0x0206,     // GL_GEQUAL
        AlwaysPass = 0x0207, // GL_ALWAYS
    };

    /// Linear filters, edges clamped on all axes, levels of detail from -1000 to 1000 without bias. Throws
    /// `std::runtime_error` "Could not create OpenGL Sampler object" when OpenGL gives no name.
    /// GL: glGenSamplers, 3.3
    Sampler();
    ~Sampler();
    /// The source then owns nothing: it takes no settings, and a unit that it is bound to has no sampler.
    Sampler(Sampler&& other) noexcept;
    Sampler& operator=(Sampler&& other) noexcept;

    /// GL: glSamplerParameteri, 3.3
    void setFiltering(MinFilter minFilter, MagFilter magFilter);
    /// GL: glSamplerParameteri, 3.3
    void setWrapping(Wrap s, Wrap t, Wrap r);
    /// The same for all axes.
    void setWrapping(Wrap wrap);
    /// Comparison of depth textures, for shadow samplers. GL: glSamplerParameteri, 3.3
    void setCompareMode(CompareMode mode, CompareFunc function);
    /// The range that the level of detail is clamped to, and what is added before. GL:
    /// glSamplerParameterf, 3.3
    void setLOD(float minLod, float maxLod, float bias);
    /// What `ClampToBorder` reads outside, as red, green, blue, alpha. GL: glSamplerParameterfv, 3.3
    void setBorderColor(const Eigen::Vector4f& color);

    /// GL: glBindSampler, 3.3
    void bind(GLuint unit) const;
    /// Lets the unit use its texture's own settings again. GL: glBindSampler, 3.3
    static void unbind(GLuint unit);

    /// The OpenGL name, 0 after a move.
    [[nodiscard]] GLuint id() const { return m_id; }

private:
    GLuint m_id = 0;
};

} // namespace Veltrand::GL
