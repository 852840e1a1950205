// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <Veltrand/Core/NotCopyable.h>
#include <Veltrand/GL/Framebuffer.h>
#include <Veltrand/GL/Texture.h>

#include <Eigen/Core>
#include <cstdint>
#include <vector>

namespace Veltrand::Apps {

/// What a picture is drawn on: a framebuffer of 8 bits a channel.
class Canvas : private Utils::NotCopyable {
public:
    /// Throws `std::runtime_error` with one sentence when the driver cannot provide it.
    explicit Canvas(const Eigen::Vector2i& size);

    [[nodiscard]] const Eigen::Vector2i& size() const { return m_size; }

    /// Makes the whole canvas the target of drawing, and opaque black.
    void begin();
    /// Red, green, blue and an alpha of 255 of every pixel, rows from the bottom up.
    [[nodiscard]] std::vector<std::uint8_t> read() const;

private:
    Eigen::Vector2i m_size;
    GL::Texture m_color;
    GL::Framebuffer m_framebuffer;
};

} // namespace Veltrand::Apps
