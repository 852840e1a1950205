// SPDX-License-Identifier: BSD-3-Clause
#include "support/Surface.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <gtest/gtest.h>
#include <map>
#include <numbers>
#include <numeric>
#include <random>

namespace Veltrand::Apps {
namespace {

using Eigen::Vector3d;
using Eigen::Vector3f;
using Eigen::Vector3i;

/// A grid of steps of 2, 1.5 and 3 mm, mirrored, whose middle lies at the origin.
ScalarGrid makeGrid(const std::function<float(const Vector3d&)>& field) {
    ScalarGrid grid;
    grid.size = {24, 30, 17};
    grid.gridToPatient = Eigen::Scaling(-2.0, 1.5, 3.0) *
                         Eigen::Translation3d((Vector3i::Ones() - grid.size).cast<double>() / 2);
    for (int z = 0; z < grid.size.z(); ++z)
        for (int y = 0; y < grid.size.y(); ++y)
            for (int x = 0; x < grid.size.x(); ++x)
                grid.values.push_back(field(grid.gridToPatient * Vector3d(x, y, z)));
    return grid;
}

/// Every edge is followed as often in one direction as in the other.
bool isClosed(const Surface& surface) {
    std::map<std::pair<int, int>, int> balance;
    for (const Vector3i& triangle : surface.triangles)
        for (int i = 0; i < 3; ++i) {
            const auto [first, last] = std::minmax(triangle[i], triangle[(i + 1) % 3]);
            balance[{first, last}] += triangle[i] == first ? 1 : -1;
        }
    return !balance.empty() &&
           std::ranges::all_of(balance, [](const auto& edge) { return edge.second == 0; });
}

struct Measures {
    double area = 0;
    double volume = 0; ///< negative for a surface that is inside out
};

Measures measure(const Surface& surface) {
    Measures sum;
    for (const Vector3i& triangle : surface.triangles) {
        const auto corner = [&](int i) {
            return Vector3d(surface.positions[std::size_t(triangle[i])].cast<double>());
        };
        const Vector3d normal = (corner(1) - corner(0)).cross(corner(2) - corner(0));
        sum.area += normal.norm() / 2;
        sum.volume += corner(0).dot(normal) / 6;
    }
    return sum;
}

TEST(Surface, OfABallIsRoundInMillimetres) {
    constexpr double Radius = 18;
    const Surface surface =
        extractSurface(makeGrid([](const Vector3d& place) { return float(5 - place.norm()); }), 5 - Radius);
    EXPECT_TRUE(isClosed(surface));
    EXPECT_NEAR(measure(surface).area / (4 * std::numbers::pi * Radius * Radius), 1, 0.03);
    EXPECT_NEAR(measure(surface).volume / (4 * std::numbers::pi / 3 * std::pow(Radius, 3)), 1, 0.03);
    for (std::size_t i = 0; i < surface.positions.size(); ++i) {
        EXPECT_NEAR(surface.positions[i].norm(), Radius, 0.2);
        EXPECT_GT(surface.normals[i].dot(surface.positions[i].normalized()), 0.97F);
    }
}

TEST(Surface, ClosesAtTheEndOfTheGridAndAroundEveryDetail) {
    const Surface box = extractSurface(makeGrid([](const Vector3d&) { return 1.F; }), 0);
    EXPECT_TRUE(isClosed(box));
    EXPECT_NEAR(measure(box).volume / (48 * 45 * 51), 1, 0.02); // without the corners and edges
    std::mt19937 random;
    const Surface noise = extractSurface(
        makeGrid([&random](const Vector3d&) { return std::uniform_real_distribution<float>(-1, 1)(random); }),
        0);
    EXPECT_TRUE(isClosed(noise));
    EXPECT_TRUE(extractSurface(makeGrid([](const Vector3d&) { return 0.F; }), 0).triangles.empty());
}

TEST(ScalarGrid, ShrinksAVolumeWhereItLies) {
    // Two millimetres along x, one along the others; the values count up.
    Volume volume;
    volume.size = {3, 4, 5};
    volume.voxelToPatient = Eigen::Translation3d(10, 20, 30) * Eigen::Scaling(2.0, 1.0, 1.0);
    std::vector<std::uint8_t> voxels(60);
    std::iota(voxels.begin(), voxels.end(), std::uint8_t{0});
    volume.voxels = ByteBuffer(ByteBufferView(voxels.data(), voxels.size()));
    const ScalarGrid grid = shrink(volume, 2);
    EXPECT_EQ(grid.size, Vector3i(3, 2, 3));
    EXPECT_EQ(grid.gridToPatient * Vector3d(1, 1, 1), Vector3d(12, 22.5, 32.5));
    EXPECT_FLOAT_EQ(grid.values[grid.index(1, 1, 1)], 1 + 12 * 2.5F + 3 * 2.5F);
    EXPECT_FLOAT_EQ(grid.values[grid.index(2, 0, 2)], 2 + 12 * 4 + 3 * 0.5F); // one layer of voxels only
}

TEST(ScalarGrid, SeparatesBackgroundFromForeground) {
    ScalarGrid grid;
    grid.size = {10, 10, 1};
    grid.values.assign(100, 3);
    EXPECT_EQ(separatingLevel(grid), 3);
    std::fill_n(grid.values.begin(), 30, 100.F);
    std::fill_n(grid.values.begin(), 15, 120.F);
    EXPECT_NEAR(separatingLevel(grid), 51.5, 2);
}

TEST(ScalarGrid, ARegionKeepsItsSizeAndPlace) {
    Volume labels;
    labels.size = {20, 20, 20};
    labels.voxelToPatient.linear() = Eigen::Scaling(-1.0, 1.0, 1.0).toDenseMatrix();
    std::vector<std::uint8_t> voxels;
    for (int z = 0; z < 20; ++z)
        for (int y = 0; y < 20; ++y)
            for (int x = 0; x < 20; ++x)
                voxels.push_back((Vector3i(x, y, z) - Vector3i(6, 9, 10)).squaredNorm() < 36 ? 3 : 7);
    labels.voxels = ByteBuffer(ByteBufferView(voxels.data(), voxels.size()));
    const std::vector<ScalarGrid> fields = regionFields(labels, std::array{9, 3});
    EXPECT_TRUE(fields.at(0).values.empty());
    EXPECT_TRUE(extractSurface(fields[0], 0.5F).triangles.empty());
    const Surface ball = extractSurface(fields.at(1), 0.5F);
    EXPECT_TRUE(isClosed(ball));
    const auto count = double(std::ranges::count(voxels, 3));
    EXPECT_NEAR(measure(ball).volume / count, 1, 0.15); // smoothing takes a little of what is small
    for (const Vector3f& position : ball.positions)
        EXPECT_NEAR((position - Vector3f(-6, 9, 10)).norm(), 6, 0.6);
}

} // namespace
} // namespace Veltrand::Apps
