// SPDX-License-Identifier: BSD-3-Clause
#include <Veltrand/GL/Viewport.h>

#include <Eigen/Core>
#include <array>
#include <cstdint>
#include <glad/gl.h>

namespace Veltrand::GL {

void Viewport::retrieve() {
    std::array<GLint, 4> values{};
    glGetIntegerv(GL_VIEWPORT, values.data());
    *this = {values[0], values[1], values[2], values[3]};
}

void Viewport::set() const {
    glViewport(x, y, width, height);
}

bool Viewport::includesPoint(const Eigen::Vector2i& p) const {
    const auto inside = [](int value, int begin, int length) {
        return value >= begin && value < std::int64_t{begin} + length;
    };
    return inside(p.x(), x, width) && inside(p.y(), y, height);
}

} // namespace Veltrand::GL
