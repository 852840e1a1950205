// SPDX-License-Identifier: BSD-3-Clause
#include "PickingScene.h"

#include <Eigen/LU>
#include <algorithm>
#include <cmath>
#include <numbers>
#include <optional>
#include <random>

namespace Veltrand::GL::PickingScene {

namespace {

constexpr int numMeshes = 1000;
constexpr int numPositions = 100;
constexpr int numSides = 24;

/// The depth in clip space where the line of sight through a point meets a triangle.
std::optional<double> findDepth(const Mesh& mesh, const Eigen::Vector3i& triangle,
                                const Eigen::Vector2d& point) {
    Eigen::Matrix3d corners;
    for (int i = 0; i < 3; ++i)
        corners.col(i) = mesh[static_cast<std::size_t>(triangle[i])].cast<double>();
    Eigen::Matrix3d plane = corners;
    plane.row(2).setOnes();
    const Eigen::Vector3d weights = plane.inverse() * Eigen::Vector3d(point.x(), point.y(), 1);
    if (weights.minCoeff() < 0)
        return std::nullopt;
    return corners.row(2).dot(weights);
}

} // namespace

std::vector<Mesh> makeMeshes() {
    constexpr float slope = 0.002F; // depth for each pixel
    std::minstd_rand random(1);
    std::uniform_real_distribution<float> unit(0, 1);
    std::uniform_real_distribution<float> radiusInPixels(8, 24);
    std::vector<Mesh> meshes(numMeshes);
    for (Mesh& mesh : meshes) {
        const float radius = radiusInPixels(random);
        const float x = width * unit(random);
        const float y = height * unit(random);
        const float depth = 1.8F * unit(random) - 0.9F;
        const auto add = [&](float pixelX, float pixelY, float z) {
            mesh.emplace_back(2 * pixelX / width - 1, 2 * pixelY / height - 1, z);
        };
        add(x, y, depth - slope * radius);
        for (int side = 0; side < numSides; ++side) {
            const float angle = 2 * std::numbers::pi_v<float> * static_cast<float>(side) / numSides;
            add(x + radius * std::cos(angle), y + radius * std::sin(angle), depth);
        }
    }
    return meshes;
}

std::vector<Eigen::Vector3i> makeTriangles() {
    std::vector<Eigen::Vector3i> triangles;
    triangles.reserve(numSides);
    for (int side = 0; side < numSides; ++side)
        triangles.emplace_back(0, 1 + side, 1 + (side + 1) % numSides);
    return triangles;
}

std::vector<Eigen::Vector2i> makePositions() {
    std::minstd_rand random(2);
    std::uniform_int_distribution<int> x(0, width - 1);
    std::uniform_int_distribution<int> y(0, height - 1);
    std::vector<Eigen::Vector2i> positions;
    positions.reserve(numPositions);
    for (int i = 0; i < numPositions; ++i) {
        const int column = x(random);
        positions.emplace_back(column, y(random));
    }
    return positions;
}

void normalize(Infos& infos) {
    std::ranges::sort(infos);
    infos.erase(std::unique(infos.begin(), infos.end()), infos.end());
}

Infos pickExactly() {
    const std::vector<Mesh> meshes = makeMeshes();
    const std::vector<Eigen::Vector3i> triangles = makeTriangles();
    Infos infos;
    for (const Eigen::Vector2i& position : makePositions()) {
        const Eigen::Vector2d center = position.cast<double>() + Eigen::Vector2d::Constant(0.5);
        const Eigen::Vector2d point(2 * center.x() / width - 1, 2 * center.y() / height - 1);
        ObjectPicking::PickingInfo nearest{ObjectPicking::Nothing, 0};
        double nearestDepth = 1;
        for (unsigned object = 0; object < meshes.size(); ++object)
            for (unsigned part = 0; part < triangles.size(); ++part)
                if (const auto depth = findDepth(meshes[object], triangles[part], point);
                    depth && *depth < nearestDepth) {
                    nearestDepth = *depth;
                    nearest = {object, part};
                }
        if (nearest.objectId != ObjectPicking::Nothing)
            infos.push_back(nearest);
    }
    normalize(infos);
    return infos;
}

} // namespace Veltrand::GL::PickingScene
