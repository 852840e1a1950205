// SPDX-License-Identifier: BSD-3-Clause
#include "viewer/CoarseMesh.h"

#include <array>
#include <cstddef>
#include <unordered_map>

namespace Veltrand::Apps {

namespace {

/// A cube of space and a region.
using Place = std::array<int, 4>;

struct PlaceHash {
    std::size_t operator()(const Place& place) const {
        std::size_t hash = 0;
        for (const int number : place)
            hash = hash * 1000003 + static_cast<std::size_t>(number);
        return hash;
    }
};

} // namespace

std::vector<Eigen::Vector3i> coarseTriangles(const RegionMesh& mesh, float edge) {
    std::unordered_map<Place, int, PlaceHash> first;
    std::vector<int> representative(mesh.positions.size());
    for (std::size_t i = 0; i < mesh.positions.size(); ++i) {
        const Eigen::Array3i cube = (mesh.positions[i] / edge).array().floor().cast<int>();
        const Place place{cube.x(), cube.y(), cube.z(), static_cast<int>(mesh.regions[i])};
        representative[i] = first.emplace(place, static_cast<int>(i)).first->second;
    }
    std::vector<Eigen::Vector3i> triangles;
    for (const Eigen::Vector3i& triangle : mesh.triangles) {
        const Eigen::Vector3i coarse = triangle.unaryExpr(
            [&representative](int vertex) { return representative[static_cast<std::size_t>(vertex)]; });
        if (coarse[0] != coarse[1] && coarse[1] != coarse[2] && coarse[2] != coarse[0])
            triangles.push_back(coarse);
    }
    return triangles;
}

} // namespace Veltrand::Apps
