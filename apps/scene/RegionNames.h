// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace Veltrand::Apps {

/// The regions of the brain template of Debian's package mricron-data, and that template.
inline constexpr const char* DefaultLabels = "/usr/share/mricron/templates/aal.nii.gz";
inline constexpr const char* DefaultVolume = "/usr/share/mricron/templates/ch2better.nii.gz";

/// The text file that an atlas has beside its volume for the names: ".txt" for ".gz", or added to ".nii".
[[nodiscard]] std::filesystem::path namesBeside(std::filesystem::path labels);

/// The names of regions by their number, from lines of a number and a name; empty where there is none. Other
/// lines are skipped, and without the file there are no names.
[[nodiscard]] std::vector<std::string> readRegionNames(const std::filesystem::path& file);

/// The name of a region, or its number if it has none.
[[nodiscard]] std::string regionName(const std::vector<std::string>& names, unsigned region);
/// The same for people, with blanks in place of underscores.
[[nodiscard]] std::string shownRegionName(const std::vector<std::string>& names, unsigned region);

} // namespace Veltrand::Apps
