// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "scene/RegionNames.h"
#include "support/CommandLine.h"

#include <Eigen/Core>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace Veltrand::Apps {

struct ViewerOptions {
    /// Without one, the brain template with its atlas.
    std::optional<std::filesystem::path> volume;
    std::optional<std::filesystem::path> labels;
    std::optional<std::filesystem::path> names;
    /// Of the volume's surface, where there are no labels.
    std::optional<double> level;
    /// Of the window, in points.
    Eigen::Vector2i size = {1024, 768};
    std::optional<std::filesystem::path> script;
    bool verbose = false;
    Question question = Question::None;
};

/// @param arguments the command line without the program's name
/// Throws `UsageError`.
[[nodiscard]] ViewerOptions parseViewerOptions(Utils::Span<const char* const> arguments);

/// One line.
[[nodiscard]] std::string_view viewerUsage();
/// What --help prints after the usage line.
[[nodiscard]] std::string viewerHelp();

} // namespace Veltrand::Apps
