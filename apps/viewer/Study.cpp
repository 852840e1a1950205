// SPDX-License-Identifier: BSD-3-Clause
#include "viewer/Study.h"

#include "scene/RegionNames.h"
#include "support/NumberText.h"

#include <cmath>

namespace Veltrand::Apps {

namespace {

std::optional<double> voxelAt(const Volume& volume, const Eigen::Vector3d& point) {
    const Eigen::Vector3d place = volume.voxelToPatient.inverse() * point;
    const Eigen::Array3d voxel = (place.array() + 0.5).floor();
    if ((voxel < 0).any() || (voxel >= volume.size.cast<double>().array()).any())
        return std::nullopt;
    const Eigen::Array3i index = voxel.cast<int>();
    return volume.value(index.x(), index.y(), index.z());
}

} // namespace

std::optional<double> Study::valueAt(const Eigen::Vector3d& point) const {
    return voxelAt(volume, point);
}

unsigned Study::regionAt(const Eigen::Vector3d& point) const {
    constexpr double Highest = 0xFFFF;
    const double number = labels ? voxelAt(*labels, point).value_or(0) : 0;
    return number >= 1 && number <= Highest ? static_cast<unsigned>(number) : 0;
}

std::string Study::nameOf(unsigned region) const {
    return region == 0 ? std::string() : shownRegionName(regionNames, region);
}

std::string Study::describe(const Eigen::Vector3d& point, unsigned region) const {
    if (region != 0)
        return nameOf(region);
    const std::optional<double> value = valueAt(point);
    const LengthFormat lengths = volume.lengths();
    return (value ? shortNumber(*value) + " at (" : "(") + lengths.number(point.x()) + ", " +
           lengths.number(point.y()) + ", " + lengths.number(point.z()) + ") mm";
}

double Study::sliceDistance(int axis) const {
    const auto& linear = volume.voxelToPatient.linear();
    Eigen::Index along = 0;
    linear.row(axis).cwiseAbs().maxCoeff(&along);
    return linear.col(along).norm();
}

} // namespace Veltrand::Apps
