// SPDX-License-Identifier: BSD-3-Clause
#include "gallery/Canvas.h"
#include "gallery/LabelPainter.h"

#include <Veltrand/GL/Blending.h>
#include <Veltrand/GL/Functions.h>
#include <Veltrand/GL/LineRenderer.h>
#include <Veltrand/GL/VertexBuffer.h>
#include <Veltrand/GL/ViewState.h>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <string>
#include <vector>

namespace Veltrand::Apps {

namespace {

using Eigen::Vector2d;
using Eigen::Vector3d;
using Eigen::Vector4d;
using Options = GL::LineRenderer::Options;
using Points = std::vector<Vector3d>;
constexpr unsigned short Solid = 0xFFFF;
constexpr unsigned short Dashed = 0x0FFF;
constexpr unsigned short Dotted = 0x3333;
constexpr unsigned short DashDotted = 0x18FF;

const Vector3d White(0.95, 0.95, 0.95);
const Vector3d Orange(1.0, 0.62, 0.2);
const Vector3d Blue(0.35, 0.7, 1.0);
const Vector3d Green(0.5, 0.85, 0.45);

Points polygon(const Vector2d& center, double radius, int corners, int step = 1) {
    Points points;
    for (int i = 0; i < corners; ++i) {
        const double angle = std::numbers::pi * (0.5 + 2.0 * i * step / corners);
        points.emplace_back(center.x() + radius * std::cos(angle), center.y() + radius * std::sin(angle), 0);
    }
    return points;
}

Vector4d hue(double part) {
    const auto channel = [part](double shift) {
        return 0.55 + 0.45 * std::cos(2 * std::numbers::pi * (part - shift));
    };
    return {channel(0), channel(1.0 / 3), channel(2.0 / 3), 1};
}

/// A card of 1600 by 720 units in the middle of a canvas, with lines whose widths grow with it.
class TestCard {
public:
    TestCard(const LabelPainter& labels, const Eigen::Vector2i& size)
        : m_labels(labels)
        , m_scale(std::min(size.x() / 1600.0, size.y() / 720.0))
        , m_origin((size.x() - 1600 * m_scale) / 2, (size.y() - 720 * m_scale) / 2)
        , m_view({0, 0, size.x(), size.y()}, GL::createOrtho2d(size.x(), size.y()), matrix()) {}

    void drawWidths() const {
        caption("Width", 150, 690);
        int y = 662;
        for (const int width : {1, 2, 3, 4, 6, 8, 12, 16, 24, 32}) {
            y -= width / 2;
            caption(std::to_string(width), 40, y);
            draw({{70, y - 6.0, 0}, {290, y + 6.0, 0}}, GL::Primitive::Lines, White, width);
            y -= 26 + width / 2;
        }
    }

    void drawJoins() const {
        caption("Join", 950, 690);
        for (int i = 0; i < 18; ++i) {
            const int degrees = 5 + 10 * i;
            const double turn = degrees * std::numbers::pi / 180;
            const Vector3d corner(390 + 140 * (i % 9), i < 9 ? 590 : 430, 0);
            const Vector3d arm(-31, -54, 0);
            const Vector3d turned(-arm.x() * std::cos(turn) - arm.y() * std::sin(turn),
                                  arm.x() * std::sin(turn) - arm.y() * std::cos(turn), 0);
            // Transparent, so that a line that covers itself shows.
            draw({corner + arm, corner, corner + turned}, GL::Primitive::LineStrip, White, 11, Solid, 1, 0.6);
            draw({corner + arm, corner, corner + turned}, GL::Primitive::LineStrip, Orange, 1);
            caption(std::to_string(degrees), static_cast<int>(corner.x()) + 50,
                    static_cast<int>(corner.y()) - 74);
        }
    }

    void drawLoops() const {
        caption("Loop", 160, 298);
        // [snippet]
        draw(polygon({90, 220}, 52, 3), GL::Primitive::LineLoop, Green, 9);
        draw(polygon({225, 215}, 62, 5, 2), GL::Primitive::LineLoop, Orange, 6);
        draw(polygon({90, 85}, 55, 90), GL::Primitive::LineLoop, Blue, 7, Dashed, 1.5);
        draw(polygon({225, 85}, 60, 5), GL::Primitive::LineLoop, White, 5, DashDotted, 2);
        // [/snippet]
    }

    void drawStipples() const {
        caption("Stipple", 520, 298);
        struct Style {
            Vector3d color;
            double width;
            unsigned short pattern;
            double factor;
        };
        const Style styles[] = {{White, 1, Dotted, 1}, {Orange, 2, Dashed, 1},  {Blue, 4, DashDotted, 1.5},
                                {Green, 6, 0x5555, 6}, {White, 9, Dashed, 2.5}, {Orange, 14, DashDotted, 4}};
        double y = 270;
        for (const Style& style : styles) {
            Points wave;
            for (int i = 0; i <= 300; ++i)
                wave.emplace_back(350 + i * 1.2, y - style.width / 2 + 9 * std::sin(i * 0.06), 0);
            draw(wave, GL::Primitive::LineStrip, style.color, style.width, style.pattern, style.factor);
            y -= 34 + style.width;
        }
    }

