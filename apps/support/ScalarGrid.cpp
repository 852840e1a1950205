// SPDX-License-Identifier: BSD-3-Clause
#include "support/ScalarGrid.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <map>
#include <utility>

namespace Veltrand::Apps {

namespace {

std::size_t pointCount(const Eigen::Vector3i& size) {
    return static_cast<std::size_t>(size.x()) * static_cast<std::size_t>(size.y()) *
           static_cast<std::size_t>(size.z());
}

/// Calls @p visit with the three indices of each point of a box and the point's place in the box.
template<class Visit>
void forEachPoint(const Eigen::Vector3i& first, const Eigen::Vector3i& size, Visit visit) {
    std::size_t place = 0;
    for (int z = 0; z < size.z(); ++z)
        for (int y = 0; y < size.y(); ++y)
            for (int x = 0; x < size.x(); ++x)
                visit(first.x() + x, first.y() + y, first.z() + z, place++);
}

/// The smallest box that holds each region.
std::vector<Eigen::AlignedBox3i> regionBoxes(const Volume& labels, Utils::Span<const int> regions) {
    std::vector<Eigen::AlignedBox3i> boxes(regions.size());
    std::map<double, std::size_t> places;
    for (std::size_t i = 0; i < regions.size(); ++i)
        places.emplace(regions[i], i);
    // Voxels of one number lie side by side, so that most need no look-up.
    double number = 0;
    auto found = places.find(number);
    forEachPoint(Eigen::Vector3i::Zero(), labels.size, [&](int x, int y, int z, std::size_t place) {
        const double value = labels.value(place);
        if (value != number)
            found = places.find(number = value);
        if (found != places.end())
            boxes[found->second].extend(Eigen::Vector3i(x, y, z));
    });
    return boxes;
}

/// The mean of each point and its two neighbours along an axis, which count half. Outside there is 0.
void smoothAlong(int axis, ScalarGrid& grid) {
    const std::array<std::size_t, 3> steps{1, grid.index(0, 1, 0), grid.index(0, 0, 1)};
    const std::size_t step = steps[static_cast<std::size_t>(axis)];
    const auto length = static_cast<std::size_t>(grid.size[axis]);
    for (std::size_t start = 0; start < grid.values.size(); ++start) {
        if (start / step % length != 0)
            continue;
        float before = 0;
        for (std::size_t i = 0; i < length; ++i) {
            float& value = grid.values[start + i * step];
            const float after = i + 1 < length ? grid.values[start + (i + 1) * step] : 0;
            const float mean = (before + 2 * value + after) / 4;
            before = value;
            value = mean;
        }
    }
}

ScalarGrid regionField(const Volume& labels, int region, const Eigen::AlignedBox3i& box) {
    constexpr int Passes = 2;
    ScalarGrid grid;
    if (box.isEmpty())
        return grid;
    // Every pass spreads the region by a point.
    const Eigen::Vector3i first = box.min() - Eigen::Vector3i::Constant(Passes);
    grid.size = box.sizes() + Eigen::Vector3i::Constant(1 + 2 * Passes);
    grid.gridToPatient = labels.voxelToPatient * Eigen::Translation3d(first.cast<double>());
    grid.values.resize(pointCount(grid.size));
    forEachPoint(first, grid.size, [&](int x, int y, int z, std::size_t place) {
        if (box.contains(Eigen::Vector3i(x, y, z)) && labels.value(x, y, z) == region)
            grid.values[place] = 1;
    });
    smooth(grid, Passes);
    return grid;
}

} // namespace

ScalarGrid shrink(const Volume& volume, double millimetres) {
    const Eigen::Vector3d spacing = volume.spacing();
    Eigen::Vector3i block;
    ScalarGrid grid;
    for (int axis = 0; axis < 3; ++axis) {
        const double voxels = std::floor(millimetres / spacing[axis] + 0.5);
        block[axis] = static_cast<int>(std::clamp(voxels, 1.0, static_cast<double>(volume.size[axis])));
        grid.size[axis] = (volume.size[axis] + block[axis] - 1) / block[axis];
    }
    const Eigen::Vector3d step = block.cast<double>();
    grid.gridToPatient = volume.voxelToPatient * Eigen::Translation3d((step - Eigen::Vector3d::Ones()) / 2) *
                         Eigen::Scaling(step);

    std::vector<int> counts(pointCount(grid.size));
    grid.values.resize(counts.size());
    forEachPoint(Eigen::Vector3i::Zero(), volume.size, [&](int x, int y, int z, std::size_t place) {
        const std::size_t target = grid.index(x / block.x(), y / block.y(), z / block.z());
        grid.values[target] += static_cast<float>(volume.value(place));
        ++counts[target];
    });
    for (std::size_t i = 0; i < counts.size(); ++i)
        grid.values[i] /= static_cast<float>(counts[i]);
    return grid;
}

void smooth(ScalarGrid& grid, int passes) {
    for (int pass = 0; pass < passes; ++pass)
        for (int axis = 0; axis < 3; ++axis)
            smoothAlong(axis, grid);
}

float separatingLevel(const ScalarGrid& grid) {
    constexpr std::size_t Bins = 256;
    const auto [lowest, highest] = std::minmax_element(grid.values.begin(), grid.values.end());
    const double low = *lowest;
    const double width = (*highest - low) / Bins;
    if (!(width > 0))
        return *lowest;
    std::array<double, Bins> counts{};
    for (const float value : grid.values)
        ++counts[std::min(static_cast<std::size_t>((value - low) / width), Bins - 1)];

    double allSum = 0;
    for (std::size_t bin = 0; bin < Bins; ++bin)
        allSum += counts[bin] * static_cast<double>(bin);
    const auto all = static_cast<double>(grid.values.size());
    double below = 0;
    double belowSum = 0;
    double best = -1;
    std::size_t firstBest = 0;
    std::size_t lastBest = 0;
    for (std::size_t bin = 0; bin + 1 < Bins; ++bin) {
        below += counts[bin];
        belowSum += counts[bin] * static_cast<double>(bin);
        const double difference = belowSum / below - (allSum - belowSum) / (all - below);
        const double variance = below * (all - below) * difference * difference;
        if (variance > best) {
            best = variance;
            firstBest = bin;
        }
        if (variance == best)
            lastBest = bin;
    }
    const double middle = static_cast<double>(firstBest + lastBest) / 2 + 1;
    return static_cast<float>(low + middle * width);
}

void forEachRegionField(const Volume& labels, Utils::Span<const int> regions,
                        const std::function<bool(std::size_t, ScalarGrid)>& visit) {
    const std::vector<Eigen::AlignedBox3i> boxes = regionBoxes(labels, regions);
    for (std::size_t i = 0; i < regions.size(); ++i)
        if (!visit(i, regionField(labels, regions[i], boxes[i])))
            return;
}

std::vector<ScalarGrid> regionFields(const Volume& labels, Utils::Span<const int> regions) {
    std::vector<ScalarGrid> fields;
    forEachRegionField(labels, regions, [&fields](std::size_t, ScalarGrid field) {
        fields.push_back(std::move(field));
        return true;
    });
    return fields;
}

} // namespace Veltrand::Apps
