// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "support/Volume.h"

#include <string>
#include <vector>

namespace Veltrand::Apps {

/// What a user might not expect of a volume as it is shown, in sentences: it is the first of several, or does
/// not say which side is left.
[[nodiscard]] std::vector<std::string> noticesOf(const Volume& volume, const std::string& name);

/// The same of regions that are shown over a volume. They are drawn where their own file places them,
/// whatever voxels it has; what may be wrong is that place. A sentence tells it with both spaces where
/// - only one of them says which side is left,
/// - more than a hundredth of the regions lies outside of the volume, or
/// - they have as many voxels as the volume along each axis, but not the same places.
[[nodiscard]] std::vector<std::string> noticesOfLabels(const Volume& labels, const std::string& labelsName,
                                                       const Volume& volume, const std::string& name);

/// Writes notices to the log as warnings.
void logNotices(const std::vector<std::string>& notices, const char* category);

} // namespace Veltrand::Apps