    void drawColors() const {
        caption("Color", 900, 298);
        Points spiral;
        std::vector<Vector4d> colors;
        for (int i = 0; i <= 360; ++i) {
            const double angle = 0.06 * i;
            spiral.emplace_back(835 + 0.2 * i * std::cos(angle), 180 + 0.2 * i * std::sin(angle), 0);
            colors.push_back(hue(i / 120.0));
        }
        draw(spiral, colors, 7);
        // Points that are there twice, in two colours, give each segment one of its own.
        Points steps;
        colors.clear();
        for (int i = 0; i < 8; ++i)
            for (int end = 0; end < 2; ++end) {
                const int corner = i + end;
                steps.emplace_back(950 + 26 * ((corner + 1) / 2), 110 + 30 * (corner / 2), 0);
                colors.push_back(hue(i / 8.0));
            }
        draw(steps, colors, 10);
        draw({{760, 50, 0}, {850, 75, 0}, {1060, 45, 0}}, GL::Primitive::LineStrip, Blue, 24, Solid, 1, 0.35);
        draw({{760, 75, 0}, {930, 40, 0}, {1060, 70, 0}}, GL::Primitive::LineStrip, Orange, 24, Solid, 1,
             0.35);
    }

    void drawNearPlane() const {
        caption("Near plane", 1335, 298);
        const GL::Viewport viewport{x(1095), y(20), length(480), length(260)};
        Eigen::Matrix4d camera = Eigen::Matrix4d::Identity();
        camera(1, 3) = -2.5;
        const GL::ViewState view(viewport, GL::createPerspective(1, 480.0 / 260, 0.1, 60), camera);
        viewport.set();
        // [snippet]
        auto& lines = *GL::LineRenderer::get();
        const Options floor(Vector3d(0.7 * Blue), 1.5 * m_scale);
        for (int i = -8; i <= 8; ++i) {
            lines.renderLines({{3.0 * i, 0, 30}, {3.0 * i, 0, -25}}, floor, view);
            lines.renderLines({{-24, 0, 3.0 * i - 1}, {24, 0, 3.0 * i - 1}}, floor, view);
        }
        // [/snippet]
        const auto options = [this](const Vector3d& color, double width, unsigned short pattern) {
            return Options(color, width * m_scale, Eigen::Matrix4d::Identity(), pattern, 3 * m_scale);
        };
        // Round the eye, and to and fro through the plane.
        Points ring = polygon({0, 0}, 6, 60);
        for (Vector3d& point : ring)
            point = {point.x(), 2 + 0.7 * std::sin(point.x()), point.y() - 3};
        lines.renderLineLoop(ring, options(Orange, 8, Solid), view);
        lines.renderLineStrip({{-9, 0, -16}, {-3, 0, 3}, {0, 0, -13}, {3, 0, 3}, {9, 0, -16}},
                              options(Green, 6, Dashed), view);
        m_view.viewport().set();
    }

private:
    [[nodiscard]] int x(double card) const { return static_cast<int>(m_origin.x() + card * m_scale); }
    [[nodiscard]] int y(double card) const { return static_cast<int>(m_origin.y() + card * m_scale); }
    [[nodiscard]] int length(double card) const { return static_cast<int>(card * m_scale); }

    [[nodiscard]] Eigen::Matrix4d matrix() const {
        Eigen::Matrix4d cardToCanvas = Eigen::Vector4d(m_scale, m_scale, 1, 1).asDiagonal();
        cardToCanvas.block<2, 1>(0, 3) = m_origin;
        return cardToCanvas;
    }

    // [snippet]
    void draw(const Points& points, GL::Primitive primitive, const Vector3d& color, double width,
              unsigned short pattern = Solid, double factor = 1, double opacity = 1) const {
        const Options options(Vector4d(color.x(), color.y(), color.z(), opacity), width * m_scale,
                              Eigen::Matrix4d::Identity(), pattern, factor * m_scale);
        GL::VertexBuffer buffer(GL::Buffer::Usage::StreamDraw);
        if (GL::LineRenderer::makeVertexData(points, primitive, buffer))
            GL::LineRenderer::get()->render(buffer, primitive, options, m_view);
    }
    // [/snippet]

    void draw(const Points& points, const std::vector<Vector4d>& colors, double width) const {
        GL::VertexBuffer buffer(GL::Buffer::Usage::StreamDraw);
        if (GL::LineRenderer::makeVertexData(points, colors, GL::Primitive::LineStrip, buffer))
            GL::LineRenderer::get()->render(buffer, GL::Primitive::LineStrip, Options(White, width * m_scale),
                                            m_view);
    }

    void caption(const std::string& text, int centerX, int centerY) const {
        m_labels.drawText(text, x(centerX), y(centerY), std::max(1, length(2)), {0.6F, 0.6F, 0.6F});
        m_view.viewport().set();
    }

    LabelPainter m_labels;
    double m_scale;
    Vector2d m_origin;
    GL::ViewState m_view;
};

} // namespace

std::string drawLines(const Scene& /*scene*/, const Canvas& canvas) {
    const GL::Blending blending(GL::Blending::Preset::Alpha);
    const TestCard card(LabelPainter(canvas), canvas.size());
    card.drawWidths();
    card.drawJoins();
    card.drawLoops();
    card.drawStipples();
    card.drawColors();
    card.drawNearPlane();
    return "Bars of growing width, corners from flat to acute, closed loops, dashed waves, a spiral in all "
           "colours, "
           "and a grid on the ground that runs up to the eye.";
}

} // namespace Veltrand::Apps
