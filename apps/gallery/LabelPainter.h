// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "gallery/Canvas.h"
#include "gallery/Pictures.h"
#include "gallery/SliceLayout.h"

#include <Eigen/Core>
#include <string>

namespace Veltrand::Apps {

/// What is drawn next goes into @p rect.
void setViewport(const PixelRect& rect);

/// Draws text and bars onto the canvas, which is bound.
class LabelPainter {
public:
    explicit LabelPainter(const Canvas& canvas)
        : m_size(canvas.size()) {}

    /// Text around a pixel, with capital letters of `LetterHeight` times @p scale pixels. It is moved inside
    /// where it would leave the canvas.
    void drawText(const std::string& text, int centerX, int centerY, int scale,
                  const Eigen::Vector3f& color) const;
    /// In pixels.
    [[nodiscard]] static int textWidth(const std::string& text, int scale);
    /// The letters of the patient's sides around a panel, '?' where the volume does not say.
    void drawLetters(const Scene& scene, const SlicePanel& panel, const SliceLayout& layout) const;
    static void fill(const PixelRect& rect, const Eigen::Vector3f& color);

private:
    Eigen::Vector2i m_size;
};

} // namespace Veltrand::Apps
