// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <Veltrand/GL/ViewState.h>

#include <Eigen/Core>
#include <vector>

namespace Veltrand::Apps {

/// The triangles in the order in which blending has to see them, by the depths of their centroids along a
/// parallel projection.
[[nodiscard]] std::vector<Eigen::Vector3i> fromBackToFront(const std::vector<Eigen::Vector3f>& positions,
                                                           const std::vector<Eigen::Vector3i>& triangles,
                                                           const GL::ViewState& view);

} // namespace Veltrand::Apps
