// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "scene/SlicePanel.h"

#include <Veltrand/GL/InstanceManager.h>
#include <Veltrand/GL/Program.h>

#include <Eigen/Core>
#include <memory>

namespace Veltrand::Apps {

/// Fills rectangles of the framebuffer that is bound. Per context; needs the shaders of "VeltrandScene".
class BoxPainter : public GL::InstanceManager<BoxPainter> {
public:
    /// Throws what `GL::Program` throws.
    BoxPainter();
    ~BoxPainter() override;

    /// Leaves the viewport at @p rect.
    /// @param color red, green, blue and opacity, which counts where blending is on
    void fill(const PixelRect& rect, const Eigen::Vector4f& color) const;

private:
    std::unique_ptr<GL::Program> m_program;
};

} // namespace Veltrand::Apps
