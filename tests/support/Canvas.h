// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "support/RenderTarget.h"

#include <Veltrand/GL/Program.h>

#include <memory>
#include <string>

namespace Veltrand::Testing {

/// A small black image to draw on with a program that takes pixel positions (attribute 0) and colours
/// (attribute 1, white where the array is off). Bound while it lives.
class Canvas {
public:
    Canvas(int width, int height);
    ~Canvas();
    Canvas(const Canvas&) = delete;
    Canvas& operator=(const Canvas&) = delete;

    void clear();
    /// One row, a digit per pixel: 1 red + 2 green + 4 blue, each when above one half.
    [[nodiscard]] std::string row(int y) const;
    [[nodiscard]] const GL::Texture& texture() const { return m_target.texture(); }

private:
    RenderTarget m_target;
    std::unique_ptr<GL::Program> m_program;
};

} // namespace Veltrand::Testing
