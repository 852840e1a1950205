// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "scene/SlicePanel.h"

#include <Veltrand/GL/ViewState.h>

#include <Eigen/Geometry>

namespace Veltrand::Apps {

/// Looks at surfaces along parallels from around them. The patient's head stays up.
class ModelCamera {
public:
    /// Back to all of it, from the patient's left, front and a little above.
    void reset() { *this = {}; }
    /// @param degrees around the patient's long axis, and up or down
    void rotate(const Eigen::Vector2d& degrees);
    void zoom(double factor);
    /// @param offset that the picture is moved by, as parts of what the surfaces reach
    void pan(const Eigen::Vector2d& offset);

    /// Shows what @p bounds holds, however it is turned, in a rectangle.
    [[nodiscard]] GL::ViewState view(const PixelRect& rect, const Eigen::AlignedBox3d& bounds) const;
    /// What one pixel of a rectangle is for `pan`.
    [[nodiscard]] double partPerPixel(const PixelRect& rect) const;

private:
    double m_azimuth = 31; // degrees from the patient's left to the front
    double m_elevation = 21;
    double m_zoom = 1;
    Eigen::Vector2d m_offset = Eigen::Vector2d::Zero();
};

} // namespace Veltrand::Apps
