// SPDX-License-Identifier: BSD-3-Clause
#include "scene/RegionMesh.h"

namespace Veltrand::Apps {

namespace {

constexpr int HighestRegion = 0xFFFF;

/// The numbers above 0 that a volume holds.
std::vector<int> regionsOf(const Volume& labels) {
    std::vector<bool> found(HighestRegion + 1);
    for (std::size_t i = 0; i < labels.voxelCount(); ++i)
        if (const double value = labels.value(i); value >= 1 && value <= HighestRegion)
            found[static_cast<std::size_t>(value)] = true;
    std::vector<int> regions;
    for (int region = 1; region <= HighestRegion; ++region)
        if (found[static_cast<std::size_t>(region)])
            regions.push_back(region);
    return regions;
}

} // namespace

void RegionMesh::add(const Surface& surface, int region) {
    const auto first = static_cast<int>(positions.size());
    positions.insert(positions.end(), surface.positions.begin(), surface.positions.end());
    normals.insert(normals.end(), surface.normals.begin(), surface.normals.end());
    regions.resize(positions.size(), static_cast<float>(region));
    for (const Eigen::Vector3i& triangle : surface.triangles)
        triangles.emplace_back(triangle + Eigen::Vector3i::Constant(first));
}

RegionMesh meshRegions(const Volume& labels, const MeshProgress& progress) {
    RegionMesh mesh;
    const std::vector<int> regions = regionsOf(labels);
    forEachRegionField(labels, regions, [&](std::size_t i, const ScalarGrid& field) {
        mesh.add(extractSurface(field, 0.5F), regions[i]);
        return !progress || progress(i + 1, regions.size());
    });
    return mesh;
}

RegionMesh meshVolume(const Volume& volume, double millimetres, std::optional<float> level, int region,
                      const MeshProgress& progress) {
    RegionMesh mesh;
    const ScalarGrid grid = shrink(volume, millimetres);
    if (progress && !progress(1, 2))
        return mesh;
    mesh.add(extractSurface(grid, level ? *level : separatingLevel(grid)), region);
    if (progress)
        progress(2, 2);
    return mesh;
}

double surfaceDetail(const Volume& volume) {
    constexpr double Steps = 96;
    return volume.bounds().sizes().maxCoeff() / Steps;
}

RegionMesh makeRegionMesh(const Volume& volume, const Volume* labels) {
    return labels != nullptr ? meshRegions(*labels)
                             : meshVolume(volume, surfaceDetail(volume), std::nullopt, 1);
}

} // namespace Veltrand::Apps
