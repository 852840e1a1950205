// SPDX-License-Identifier: BSD-3-Clause
#include "scene/SlicePanel.h"

namespace Veltrand::Apps {

SlicePanel makeSlicePanel(const SliceOrientation& orientation, const PixelRect& rect,
                          double pixelsPerMillimetre, const Eigen::Vector3d& center, double position) {
    // The panel covers whole pixels.
    const double width = rect.width / pixelsPerMillimetre;
    const double height = rect.height / pixelsPerMillimetre;
    Eigen::Vector3d lowerLeft = center;
    lowerLeft[orientation.normal] = position;
    lowerLeft[orientation.horizontal] -= orientation.direction * width / 2;
    lowerLeft[orientation.vertical] -= height / 2;

    Eigen::Matrix4d matrix = Eigen::Matrix4d::Zero();
    matrix(orientation.horizontal, 0) = orientation.direction * width;
    matrix(orientation.vertical, 1) = height;
    matrix(orientation.normal, 2) = 1;
    matrix.topRightCorner<3, 1>() = lowerLeft;
    matrix(3, 3) = 1;
    return {rect,
            orientation.normal,
            orientation.horizontal,
            orientation.vertical,
            Eigen::Affine3d(matrix),
            orientation.letters};
}

} // namespace Veltrand::Apps
