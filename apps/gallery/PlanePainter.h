// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "gallery/SliceLayout.h"
#include "support/Volume.h"

#include <Veltrand/GL/Program.h>
#include <Veltrand/GL/VertexBuffer.h>

#include <memory>

namespace Veltrand::Apps {

/// Draws planes through 3D textures as grey values, onto the framebuffer that is bound.
class PlanePainter {
public:
    /// Throws what `GL::Program` throws.
    PlanePainter();

    /// @param panelToTexture from positions in the panel, (0, 0) to (1, 1), to the texture's coordinates
    /// @param window in the texture's numbers
    void draw(const GL::Texture& volume, const PixelRect& panel, const Eigen::Affine3d& panelToTexture,
              const Window& window) const;

private:
    std::unique_ptr<GL::Program> m_program;
    std::unique_ptr<GL::VertexBuffer> m_square;
};

} // namespace Veltrand::Apps
