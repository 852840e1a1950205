// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "support/NumberText.h"

#include <Veltrand/Core/ByteBuffer.h>

#include <Eigen/Geometry>
#include <cstddef>
#include <cstdint>

namespace Veltrand::Apps {

/// A scalar volume in memory and where it lies in the patient.
///
/// Patient space is in millimetres; x grows to the patient's right, y to the front, z to the head. Voxels are
/// stored with the first index running fastest.
struct Volume {
    enum class Storage { UInt8, UInt16, Float32 };

    Eigen::Vector3i size = Eigen::Vector3i::Zero();
    /// Maps voxel indices to patient space; whole numbers are voxel centres.
    Eigen::Affine3d voxelToPatient = Eigen::Affine3d::Identity();
    /// False when the file does not say which side is left: the axes are then those of the voxel grid.
    bool orientationKnown = false;
    Storage storage = Storage::UInt8;
    ByteBuffer voxels;
    /// A voxel's value is its stored number times `slope` plus `intercept`.
    double slope = 1;
    double intercept = 0;
    /// How many volumes the file holds, of which this is the first.
    std::int64_t series = 1;

    [[nodiscard]] std::size_t voxelCount() const;
    /// The value of a voxel by its position in `voxels`; always finite.
    [[nodiscard]] double value(std::size_t index) const;
    /// The value of a voxel by its three indices.
    [[nodiscard]] double value(int x, int y, int z) const;
    /// The smallest box in patient space that holds every voxel whole.
    [[nodiscard]] Eigen::AlignedBox3d bounds() const;
    /// The edge lengths of a voxel in millimetres.
    [[nodiscard]] Eigen::Vector3d spacing() const;
    /// How places and lengths in it are written.
    [[nodiscard]] LengthFormat lengths() const { return LengthFormat(spacing().minCoeff()); }
};

/// The range of values that is shown from black to white. `low` is below `high`.
struct Window {
    double low;
    double high;

    [[nodiscard]] friend bool operator==(const Window&, const Window&) = default;
};

/// The window between two percentiles of the voxels above the volume's lowest value, which is taken for
/// background. At most some four million voxels, evenly spread, are looked at. A volume of one value gets a
/// window that begins there.
[[nodiscard]] Window percentileWindow(const Volume& volume, double lowPercent, double highPercent);

} // namespace Veltrand::Apps
