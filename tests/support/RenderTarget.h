// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <Veltrand/GL/Framebuffer.h>
#include <Veltrand/GL/Functions.h>
#include <Veltrand/GL/StateGuard.h>
#include <Veltrand/GL/Texture.h>

#include <Eigen/Core>

namespace Veltrand::Testing {

/// A small image, transparent black at first, to draw on while it lives; then all state is put back.
class RenderTarget {
public:
    RenderTarget(int width, int height, GL::InternalFormat format = GL::InternalFormat::RGBA8)
        : m_texture(Eigen::Vector3i(width, height, 1), format) {
        m_framebuffer.bind();
        m_framebuffer.attach(m_texture, 0);
        m_framebuffer.setDrawBuffers();
        GL::Viewport{0, 0, width, height}.set();
        GL::clearColorBuffer(Eigen::Vector4f::Zero());
    }
    [[nodiscard]] const GL::Texture& texture() const { return m_texture; }

private:
    GL::StateGuard m_guard{GL::StateGuard::SaveFlags::All};
    GL::Texture m_texture;
    GL::Framebuffer m_framebuffer;
};

} // namespace Veltrand::Testing
