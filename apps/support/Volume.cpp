// SPDX-License-Identifier: BSD-3-Clause
#include "support/Volume.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <numeric>
#include <vector>

namespace Veltrand::Apps {

namespace {

template<class T>
double stored(const std::byte* data, std::size_t index) {
    T value;
    std::memcpy(&value, data + index * sizeof(T), sizeof(T));
    return static_cast<double>(value);
}

/// A step through @p count elements that visits about @p wanted of them. It shares no divisor with the
/// lengths of a row and of a slice, or it would walk along a few columns only.
std::size_t sampleStep(std::size_t count, std::size_t wanted, const Eigen::Vector3i& size) {
    std::size_t step = std::max<std::size_t>(1, count / wanted);
    const auto slice = static_cast<std::size_t>(size.x()) * static_cast<std::size_t>(size.y());
    while (step > 1 && std::gcd(step, slice) != 1)
        ++step;
    return step;
}

double percentile(std::vector<double>& values, double percent) {
    const double last = static_cast<double>(values.size() - 1);
    const auto rank = static_cast<std::ptrdiff_t>(std::lround(std::clamp(percent / 100, 0.0, 1.0) * last));
    std::nth_element(values.begin(), values.begin() + rank, values.end());
    return values[static_cast<std::size_t>(rank)];
}

} // namespace

std::size_t Volume::voxelCount() const {
    return static_cast<std::size_t>(size.x()) * static_cast<std::size_t>(size.y()) *
           static_cast<std::size_t>(size.z());
}

double Volume::value(std::size_t index) const {
    switch (storage) {
    case Storage::UInt8:
        return stored<std::uint8_t>(voxels.data(), index) * slope + intercept;
    case Storage::UInt16:
        return stored<std::uint16_t>(voxels.data(), index) * slope + intercept;
    case Storage::Float32:
        break;
    }
    return stored<float>(voxels.data(), index) * slope + intercept;
}

double Volume::value(int x, int y, int z) const {
    const auto row =
        static_cast<std::size_t>(z) * static_cast<std::size_t>(size.y()) + static_cast<std::size_t>(y);
    return value(row * static_cast<std::size_t>(size.x()) + static_cast<std::size_t>(x));
}

Eigen::AlignedBox3d Volume::bounds() const {
    Eigen::AlignedBox3d box;
    for (int corner = 0; corner < 8; ++corner) {
        Eigen::Vector3d voxel;
        for (int axis = 0; axis < 3; ++axis)
            voxel[axis] = ((corner >> axis) & 1) != 0 ? size[axis] - 0.5 : -0.5;
        box.extend(voxelToPatient * voxel);
    }
    return box;
}

Eigen::Vector3d Volume::spacing() const {
    return voxelToPatient.linear().colwise().norm().transpose();
}

Window percentileWindow(const Volume& volume, double lowPercent, double highPercent) {
    const std::size_t count = volume.voxelCount();
    const std::size_t step = sampleStep(count, std::size_t{1} << 22, volume.size);
    std::vector<double> values;
    values.reserve(count / step + 1);
    for (std::size_t i = 0; i < count; i += step)
        values.push_back(volume.value(i));

    const double lowest = *std::min_element(values.begin(), values.end());
    std::erase(values, lowest);
    if (values.empty())
        return {lowest, lowest + std::max(1.0, std::abs(lowest))};
    const double low = percentile(values, lowPercent);
    const double high = percentile(values, highPercent);
    // Where the foreground has one value, all of it shows white on a black background.
    return low < high ? Window{low, high} : Window{lowest, high};
}

} // namespace Veltrand::Apps
