// SPDX-License-Identifier: BSD-3-Clause
#include "support/GLTest.h"

namespace Veltrand::GL {

using Attachment = Framebuffer::Attachment;
using Enums = std::vector<GLenum>;

namespace {

int attached(GLenum attachment, GLenum question) {
    GLint answer = 0;
    glGetFramebufferAttachmentParameteriv(GL_FRAMEBUFFER, attachment, question, &answer);
    return answer;
}

int attachedTexture(GLenum attachment) {
    return attached(attachment, GL_FRAMEBUFFER_ATTACHMENT_OBJECT_TYPE) == GL_NONE
               ? 0
               : attached(attachment, GL_FRAMEBUFFER_ATTACHMENT_OBJECT_NAME);
}

Texture makeTexture(InternalFormat format) {
    return {Texture::Target::Texture2D, {4, 4, 1}, format};
}

struct FramebufferGL : Testing::GLFixture {
    Framebuffer m_framebuffer;
    StateGuard m_bound = m_framebuffer.guardedBind();
};

} // namespace

TEST_F(FramebufferGL, ColourAttachmentsAreRecordedWithTheirGaps) {
    Texture first = makeTexture(InternalFormat::RGBA8);
    Texture third = makeTexture(InternalFormat::R32F);
    m_framebuffer.attach(first, 0);
    m_framebuffer.attach(third, 2);
    EXPECT_EQ(m_framebuffer.colorAttachments(), (Enums{GL_COLOR_ATTACHMENT0, 0, GL_COLOR_ATTACHMENT2}));
    EXPECT_EQ(attachedTexture(GL_COLOR_ATTACHMENT2), static_cast<int>(third.id()));
    EXPECT_TRUE(m_framebuffer.isComplete());
    m_framebuffer.detach(Attachment::Color2);
    EXPECT_EQ(m_framebuffer.colorAttachments(), (Enums{GL_COLOR_ATTACHMENT0, 0, 0}));
    EXPECT_EQ(attachedTexture(GL_COLOR_ATTACHMENT2), 0);

    Framebuffer moved(std::move(m_framebuffer));
    EXPECT_EQ(m_framebuffer.id(), 0U);
    EXPECT_TRUE(moved.isBound());
    moved.detachAll();
    EXPECT_TRUE(moved.colorAttachments().empty());
    EXPECT_EQ(attachedTexture(GL_COLOR_ATTACHMENT0), 0);
    // Counted on from the first colour attachment, some indices would be those of depth and stencil.
    for (const int index : {8, 32, 64, GL_DEPTH_STENCIL_ATTACHMENT - GL_COLOR_ATTACHMENT0, -1}) {
        moved.attach(first, index);
        EXPECT_EQ(Debug::check(false) != Debug::Error::NoError, index == 8);
        const std::string point = std::to_string(GL_COLOR_ATTACHMENT0 + index);
        expectLine(Log::Error, "GL.Framebuffer", "Invalid attachment point: " + point);
        EXPECT_TRUE(moved.colorAttachments().empty());
        EXPECT_FALSE(moved.hasDepthAttachment() || moved.hasStencilAttachment());
    }
    EXPECT_EQ(attachedTexture(GL_DEPTH_ATTACHMENT), 0);
    m_framebuffer = std::move(moved);
}

TEST_F(FramebufferGL, FormatsGoWhereTheyBelong) {
    const struct {
        InternalFormat format;
        bool depth, stencil;
        GLenum attachment;
    } cases[] = {
        {InternalFormat::DepthComponent24, true, false, GL_DEPTH_ATTACHMENT},
        {InternalFormat::Depth24Stencil8, true, true, GL_STENCIL_ATTACHMENT},
        {InternalFormat::Depth32FStencil8, true, true, GL_DEPTH_ATTACHMENT},
        {InternalFormat::RGBA16F, false, false, GL_COLOR_ATTACHMENT0 + 5},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.format.toString());
        Texture texture = makeTexture(c.format);
        m_framebuffer.attach(texture, 5);
        EXPECT_EQ(m_framebuffer.hasDepthAttachment(), c.depth);
        EXPECT_EQ(m_framebuffer.hasStencilAttachment(), c.stencil);
        EXPECT_EQ(attachedTexture(c.attachment), static_cast<int>(texture.id()));
        m_framebuffer.detachAll();
        EXPECT_EQ(attachedTexture(c.attachment), 0);
        EXPECT_FALSE(m_framebuffer.hasDepthAttachment() || m_framebuffer.hasStencilAttachment());
    }
}

TEST_F(FramebufferGL, LayersAndLevelsAreAttachedOneByOne) {
    Texture volume({4, 4, 3}, InternalFormat::R32F);
    volume.generateMipmaps();
    m_framebuffer.attachLayer(volume, Attachment::Color0, 2);
    EXPECT_EQ(attached(GL_COLOR_ATTACHMENT0, GL_FRAMEBUFFER_ATTACHMENT_TEXTURE_LAYER), 2);
    EXPECT_TRUE(m_framebuffer.isComplete());
    m_framebuffer.attach(volume, Attachment::Color0, 1);
    EXPECT_EQ(attached(GL_COLOR_ATTACHMENT0, GL_FRAMEBUFFER_ATTACHMENT_TEXTURE_LEVEL), 1);
}

TEST_F(FramebufferGL, DrawBuffersAreSetOnlyWhenTheyChange) {
    Testing::CallCounter<glad_glDrawBuffers> calls;
    Texture first = makeTexture(InternalFormat::RGBA8);
    Texture third = makeTexture(InternalFormat::RGBA8);
    const auto expectBuffers = [&](const std::vector<int>& buffers) {
        m_framebuffer.setDrawBuffers();
        m_framebuffer.setDrawBuffers();
        EXPECT_EQ(calls.take(), 1);
        for (std::size_t i = 0; i < buffers.size(); ++i)
            EXPECT_EQ(getInt(static_cast<GLenum>(GL_DRAW_BUFFER0 + i)), buffers[i]);
    };
    expectBuffers({GL_NONE});
    m_framebuffer.attach(first, 0);
    m_framebuffer.attach(third, 2);
    expectBuffers({GL_COLOR_ATTACHMENT0, GL_NONE, GL_COLOR_ATTACHMENT2});
    m_framebuffer.clearDrawBuffers();
    m_framebuffer.clearDrawBuffers();
    EXPECT_EQ(calls.take(), 1);
    // A fresh framebuffer already draws to colour attachment 0.
    Framebuffer fresh;
    const StateGuard bound = fresh.guardedBind();
    fresh.attach(first, 0);
    fresh.setDrawBuffers();
    EXPECT_EQ(calls.take(), 0);
}

} // namespace Veltrand::GL
