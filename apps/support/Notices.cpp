// SPDX-License-Identifier: BSD-3-Clause
#include "support/Notices.h"

#include <Veltrand/Core/Log.h>

#include <cmath>
#include <optional>

namespace Veltrand::Apps {

namespace {

std::optional<std::string> seriesNotice(const Volume& volume, const std::string& name) {
    if (volume.series == 1)
        return std::nullopt;
    return name + " holds " + std::to_string(volume.series) + " volumes, of which the first is shown.";
}

/// "(1.0, 2.0, 3.0)"
std::string triple(const Eigen::Vector3d& lengths, const LengthFormat& format) {
    return "(" + format.number(lengths.x()) + ", " + format.number(lengths.y()) + ", " +
           format.number(lengths.z()) + ")";
}

/// Voxels and reach of a volume.
std::string spaceOf(const Volume& volume, const std::string& name) {
    const LengthFormat format = volume.lengths();
    const Eigen::Vector3d spacing = volume.spacing();
    const Eigen::AlignedBox3d bounds = volume.bounds();
    return name + " has " + std::to_string(volume.size.x()) + " x " + std::to_string(volume.size.y()) +
           " x " + std::to_string(volume.size.z()) + " voxels of " + shortNumber(spacing.x()) + " x " +
           shortNumber(spacing.y()) + " x " + shortNumber(spacing.z()) + " mm from " +
           triple(bounds.min(), format) + " to " + triple(bounds.max(), format) + " mm" +
           (volume.orientationKnown ? "" : ", sides unknown");
}

/// The part of the voxels of regions, from 0 to 1, whose middles lie in no voxel of the volume.
double partOutside(const Volume& labels, const Volume& volume) {
    const Eigen::Affine3d toVolume = volume.voxelToPatient.inverse() * labels.voxelToPatient;
    const Eigen::Array3d last = volume.size.cast<double>().array() - 0.5;
    std::size_t all = 0;
    std::size_t outside = 0;
    std::size_t index = 0;
    for (int z = 0; z < labels.size.z(); ++z)
        for (int y = 0; y < labels.size.y(); ++y)
            for (int x = 0; x < labels.size.x(); ++x) {
                if (labels.value(index++) < 1)
                    continue;
                const Eigen::Array3d place = toVolume * Eigen::Vector3d(x, y, z);
                ++all;
                outside += (place < -0.5).any() || (place > last).any() ? 1U : 0U;
            }
    return all == 0 ? 0 : static_cast<double>(outside) / static_cast<double>(all);
}

/// Whether some corner of the one grid lies half a voxel or more from that of the other.
bool areApart(const Volume& a, const Volume& b) {
    const Eigen::Affine3d step = b.voxelToPatient.inverse() * a.voxelToPatient;
    const Eigen::AlignedBox3d grid(Eigen::Vector3d::Zero(),
                                   (a.size - Eigen::Vector3i::Ones()).cast<double>());
    for (int corner = 0; corner < 8; ++corner) {
        const Eigen::Vector3d place = grid.corner(Eigen::AlignedBox3d::CornerType(corner));
        if ((step * place - place).cwiseAbs().maxCoeff() >= 0.5)
            return true;
    }
    return false;
}

std::optional<std::string> spaceDifference(const Volume& labels, const std::string& labelsName,
                                           const Volume& volume, const std::string& name) {
    constexpr double Noticeable = 0.01;
    if (labels.orientationKnown != volume.orientationKnown)
        return "only " + (labels.orientationKnown ? labelsName : name) + " says which side is left";
    if (const double part = partOutside(labels, volume); part > Noticeable)
        return std::to_string(std::lround(100 * part)) + " % of the regions lie outside of " + name;
    if (labels.size == volume.size && areApart(labels, volume))
        return labelsName + " has as many voxels as " + name + " in other places";
    return std::nullopt;
}

} // namespace

std::vector<std::string> noticesOf(const Volume& volume, const std::string& name) {
    std::vector<std::string> notices;
    if (auto notice = seriesNotice(volume, name))
        notices.push_back(std::move(*notice));
    if (!volume.orientationKnown)
        notices.push_back(name + " does not say which side is left.");
    return notices;
}

std::vector<std::string> noticesOfLabels(const Volume& labels, const std::string& labelsName,
                                         const Volume& volume, const std::string& name) {
    std::vector<std::string> notices;
    if (auto notice = seriesNotice(labels, labelsName))
        notices.push_back(std::move(*notice));
    if (const auto difference = spaceDifference(labels, labelsName, volume, name))
        notices.push_back("The regions may be in another space: " + *difference + ". " +
                          spaceOf(labels, labelsName) + "; " + spaceOf(volume, name) + ".");
    return notices;
}

void logNotices(const std::vector<std::string>& notices, const char* category) {
    if (Log::isAccepted(Log::Warning, category))
        for (const std::string& notice : notices)
            Log::log(Log::Warning, category, notice);
}

} // namespace Veltrand::Apps
