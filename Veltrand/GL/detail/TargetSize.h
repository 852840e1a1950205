// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <Veltrand/GL/Functions.h>

#include <algorithm>
#include <array>
#include <glad/gl.h>

namespace Veltrand::GL {

/// The largest width and height of a 2D texture that can be drawn to as a whole. GL: glGetIntegerv, 3.0
inline std::array<int, 2> largestTarget() {
    const int texture = getInt(GL_MAX_TEXTURE_SIZE);
    std::array<GLint, 2> viewport{};
    glGetIntegerv(GL_MAX_VIEWPORT_DIMS, viewport.data());
    return {std::min(texture, viewport[0]), std::min(texture, viewport[1])};
}

} // namespace Veltrand::GL
