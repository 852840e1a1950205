// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "support/Volume.h"

#include <Veltrand/GL/Texture.h>

namespace Veltrand::Apps {

/// The volume as a 3D texture of one channel in the volume's own precision, filtered linearly. Throws
/// `std::runtime_error` with one sentence when the driver cannot hold it.
[[nodiscard]] GL::Texture uploadVolume(const Volume& volume);

/// The window in the texture's numbers, where integers run from 0 to 1. With a negative slope, `low` is above
/// `high`.
[[nodiscard]] Window textureWindow(const Volume& volume, const Window& window);

/// Maps patient space to the texture's coordinates.
[[nodiscard]] Eigen::Affine3d patientToTexture(const Volume& volume);

} // namespace Veltrand::Apps
