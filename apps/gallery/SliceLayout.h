// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "scene/SlicePanel.h"

#include <Eigen/Geometry>
#include <array>

namespace Veltrand::Apps {

constexpr int LetterHeight = 7;

/// Axial, coronal and sagittal, from left to right, seen as `SliceOrientations` tells. All three share one
/// scale, as large as the picture allows, and a pixel is a square in the patient.
struct SliceLayout {
    std::array<SlicePanel, 3> panels;
    double pixelsPerMillimetre;
    /// Letters are this many times `LetterHeight` pixels high.
    int letterScale;
    /// Pixels around each panel that are free for its letters.
    int margin;
};

/// @param bounds what the slices show
/// @param point where the three planes meet
[[nodiscard]] SliceLayout layoutSlices(const Eigen::Vector2i& pictureSize, const Eigen::AlignedBox3d& bounds,
                                       const Eigen::Vector3d& point);

} // namespace Veltrand::Apps
