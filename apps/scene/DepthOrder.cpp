// SPDX-License-Identifier: BSD-3-Clause
#include "scene/DepthOrder.h"

#include <algorithm>
#include <cstddef>
#include <utility>

namespace Veltrand::Apps {

std::vector<Eigen::Vector3i> fromBackToFront(const std::vector<Eigen::Vector3f>& positions,
                                             const std::vector<Eigen::Vector3i>& triangles,
                                             const GL::ViewState& view) {
    const Eigen::Vector3f towardsEye = view.modelViewMatrix().block<1, 3>(2, 0).transpose().cast<float>();
    std::vector<std::pair<float, std::size_t>> order(triangles.size());
    for (std::size_t i = 0; i < order.size(); ++i) {
        float nearness = 0;
        for (const int vertex : triangles[i])
            nearness += positions[static_cast<std::size_t>(vertex)].dot(towardsEye);
        order[i] = {nearness, i};
    }
    std::sort(order.begin(), order.end());
    std::vector<Eigen::Vector3i> sorted;
    sorted.reserve(order.size());
    for (const auto& entry : order)
        sorted.push_back(triangles[entry.second]);
    return sorted;
}

} // namespace Veltrand::Apps
