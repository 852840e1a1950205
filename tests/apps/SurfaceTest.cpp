// SPDX-License-Identifier: BSD-3-Clause
#include "apps/AppTest.h"

#include "support/Surface.h"

namespace Veltrand::Apps {
namespace {

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

/// By the divergence theorem; negative for a surface that is inside out.
double enclosedVolume(const Surface& surface) {
    double volume = 0;
    for (const Vector3i& triangle : surface.triangles) {
        const auto corner = [&](int i) { return surface.positions[std::size_t(triangle[i])]; };
        volume += double(corner(0).dot(corner(1).cross(corner(2)))) / 6;
    }
    return volume;
}

TEST(Surface, OfABallIsRoundInMillimetres) {
    constexpr double Radius = 18;
    const Surface surface =
        extractSurface(makeGrid([](const Vector3d& place) { return float(5 - place.norm()); }), 5 - Radius);
    EXPECT_TRUE(isClosed(surface));
    EXPECT_NEAR(enclosedVolume(surface) / (4 * std::numbers::pi / 3 * std::pow(Radius, 3)), 1, 0.03);
    for (std::size_t i = 0; i < surface.positions.size(); ++i)
        EXPECT_GT(surface.normals[i].dot(surface.positions[i].normalized()), 0.97F);

    for (int axis = 0; axis < 3; ++axis) {
        const auto loops = crossSection(surface, axis, 9);
        ASSERT_EQ(loops.size(), 1U);
        double disc = 0;
        for (std::size_t i = 0; i < loops[0].size(); ++i) {
            EXPECT_NEAR(loops[0][i][axis], 9, 1e-5);
            disc += loops[0][i].cross(loops[0][(i + 1) % loops[0].size()])[axis] / 2;
        }
        EXPECT_NEAR(disc / (std::numbers::pi * (Radius * Radius - 81)), 1, 0.03);
    }
    EXPECT_TRUE(crossSection(surface, 0, 20).empty());
}

TEST(Surface, ClosesAtTheEndOfTheGridAndAroundEveryDetail) {
    const Surface box = extractSurface(makeGrid([](const Vector3d&) { return 1.F; }), 0);
    EXPECT_TRUE(isClosed(box));
    EXPECT_NEAR(enclosedVolume(box) / (48 * 45 * 51), 1, 0.02); // without the corners and edges
    std::mt19937 random;
    const auto noise = [&random](const Vector3d&) { return float(random() % 100); };
    EXPECT_TRUE(isClosed(extractSurface(makeGrid(noise), 50)));
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

} // namespace
} // namespace Veltrand::Apps
