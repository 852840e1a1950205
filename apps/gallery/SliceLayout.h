// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <Eigen/Geometry>
#include <array>

namespace Veltrand::Apps {

/// A rectangle of pixels; the origin of the picture is its lower left corner.
struct PixelRect {
    int x;
    int y;
    int width;
    int height;
};

/// Letters for the four edges of a slice: the side of the patient that lies there.
struct EdgeLetters {
    char left;
    char right;
    char bottom;
    char top;
};

/// One slice on the picture.
struct SlicePanel {
    PixelRect rect;
    /// The axis of patient space that is perpendicular to the slice: 0, 1 or 2.
    int normal;
    /// The axes of patient space along the picture's x and y.
    int horizontal;
    int vertical;
    /// Maps picture positions within the panel, (0, 0) lower left to (1, 1) upper right, to patient space.
    Eigen::Affine3d panelToPatient;
    EdgeLetters letters;
};

/// Axial, coronal and sagittal, from left to right.
///
constexpr int LetterHeight = 7;

/// The slices are seen as radiologists see them: axial from the feet and coronal from the front, so that the
/// patient's right is on the viewer's left, and sagittal from the patient's left, so that the front is on the
/// viewer's left. All three share one scale, as large as the picture allows, and a pixel is a square in the
/// patient.
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
