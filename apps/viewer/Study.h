// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "support/Volume.h"

#include <Eigen/Core>
#include <optional>
#include <string>
#include <vector>

namespace Veltrand::Apps {

/// A volume and what is known about the regions in it.
struct Study {
    Volume volume;
    /// Region numbers in the same space.
    std::optional<Volume> labels{};
    /// By region number; empty where there is none.
    std::vector<std::string> regionNames{};

    /// The value of the voxel at a point of the patient; nothing outside the volume.
    [[nodiscard]] std::optional<double> valueAt(const Eigen::Vector3d& point) const;
    /// The region at a point of the patient; 0 for none.
    [[nodiscard]] unsigned regionAt(const Eigen::Vector3d& point) const;
    /// The name of a region as it is shown; empty for none.
    [[nodiscard]] std::string nameOf(unsigned region) const;
    /// What is at a point: a region's name, otherwise value and place.
    [[nodiscard]] std::string describe(const Eigen::Vector3d& point, unsigned region) const;
    /// Millimetres from one slice to the next along an axis of patient space.
    [[nodiscard]] double sliceDistance(int axis) const;
};

} // namespace Veltrand::Apps
