// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "support/Volume.h"

#include <Veltrand/Core/Span.h>

#include <Eigen/Geometry>
#include <functional>
#include <vector>

namespace Veltrand::Apps {

/// A scalar field, known at the points of a grid that lies in patient space.
struct ScalarGrid {
    Eigen::Vector3i size = Eigen::Vector3i::Zero();
    /// Maps grid indices to patient space.
    Eigen::Affine3d gridToPatient = Eigen::Affine3d::Identity();
    /// The first index runs fastest.
    std::vector<float> values;

    [[nodiscard]] std::size_t index(int x, int y, int z) const {
        const auto row =
            static_cast<std::size_t>(z) * static_cast<std::size_t>(size.y()) + static_cast<std::size_t>(y);
        return row * static_cast<std::size_t>(size.x()) + static_cast<std::size_t>(x);
    }
};

/// The volume at about the given spacing: each value is the mean of a block of voxels. Blocks at the far ends
/// may reach beyond the volume, and are then the mean of those voxels that there are.
/// @param millimetres axes that are coarser already keep their voxels
[[nodiscard]] ScalarGrid shrink(const Volume& volume, double millimetres);

/// Each pass replaces every value by the mean over it and its neighbours, those farther away counting less.
/// Beyond the grid there is 0.
void smooth(ScalarGrid& grid, int passes);

/// The level that parts background from foreground best: the split into two classes with the greatest
/// variance between them. Where many levels split alike, it is the middle of them.
[[nodiscard]] float separatingLevel(const ScalarGrid& grid);

/// For each region of a volume of region numbers, a field that falls smoothly from 1 within the region to 0
/// outside, 0.5 being the border; corners are rounded by about a voxel. The field of a region without voxels
/// is empty.
[[nodiscard]] std::vector<ScalarGrid> regionFields(const Volume& labels, Utils::Span<const int> regions);
/// The same, one after another.
/// @param visit takes the position among @p regions and the field, and tells whether to go on
void forEachRegionField(const Volume& labels, Utils::Span<const int> regions,
                        const std::function<bool(std::size_t, ScalarGrid)>& visit);

} // namespace Veltrand::Apps
