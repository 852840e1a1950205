// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "scene/BoxPainter.h"

#include <Eigen/Core>
#include <string_view>

namespace Veltrand::Apps {

/// What mouse and keys do, a line each: the input, two spaces or more, and what it does.
[[nodiscard]] std::string_view inputHelp();

/// Draws `inputHelp()` into the middle of a window.
void drawHelp(const Eigen::Vector2i& windowSize);

} // namespace Veltrand::Apps
