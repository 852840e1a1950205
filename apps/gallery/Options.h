// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "scene/RegionNames.h"
#include "support/CommandLine.h"

#include <Eigen/Core>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Veltrand::Apps {

struct GalleryOptions {
    /// The brain template that Debian's package mricron-data installs.
    std::filesystem::path volume = DefaultVolume;
    /// Region numbers in the same space; those of the brain template if not given and that is shown.
    std::optional<std::filesystem::path> labels;
    std::filesystem::path directory = "gallery";
    Eigen::Vector2i size = {1600, 720};
    /// Where the planes meet, in patient space; the middle of the volume if not given.
    std::optional<Eigen::Vector3d> point;
    bool list = false;
    bool verbose = false;
    Question question = Question::None;
    /// The pictures to make; all of them if empty.
    std::vector<std::string> pictures;
};

/// @param arguments the command line without the program's name
/// Throws `UsageError`.
[[nodiscard]] GalleryOptions parseOptions(Utils::Span<const char* const> arguments);

/// One line.
[[nodiscard]] std::string_view usage();
/// What --help prints after the usage line.
[[nodiscard]] std::string_view help();

} // namespace Veltrand::Apps
