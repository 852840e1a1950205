// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "gallery/Pictures.h"
#include "gallery/SliceLayout.h"
#include "scene/BoxPainter.h"

#include <Eigen/Core>
#include <string>

namespace Veltrand::Apps {

/// What is drawn next goes into @p rect.
void setViewport(const PixelRect& rect);

/// Draws text and bars onto the framebuffer that is bound.
class LabelPainter {
public:
    /// Text around a pixel, with capital letters of `LetterHeight` times @p scale pixels.
    static void drawText(const std::string& text, int centerX, int centerY, int scale,
                         const Eigen::Vector3f& color);
    /// In pixels.
    [[nodiscard]] static int textWidth(const std::string& text, int scale);
    /// The letters of the patient's sides around a panel, '?' where the volume does not say.
    static void drawLetters(const Scene& scene, const SlicePanel& panel, const SliceLayout& layout);
    void fill(const PixelRect& rect, const Eigen::Vector3f& color) const;

private:
    BoxPainter m_boxes;
};

} // namespace Veltrand::Apps
