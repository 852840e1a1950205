// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <Veltrand/Core/NotCopyable.h>
#include <Veltrand/GL/Framebuffer.h>
#include <Veltrand/GL/Texture.h>

#include <Eigen/Core>
#include <optional>

namespace Veltrand::Apps {

/// The picture of a pane, kept until something in it changes.
class PaneImage : private Utils::NotCopyable {
public:
    /// Makes the picture the target of drawing, black and of a depth of 1, until the guard ends. Throws
    /// `std::runtime_error` with one sentence when the driver cannot provide it.
    /// @param size in pixels
    [[nodiscard]] GL::StateGuard begin(const Eigen::Vector2i& size);

    /// After `begin`.
    [[nodiscard]] const GL::Texture& color() const { return *m_color; }

private:
    void allocate(const Eigen::Vector2i& size);

    std::optional<GL::Texture> m_color;
    std::optional<GL::Texture> m_depth;
    GL::Framebuffer m_framebuffer;
};

} // namespace Veltrand::Apps
