// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "scene/RegionMesh.h"

#include <vector>

namespace Veltrand::Apps {

/// Fewer triangles for the vertices of a mesh: those of a region that lie in one cube become one of them.
/// @param edge of the cubes, in millimetres
[[nodiscard]] std::vector<Eigen::Vector3i> coarseTriangles(const RegionMesh& mesh, float edge);

} // namespace Veltrand::Apps
