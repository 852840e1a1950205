// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "support/ScalarGrid.h"

#include <Eigen/Core>
#include <vector>

namespace Veltrand::Apps {

/// A surface of triangles that share their vertices, in patient space.
struct Surface {
    std::vector<Eigen::Vector3f> positions;
    /// Outwards, of length 1.
    std::vector<Eigen::Vector3f> normals;
    /// Three vertices each, counter-clockwise as seen from outside.
    std::vector<Eigen::Vector3i> triangles;
};

/// The border of what lies above @p level. It is closed: where the inside reaches the end of the grid, the
/// surface runs half a step beyond it.
///
/// There is one vertex in each cell of the grid through which the border passes, in the middle of the places
/// where it crosses the cell's edges; around each edge crossed, four of them make a quadrilateral. That takes
/// half the triangles that cutting up the cells would, without slivers, but smooths off what is smaller than
/// a cell.
[[nodiscard]] Surface extractSurface(const ScalarGrid& grid, float level);

/// Where a closed surface meets a plane: closed loops, the last point joined to the first, counter-clockwise
/// around what lies inside as seen from the axis's positive end.
/// @param axis of patient space that is perpendicular to the plane
[[nodiscard]] std::vector<std::vector<Eigen::Vector3d>> crossSection(const Surface& surface, int axis,
                                                                     double position);

} // namespace Veltrand::Apps
