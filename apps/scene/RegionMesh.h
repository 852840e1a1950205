// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "support/Surface.h"
#include "support/Volume.h"

#include <cstddef>
#include <functional>
#include <optional>
#include <vector>

namespace Veltrand::Apps {

/// Surfaces that are drawn together, in patient space.
struct RegionMesh {
    std::vector<Eigen::Vector3f> positions;
    std::vector<Eigen::Vector3f> normals;
    /// Which region a vertex belongs to.
    std::vector<float> regions;
    std::vector<Eigen::Vector3i> triangles;

    void add(const Surface& surface, int region);
};

/// Told how many of how many steps are done; the answer is whether to go on.
using MeshProgress = std::function<bool(std::size_t done, std::size_t total)>;

/// The surfaces of all regions of a volume of region numbers, 1 to 65535. What is ready when @p progress says
/// no is returned. Takes seconds for an atlas of the brain.
[[nodiscard]] RegionMesh meshRegions(const Volume& labels, const MeshProgress& progress = {});

/// The surface of what is brighter than a level, as one region.
/// @param millimetres about the distance of the vertices
/// @param level the one that parts background from foreground best, if not given
[[nodiscard]] RegionMesh meshVolume(const Volume& volume, double millimetres, std::optional<float> level,
                                    int region, const MeshProgress& progress = {});

/// About the distance of the vertices at which the surface of a volume shows its shape but not each fold, so
/// that it does not hide what lies within: 2 mm in a brain.
[[nodiscard]] double surfaceDetail(const Volume& volume);

/// The surfaces of the regions, or of the volume as region 1 where there are none.
[[nodiscard]] RegionMesh makeRegionMesh(const Volume& volume, const Volume* labels);

} // namespace Veltrand::Apps
