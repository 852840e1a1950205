// SPDX-License-Identifier: BSD-3-Clause
#include <Veltrand/GL/Framebuffer.h>

#include <Veltrand/Core/Log.h>
#include <Veltrand/GL/Debug.h>
#include <Veltrand/GL/Functions.h>
#include <Veltrand/GL/Texture.h>
#include <Veltrand/GL/detail/LogMessage.h>
#include <Veltrand/GL/detail/MoveOnly.h>

#include <glad/gl.h>
#include <stdexcept>
#include <string>
#include <utility>

namespace Veltrand::GL {

static_assert(MoveOnly<Framebuffer>);
static_assert(GLenum(Framebuffer::Attachment::DepthStencil) == GL_DEPTH_STENCIL_ATTACHMENT &&
              GLenum(Framebuffer::Attachment::Depth) == GL_DEPTH_ATTACHMENT &&
              GLenum(Framebuffer::Attachment::Stencil) == GL_STENCIL_ATTACHMENT &&
              GLenum(Framebuffer::Attachment::Color0) == GL_COLOR_ATTACHMENT0 &&
              GLenum(Framebuffer::Attachment::Color1) == GL_COLOR_ATTACHMENT1 &&
              GLenum(Framebuffer::Attachment::Color2) == GL_COLOR_ATTACHMENT2 &&
              GLenum(Framebuffer::Attachment::Color3) == GL_COLOR_ATTACHMENT3 &&
              GLenum(Framebuffer::Attachment::Color4) == GL_COLOR_ATTACHMENT4 &&
              GLenum(Framebuffer::Attachment::Color5) == GL_COLOR_ATTACHMENT5 &&
              GLenum(Framebuffer::Attachment::Color6) == GL_COLOR_ATTACHMENT6 &&
              GLenum(Framebuffer::Attachment::Color7) == GL_COLOR_ATTACHMENT7);

namespace {

/// Those that have a name in OpenGL. The numbers beyond them are other attachment points, such as depth.
constexpr int numColorPoints = 32;

void logInvalidPoint(GLenum point) {
    logMessage(Log::Error, "GL.Framebuffer",
               [point] { return "Invalid attachment point: " + std::to_string(point); });
}

} // namespace

Framebuffer::Framebuffer()
    : m_drawBuffers{GL_COLOR_ATTACHMENT0} {
    glGenFramebuffers(1, &m_id);
    if (m_id == 0)
        throw std::runtime_error("Could not create OpenGL Framebuffer object");
}

Framebuffer::~Framebuffer() {
    if (m_id != 0)
        glDeleteFramebuffers(1, &m_id);
}

Framebuffer::Framebuffer(Framebuffer&& other) noexcept
    : m_id(std::exchange(other.m_id, 0))
    , m_colorAttachments(std::move(other.m_colorAttachments))
    , m_drawBuffers(std::move(other.m_drawBuffers))
    , m_hasDepthAttachment(std::exchange(other.m_hasDepthAttachment, false))
    , m_hasStencilAttachment(std::exchange(other.m_hasStencilAttachment, false))
    , m_revision(other.m_revision++) {}

Framebuffer& Framebuffer::operator=(Framebuffer&& other) noexcept {
    Framebuffer taken(std::move(other));
    std::swap(m_id, taken.m_id);
    m_colorAttachments.swap(taken.m_colorAttachments);
    m_drawBuffers.swap(taken.m_drawBuffers);
    m_hasDepthAttachment = taken.m_hasDepthAttachment;
    m_hasStencilAttachment = taken.m_hasStencilAttachment;
    ++m_revision; // not the source's, which may be the number that was known of this one
    return *this;
}

void Framebuffer::bind() {
    glBindFramebuffer(GL_FRAMEBUFFER, m_id);
}

void Framebuffer::unbind() {
    glBindFramebuffer(GL_FRAMEBUFFER, 0);
}

bool Framebuffer::isBound() const {
    return m_id != 0 && static_cast<GLuint>(getInt(GL_FRAMEBUFFER_BINDING)) == m_id;
}

StateGuard Framebuffer::guardedBind() {
    StateGuard guard(StateGuard::SaveFlags::Framebuffer);
    bind();
    return guard;
}

// To attach a texture that has been moved from is to detach.

void Framebuffer::attach(Texture& texture, Attachment attachment, int level) {
    if (m_id == 0)
        return;
    glFramebufferTexture(GL_FRAMEBUFFER, static_cast<GLenum>(attachment), texture.id(), level);
    record(attachment, texture.id() != 0);
}

void Framebuffer::attach(Texture& texture, int colorIndex) {
    const InternalFormat format = texture.internalFormat();
    const GLenum colorPoint = GL_COLOR_ATTACHMENT0 + static_cast<GLenum>(colorIndex);
    if (format.isDepthFormat())
        attach(texture, Attachment::Depth);
    else if (format.isStencilFormat())
        attach(texture, Attachment::Stencil);
    else if (format.isDepthStencilFormat())
        attach(texture, Attachment::DepthStencil);
    else if (colorIndex >= 0 && colorIndex < numColorPoints)
        attach(texture, static_cast<Attachment>(colorPoint));
    else
        logInvalidPoint(colorPoint);
}

void Framebuffer::attachLayer(Texture& texture, Attachment attachment, int layer, int level) {
    if (m_id == 0)
        return;
    glFramebufferTextureLayer(GL_FRAMEBUFFER, static_cast<GLenum>(attachment), texture.id(), level, layer);
    record(attachment, texture.id() != 0);
}

void Framebuffer::detach(Attachment attachment) {
    if (m_id == 0)
        return;
    glFramebufferTexture(GL_FRAMEBUFFER, static_cast<GLenum>(attachment), 0, 0);
    record(attachment, false);
}

void Framebuffer::detachAll() {
    if (m_hasDepthAttachment)
        detach(Attachment::Depth);
    if (m_hasStencilAttachment)
        detach(Attachment::Stencil);
    for (const GLenum attachment : m_colorAttachments)
        if (attachment != GL_NONE)
            detach(static_cast<Attachment>(attachment));
    m_colorAttachments.clear();
}

void Framebuffer::setDrawBuffers() {
    if (m_drawBuffers == m_colorAttachments)
        return;
    if (m_colorAttachments.empty()) {
        clearDrawBuffers();
        return;
    }
    glDrawBuffers(static_cast<GLsizei>(m_colorAttachments.size()), m_colorAttachments.data());
    m_drawBuffers = m_colorAttachments;
    static_cast<void>(isComplete());
}

void Framebuffer::clearDrawBuffers() {
    if (m_drawBuffers.empty())
        return;
    const GLenum none = GL_NONE;
    glDrawBuffers(1, &none);
    m_drawBuffers.clear();
}

bool Framebuffer::isComplete() const {
    return m_id != 0 && Debug::checkFramebufferStatus(true) == GL_FRAMEBUFFER_COMPLETE;
}

void Framebuffer::record(Attachment attachment, bool present) {
    ++m_revision;
    const auto value = static_cast<GLenum>(attachment);
    if (attachment == Attachment::DepthStencil) {
        m_hasDepthAttachment = present;
        m_hasStencilAttachment = present;
    } else if (attachment == Attachment::Depth) {
        m_hasDepthAttachment = present;
    } else if (attachment == Attachment::Stencil) {
        m_hasStencilAttachment = present;
    } else if (value >= GL_COLOR_ATTACHMENT0 && value < GL_COLOR_ATTACHMENT0 + maxColorAttachments) {
        const std::size_t index = value - GL_COLOR_ATTACHMENT0;
        if (m_colorAttachments.size() <= index)
            m_colorAttachments.resize(index + 1, GL_NONE);
        m_colorAttachments[index] = present ? value : GL_NONE;
    } else {
        logInvalidPoint(value);
    }
}

} // namespace Veltrand::GL
