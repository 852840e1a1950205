// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "viewer/Script.h"
#include "viewer/Viewer.h"

#include <vector>

namespace Veltrand::Apps {

/// Does what a script says. Mouse and keyboard are ignored meanwhile.
/// @param file names the script in messages
/// @return whether the viewer is to go on with the user
/// Throws `ScriptError` when a command fails.
[[nodiscard]] bool playScript(const std::vector<ScriptCommand>& commands, const std::filesystem::path& file,
                              Viewer& viewer);

} // namespace Veltrand::Apps
