// SPDX-License-Identifier: BSD-3-Clause
#include "gallery/Canvas.h"

#include <Veltrand/GL/Functions.h>
#include <Veltrand/GL/PixelFormat.h>
#include <Veltrand/GL/PixelType.h>
#include <Veltrand/GL/Viewport.h>

#include <span>
#include <stdexcept>
#include <string>

namespace Veltrand::Apps {

Canvas::Canvas(const Eigen::Vector2i& size)
    : m_size(size)
    , m_color(GL::Texture::Target::Texture2D, Eigen::Vector3i(size.x(), size.y(), 1),
              GL::InternalFormat::RGBA8) {
    m_framebuffer.bind();
    m_framebuffer.attach(m_color, 0);
    m_framebuffer.setDrawBuffers();
    if (!m_framebuffer.isComplete())
        throw std::runtime_error("the driver cannot draw a picture of " + std::to_string(size.x()) + "x" +
                                 std::to_string(size.y()) + " pixels.");
}

void Canvas::begin() {
    m_framebuffer.bind();
    GL::Viewport{0, 0, m_size.x(), m_size.y()}.set();
    GL::clearColorBuffer(Eigen::Vector4f(0, 0, 0, 1));
}

std::vector<std::uint8_t> Canvas::read() const {
    std::vector<std::uint8_t> pixels(std::size_t{4} * static_cast<std::size_t>(m_size.x()) *
                                     static_cast<std::size_t>(m_size.y()));
    if (!m_color.downloadTo(GL::PixelFormat::RGBA, GL::PixelType::UByte,
                            std::as_writable_bytes(std::span(pixels))))
        throw std::runtime_error("the picture could not be read back.");
    // Blending, of text too, leaves its edges transparent.
    for (std::size_t alpha = 3; alpha < pixels.size(); alpha += 4)
        pixels[alpha] = 255;
    return pixels;
}

} // namespace Veltrand::Apps
