// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "support/Volume.h"

#include <filesystem>

namespace Veltrand::Apps {

/// Reads a volume from a NIfTI-1 file (.nii), plain or gzip compressed, of either byte order.
///
/// - Voxels may be signed or unsigned integers of 8, 16 or 32 bits or floats of 32 or 64 bits; scl_slope and
///   scl_inter apply unless the slope is 0. 32-bit integers and 64-bit floats are rounded to 32-bit floats.
///   Voxels that are not finite take the lowest finite value of the volume, so that they show as background.
/// - Of a file of more than three dimensions the first volume is read; `series` counts them.
/// - The place in the patient follows the sform if there is one, otherwise the qform, otherwise the voxel
///   spacing alone, with the orientation unknown.
///
/// Throws `std::runtime_error` with one sentence that names the file and the reason. No more memory is asked
/// for than the file can fill, whatever its header says. A compressed file is read to its end, so that its
/// check sum has been compared when this returns.
[[nodiscard]] Volume readNifti(const std::filesystem::path& file);

} // namespace Veltrand::Apps
