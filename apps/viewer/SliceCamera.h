// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "viewer/PaneLayout.h"

#include <Eigen/Geometry>

namespace Veltrand::Apps {

/// What part of a volume the three slices show. They share scale and middle, so that they stay side by side.
class SliceCamera {
public:
    /// Shows all of @p bounds, in patient space.
    explicit SliceCamera(const Eigen::AlignedBox3d& bounds);

    void reset();
    /// Keeps @p fixed where it is on the screen.
    void zoom(double factor, const Eigen::Vector3d& fixed);
    /// Moves what is shown by millimetres.
    void pan(const Eigen::Vector3d& offset);

    /// @param pane a slice
    /// @param margin pixels around all of the volume
    /// @param position of the slice along its normal
    [[nodiscard]] SlicePanel panel(Pane pane, const PaneLayout& layout, int margin, double position) const;

private:
    Eigen::AlignedBox3d m_bounds;
    Eigen::Vector3d m_center;
    double m_zoom = 1;
};

/// The pixel of the window at which a point of the patient lies, and the other way round.
[[nodiscard]] Eigen::Vector2d pixelOf(const SlicePanel& panel, const Eigen::Vector3d& point);
[[nodiscard]] Eigen::Vector3d pointOf(const SlicePanel& panel, const Eigen::Vector2d& pixel);

} // namespace Veltrand::Apps
