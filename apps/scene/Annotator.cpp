// SPDX-License-Identifier: BSD-3-Clause
#include "scene/Annotator.h"

#include <Veltrand/GL/Blending.h>
#include <Veltrand/GL/Functions.h>

#include <algorithm>
#include <cmath>

namespace Veltrand::Apps {

using Eigen::Vector3d;
using Eigen::Vector4d;

Annotator::Annotator(const GL::Viewport& window, int points)
    : m_window(window)
    , m_view(window, GL::createOrtho2d(window.width, window.height), Eigen::Matrix4d::Identity())
    , m_points(points) {}

GL::TextRenderer::Font Annotator::font(const Vector4d& color, GL::TextRenderer::Style style,
                                       Flags<GL::TextRenderer::Decoration> decorations) const {
    GL::TextRenderer::Font font;
    font.size = m_points;
    font.style = style;
    font.decorations = decorations;
    font.color = color;
    return font;
}

double Annotator::lineHeight() const {
    return GL::TextRenderer::get()->lineHeightPx(font(Vector4d::Ones()));
}

double Annotator::width(const std::string& text) const {
    return GL::TextRenderer::get()->textSize(text, font(Vector4d::Ones())).x();
}

double Annotator::lineWidth() const {
    return std::max(1.0, std::floor(m_points / 12.0));
}

// [snippet]
void Annotator::text(const std::string& text, const Eigen::Vector2d& place,
                     const GL::TextRenderer::Font& font, GL::TextRenderer::AlignmentH alignH,
                     GL::TextRenderer::AlignmentV alignV) const {
    GL::TextRenderer::get()->renderText(m_window, place, text, font, alignH, alignV);
}

void Annotator::lines(const std::vector<Vector3d>& points, double width, const Vector4d& color) const {
    const GL::Blending blending(GL::Blending::Preset::Alpha);
    m_window.set();
    GL::LineRenderer::get()->renderLines(points, GL::LineRenderer::Options(color, width), m_view);
}
// [/snippet]

void Annotator::sharpLines(std::vector<Vector3d> points, double width, const Vector4d& color) const {
    for (Vector3d& point : points)
        point.head<2>() = (point.head<2>().array().floor() + 0.5).matrix();
    lines(points, width, color);
}

// [snippet]
void Annotator::loop(const std::vector<Vector3d>& points, const Vector4d& color,
                     const GL::ViewState& view) const {
    constexpr unsigned short Dashes = 0x0FFF;
    const GL::Blending blending(GL::Blending::Preset::Alpha);
    view.viewport().set();
    const GL::LineRenderer::Options dashed(color, 2 * lineWidth(), Eigen::Matrix4d::Identity(), Dashes,
                                           lineWidth());
    GL::LineRenderer::get()->renderLineLoop(points, dashed, view);
}
// [/snippet]

} // namespace Veltrand::Apps
