// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "gallery/Pictures.h"
#include "gallery/SliceLayout.h"

#include <Veltrand/GL/Program.h>
#include <Veltrand/GL/VertexBuffer.h>

#include <Eigen/Core>
#include <memory>
#include <string_view>

namespace Veltrand::Apps {

struct TextBitmap;

/// What is drawn next goes into @p rect.
void setViewport(const PixelRect& rect);

/// Draws text and bars onto the framebuffer that is bound.
class LabelPainter {
public:
    /// Throws what `GL::Program` throws.
    LabelPainter();

    /// Text in the gallery's dots around a pixel.
    /// @param scale pixels per dot
    void drawText(std::string_view text, int centerX, int centerY, int scale,
                  const Eigen::Vector3f& color) const;
    /// The letters of the patient's sides around a panel, '?' where the volume does not say.
    void drawLetters(const Scene& scene, const SlicePanel& panel, const SliceLayout& layout) const;
    void fill(const PixelRect& rect, const Eigen::Vector3f& color) const;

private:
    void drawDots(const TextBitmap& bitmap, const PixelRect& rect, const Eigen::Vector3f& color) const;

    std::unique_ptr<GL::Program> m_program;
    std::unique_ptr<GL::VertexBuffer> m_square;
};

} // namespace Veltrand::Apps
