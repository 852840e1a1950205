// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <Veltrand/Core/NotCopyable.h>
#include <Veltrand/GL/Export.h>
#include <Veltrand/GL/GL.h>
#include <Veltrand/GL/StateGuard.h>

#include <vector>

namespace Veltrand::GL {

/// Owns a framebuffer object and keeps a record of what is attached to it, from which it sets the draw
/// buffers and detaches.
///
/// Everything but `bind` and the accessors works on the framebuffer that is bound; call `bind()` first. What
/// is attached by other means is unknown to the record. Framebuffers are not shared between contexts: make,
/// use and destroy each in one context.
class VELTRAND_GL_API Framebuffer : private Utils::NotCopyable {
public:
    /// Where a texture is attached.
    enum class Attachment : GLenum {
        DepthStencil = 0x821A, // GL_DEPTH_STENCIL_ATTACHMENT
        Color0 = 0x8CE0,       // GL_COLOR_ATTACHMENT0
        Color1 = 0x8CE1,       // GL_COLOR_ATTACHMENT1
        Color2 = 0x8CE2,       // GL_COLOR_ATTACHMENT2
        Color3 = 0x8CE3,       // GL_COLOR_ATTACHMENT3
        Color4 = 0x8CE4,       // GL_COLOR_ATTACHMENT4
        Color5 = 0x8CE5,       // GL_COLOR_ATTACHMENT5
        Color6 = 0x8CE6,       // GL_COLOR_ATTACHMENT6
        Color7 = 0x8CE7,       // GL_COLOR_ATTACHMENT7
        Depth = 0x8D00,        // GL_DEPTH_ATTACHMENT
        Stencil = 0x8D20,      // GL_STENCIL_ATTACHMENT
    };
    /// What every driver has; the library uses no more.
    static constexpr int maxColorAttachments = 8;

    /// A new framebuffer, not bound. Throws `std::runtime_error` "Could not create OpenGL Framebuffer object"
    /// when OpenGL gives no name. GL: glGenFramebuffers, 3.0
    Framebuffer();
    ~Framebuffer();
    /// The source then owns nothing: binding it binds the default framebuffer, and nothing is attached to it.
    Framebuffer(Framebuffer&& other) noexcept;
    Framebuffer& operator=(Framebuffer&& other) noexcept;

    /// For drawing and reading. GL: glBindFramebuffer, 3.0
    void bind();
    /// Binds the context's default framebuffer. GL: glBindFramebuffer, 3.0
    static void unbind();
    /// Whether this is the one that is drawn to. GL: glGetIntegerv, 3.0
    [[nodiscard]] bool isBound() const;
    /// Binds until the returned guard ends, which puts back the framebuffer that was drawn to before, for
    /// drawing and reading.
    [[nodiscard]] StateGuard guardedBind();

    /// Attaches a mipmap level of a whole texture, all layers of a layered one. A point that does not exist
    /// is logged. GL: glFramebufferTexture, 3.2
    void attach(Texture& texture, Attachment attachment, int level = 0);
    /// Attaches level 0 where the texture's format belongs: depth, stencil, both, or the colour attachment of
    /// that index; one that does not exist is logged. GL: glFramebufferTexture, 3.2
    void attach(Texture& texture, int colorIndex);
    /// Attaches one layer of a 3D or array texture. GL: glFramebufferTextureLayer, 3.0
    void attachLayer(Texture& texture, Attachment attachment, int layer, int level = 0);
    /// GL: glFramebufferTexture, 3.2
    void detach(Attachment attachment);
    /// Detaches everything that is on record.
    void detachAll();

    /// Sends fragment output i to colour attachment i, and nowhere where there is none. Without a change
    /// since the last call nothing is done; after one, an incomplete framebuffer is logged.
    /// GL: glDrawBuffers, 2.0
    void setDrawBuffers();
    /// Sends fragments nowhere. GL: glDrawBuffers, 2.0
    void clearDrawBuffers();

    /// Whether OpenGL can draw to the bound framebuffer; the reason against it is logged.
    /// GL: glCheckFramebufferStatus, 3.0
    [[nodiscard]] bool isComplete() const;

    /// The OpenGL name, 0 after a move.
    [[nodiscard]] GLuint id() const { return m_id; }
    /// Entry i is GL_COLOR_ATTACHMENT0 + i while something is attached there, and 0 otherwise.
    [[nodiscard]] const std::vector<GLenum>& colorAttachments() const { return m_colorAttachments; }
    /// Whether depth is on record, alone or with stencil.
    [[nodiscard]] bool hasDepthAttachment() const { return m_hasDepthAttachment; }
    /// Whether stencil is on record, alone or with depth.
    [[nodiscard]] bool hasStencilAttachment() const { return m_hasStencilAttachment; }
    /// Goes up with each change of an attachment.
    [[nodiscard]] unsigned revision() const { return m_revision; }

private:
    void record(Attachment attachment, bool present);

    GLuint m_id = 0;
    std::vector<GLenum> m_colorAttachments;
    std::vector<GLenum> m_drawBuffers;
    bool m_hasDepthAttachment = false;
    bool m_hasStencilAttachment = false;
    unsigned m_revision = 0;
};

} // namespace Veltrand::GL
