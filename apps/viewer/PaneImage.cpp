// SPDX-License-Identifier: BSD-3-Clause
#include "viewer/PaneImage.h"

#include <Veltrand/GL/Functions.h>
#include <Veltrand/GL/Viewport.h>

#include <stdexcept>
#include <string>

namespace Veltrand::Apps {

GL::StateGuard PaneImage::begin(const Eigen::Vector2i& size) {
    if (!m_color || m_color->width() != size.x() || m_color->height() != size.y())
        allocate(size);
    GL::StateGuard guard = m_framebuffer.guardedBind();
    GL::Viewport{0, 0, size.x(), size.y()}.set();
    GL::clearColorBuffer(Eigen::Vector4f(0, 0, 0, 1));
    GL::clearDepthBuffer(1);
    return guard;
}

void PaneImage::allocate(const Eigen::Vector2i& size) {
    const Eigen::Vector3i texels(size.x(), size.y(), 1);
    const GL::StateGuard guard = m_framebuffer.guardedBind();
    m_framebuffer.detachAll();
    m_color.emplace(GL::Texture::Target::Texture2D, texels, GL::InternalFormat::RGBA8);
    m_depth.emplace(GL::Texture::Target::Texture2D, texels, GL::InternalFormat::DepthComponent24);
    m_framebuffer.attach(*m_color, 0);
    m_framebuffer.attach(*m_depth, 0);
    m_framebuffer.setDrawBuffers();
    if (!m_framebuffer.isComplete())
        throw std::runtime_error("the driver cannot draw a pane of " + std::to_string(size.x()) + "x" +
                                 std::to_string(size.y()) + " pixels.");
}

} // namespace Veltrand::Apps
