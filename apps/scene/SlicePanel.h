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

    [[nodiscard]] friend bool operator==(const PixelRect&, const PixelRect&) = default;
};

/// Letters for the four edges of a slice: the side of the patient that lies there.
struct EdgeLetters {
    char left;
    char right;
    char bottom;
    char top;
};

/// How a slice is looked at. Patient space grows along the picture's y axis, and along its x axis it grows
/// (1) or falls (-1).
struct SliceOrientation {
    /// The axis of patient space that is perpendicular to the slice: 0, 1 or 2.
    int normal;
    /// The axes of patient space along the picture's x and y.
    int horizontal;
    int direction;
    int vertical;
    EdgeLetters letters;
};

/// Axial, coronal and sagittal, seen as radiologists see them: axial from the feet and coronal from the
/// front, so that the patient's right is on the viewer's left, and sagittal from the patient's left, so that
/// the front is on the viewer's left.
inline constexpr std::array<SliceOrientation, 3> SliceOrientations{{
    {2, 0, -1, 1, {'R', 'L', 'P', 'A'}}, // axial
    {1, 0, -1, 2, {'R', 'L', 'I', 'S'}}, // coronal
    {0, 1, -1, 2, {'A', 'P', 'I', 'S'}}, // sagittal
}};

/// A plane's colour by the axis that is perpendicular to it: its line on the other slices, and its caption.
inline const std::array<Eigen::Vector4d, 3> PlaneColors{
    {{0.95, 0.42, 0.38, 1}, {0.45, 0.82, 0.42, 1}, {0.42, 0.66, 1.0, 1}}};

/// One slice on the picture.
struct SlicePanel {
    PixelRect rect;
    /// As in `SliceOrientation`.
    int normal;
    int horizontal;
    int vertical;
    /// Maps picture positions within the panel, (0, 0) lower left to (1, 1) upper right, to patient space.
    Eigen::Affine3d panelToPatient;
    EdgeLetters letters;
};

/// @param center what is shown in the middle of the panel, in patient space
/// @param position of the slice along its normal
[[nodiscard]] SlicePanel makeSlicePanel(const SliceOrientation& orientation, const PixelRect& rect,
                                        double pixelsPerMillimetre, const Eigen::Vector3d& center,
                                        double position);

} // namespace Veltrand::Apps
