// SPDX-License-Identifier: BSD-3-Clause
#include "gallery/LabelPainter.h"

#include "gallery/Glyphs.h"

#include <Veltrand/GL/Texture.h>
#include <Veltrand/GL/Viewport.h>

namespace Veltrand::Apps {

namespace {

const Eigen::Vector3f LetterColor(0.92F, 0.92F, 0.92F);

} // namespace

void setViewport(const PixelRect& rect) {
    GL::Viewport{rect.x, rect.y, rect.width, rect.height}.set();
}

LabelPainter::LabelPainter()
    : m_program(GL::Program::createVertexFragment("VeltrandGallery/Panel.vert", "VeltrandGallery/Label.frag",
                                                  "", GL::Program::Compilation::ImmediateThrow))
    , m_square(GL::VertexBuffer::createFullscreenSquare()) {}

void LabelPainter::drawText(std::string_view text, int centerX, int centerY, int scale,
                            const Eigen::Vector3f& color) const {
    const TextBitmap bitmap = Apps::drawText(text);
    const int width = bitmap.width * scale;
    const int height = bitmap.height * scale;
    drawDots(bitmap, {centerX - width / 2, centerY - height / 2, width, height}, color);
}

void LabelPainter::drawLetters(const Scene& scene, const SlicePanel& panel, const SliceLayout& layout) const {
    const PixelRect& rect = panel.rect;
    const int middleX = rect.x + rect.width / 2;
    const int middleY = rect.y + rect.height / 2;
    const int distance = layout.margin / 2;
    const auto draw = [&](char letter, int x, int y) {
        const char known = scene.volume.orientationKnown ? letter : '?';
        drawText(std::string_view(&known, 1), x, y, layout.letterScale, LetterColor);
    };
    draw(panel.letters.left, rect.x - distance, middleY);
    draw(panel.letters.right, rect.x + rect.width + distance, middleY);
    draw(panel.letters.bottom, middleX, rect.y - distance);
    draw(panel.letters.top, middleX, rect.y + rect.height + distance);
}

void LabelPainter::fill(const PixelRect& rect, const Eigen::Vector3f& color) const {
    drawDots({1, 1, {255}}, rect, color);
}

void LabelPainter::drawDots(const TextBitmap& bitmap, const PixelRect& rect,
                            const Eigen::Vector3f& color) const {
    GL::Texture dots(GL::Texture::Target::Texture2D, Eigen::Vector3i(bitmap.width, bitmap.height, 1),
                     GL::InternalFormat::R8);
    dots.setFiltering(GL::Sampler::MinFilter::Nearest, GL::Sampler::MagFilter::Nearest);
    dots.upload(bitmap.dots);
    setViewport(rect);
    m_program->enable();
    m_program->setArgument("dots", dots);
    m_program->setArgument("labelColor", color);
    m_square->draw(GL::Primitive::TriangleFan);
    m_program->disable();
    m_program->unbindSamplers("dots");
}

} // namespace Veltrand::Apps
