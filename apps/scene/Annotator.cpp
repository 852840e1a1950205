// SPDX-License-Identifier: BSD-3-Clause
#include "scene/Annotator.h"

#include "scene/BoxPainter.h"

#include <Veltrand/GL/Blending.h>
#include <Veltrand/GL/Functions.h>

#include <algorithm>
#include <cmath>

namespace Veltrand::Apps {

using Eigen::Vector2d;
using Eigen::Vector3d;
using Eigen::Vector4d;

namespace {

using AlignmentH = GL::TextRenderer::AlignmentH;
using AlignmentV = GL::TextRenderer::AlignmentV;

/// On white, all colours of text have a contrast of 4.5 or more with it.
const Eigen::Vector4f PlateColor(0, 0, 0, 0.85F);

/// The part of a text's width that lies left of its anchor.
double partLeft(AlignmentH alignment) {
    return alignment == AlignmentH::Left ? 0 : alignment == AlignmentH::Center ? 0.5 : 1;
}

/// The part of a text's height that lies below its anchor.
double partBelow(AlignmentV alignment) {
    switch (alignment) {
    case AlignmentV::Top:
        return 1;
    case AlignmentV::Center:
        return 0.5;
    case AlignmentV::Baseline:
        return 0.25;
    case AlignmentV::Bottom:
        break;
    }
    return 0;
}

} // namespace

Vector2d stepInside(const Eigen::AlignedBox2d& box, const Vector2d& size) {
    return {std::max(std::min(0.0, size.x() - box.max().x()), -box.min().x()),
            std::min(std::max(0.0, -box.min().y()), size.y() - box.max().y())};
}

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

void Annotator::label(const std::string& text, const Vector2d& place, const GL::TextRenderer::Font& font,
                      AlignmentH alignH, AlignmentV alignV) const {
    const Vector2d size = GL::TextRenderer::get()->textSize(text, font).cast<double>();
    const Vector2d below = place - Vector2d(partLeft(alignH), partBelow(alignV)).cwiseProduct(size);
    const Vector2d air = Vector2d::Constant(std::max(2.0, lineHeight() / 5));
    Eigen::AlignedBox2d plate(below - air, below + size + air);
    const Vector2d window(m_window.width, m_window.height);
    const Vector2d step = stepInside(plate, window);
    plate = plate.translate(step).intersection(Eigen::AlignedBox2d(Vector2d::Zero(), window));
    {
        const GL::Blending blending(GL::Blending::Preset::Alpha);
        const Eigen::Vector2i corner = plate.min().array().round().cast<int>();
        const Eigen::Vector2i extent = plate.sizes().array().round().cast<int>();
        BoxPainter::get()->fill({m_window.x + corner.x(), m_window.y + corner.y(), extent.x(), extent.y()},
                                PlateColor);
    }
    this->text(text, place + step, font, alignH, alignV);
}

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
