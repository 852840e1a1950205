// SPDX-License-Identifier: BSD-3-Clause
#include "gallery/LabelPainter.h"

#include "scene/Annotator.h"
#include "scene/BoxPainter.h"

#include <Veltrand/GL/TextRenderer.h>
#include <Veltrand/GL/Viewport.h>

#include <cmath>

namespace Veltrand::Apps {

namespace {

const Eigen::Vector3f LetterColor(0.92F, 0.92F, 0.92F);
constexpr int Border = 2; // pixels around text that its outlines may reach into

GL::TextRenderer::Font labelFont(int scale) {
    // Capital letters of the font are 0.73 of its size, which is counted in points of 4/3 pixels.
    constexpr double PointsPerPixelOfLetters = 0.75 / 0.73;
    GL::TextRenderer::Font font;
    font.size = static_cast<int>(std::lround(LetterHeight * scale * PointsPerPixelOfLetters));
    return font;
}

} // namespace

void setViewport(const PixelRect& rect) {
    GL::Viewport{rect.x, rect.y, rect.width, rect.height}.set();
}

void LabelPainter::drawText(const std::string& text, int centerX, int centerY, int scale,
                            const Eigen::Vector3f& color) const {
    GL::TextRenderer::Font font = labelFont(scale);
    font.color.head<3>() = color.cast<double>();
    GL::TextRenderer& renderer = *GL::TextRenderer::get();
    const Eigen::Vector2i room = renderer.textSize(text, font) + Eigen::Vector2i::Constant(2 * Border);
    Eigen::Vector2i corner = Eigen::Vector2i(centerX, centerY) - room / 2;
    corner += stepInside({corner.cast<double>(), (corner + room).cast<double>()}, m_size.cast<double>())
                  .cast<int>();
    const GL::Viewport around{corner.x(), corner.y(), room.x(), room.y()};
    renderer.renderText(around, {room.x() / 2, room.y() / 2}, text, font,
                        GL::TextRenderer::AlignmentH::Center, GL::TextRenderer::AlignmentV::Center);
}

int LabelPainter::textWidth(const std::string& text, int scale) {
    return GL::TextRenderer::get()->textSize(text, labelFont(scale)).x();
}

void LabelPainter::drawLetters(const Scene& scene, const SlicePanel& panel, const SliceLayout& layout) const {
    const PixelRect& rect = panel.rect;
    const int middleX = rect.x + rect.width / 2;
    const int middleY = rect.y + rect.height / 2;
    const int distance = layout.margin / 2;
    const auto draw = [&](char letter, int x, int y) {
        drawText(std::string(1, scene.volume.orientationKnown ? letter : '?'), x, y, layout.letterScale,
                 LetterColor);
    };
    draw(panel.letters.left, rect.x - distance, middleY);
    draw(panel.letters.right, rect.x + rect.width + distance, middleY);
    draw(panel.letters.bottom, middleX, rect.y - distance);
    draw(panel.letters.top, middleX, rect.y + rect.height + distance);
}

void LabelPainter::fill(const PixelRect& rect, const Eigen::Vector3f& color) {
    BoxPainter::get()->fill(rect, color.homogeneous());
}

} // namespace Veltrand::Apps
