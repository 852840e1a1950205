// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <Veltrand/GL/EigenForward.h>
#include <Veltrand/GL/Export.h>
#include <Veltrand/GL/GL.h>

namespace Veltrand::GL {

/// A rectangle of window pixels, with the origin at the lower left.
struct VELTRAND_GL_API Viewport {
    int x = 0;      ///< of the left edge
    int y = 0;      ///< of the lower edge
    int width = 0;  ///< in pixels
    int height = 0; ///< in pixels

    /// Takes over the current context's viewport. GL: glGetIntegerv, 1.0
    void retrieve();
    /// Makes this the current context's viewport. GL: glViewport, 1.0
    void set() const;
    /// Whether the pixel @p p lies inside; right and top edge are outside.
    [[nodiscard]] bool includesPoint(const Eigen::Vector2i& p) const;

    [[nodiscard]] friend bool operator==(const Viewport&, const Viewport&) = default;
};

} // namespace Veltrand::GL
