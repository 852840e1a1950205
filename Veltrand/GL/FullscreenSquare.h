// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <Veltrand/GL/Export.h>
#include <Veltrand/GL/GL.h>
#include <Veltrand/GL/InstanceManager.h>

#include <memory>

namespace Veltrand::GL {

/// A square over the whole viewport for programs that work on each pixel: attribute 0 has the corners in clip
/// space, from (-1, -1) counter-clockwise, attribute 1 their texture coordinates from (0, 0) to (1, 1).
///
/// Drawing uses the enabled program and leaves no vertex array object bound. `get()` is the one that all
/// users in a context share.
class VELTRAND_GL_API FullscreenSquare : public InstanceManager<FullscreenSquare> {
public:
    /// Failure as for `VertexBuffer`. GL: glBufferData, 1.5
    FullscreenSquare();
    ~FullscreenSquare() override;

    /// Draws the four corners as @p mode makes use of them. GL: glDrawArrays, 3.0
    void draw(Primitive mode) const;
    /// Covers the viewport. GL: glDrawArrays, 3.0
    void drawFilled() const;
    /// Draws the edges, which lie on the border of the viewport. GL: glDrawArrays, 3.0
    void drawOutline() const;

private:
    std::unique_ptr<VertexBuffer> m_square;
};

} // namespace Veltrand::GL
