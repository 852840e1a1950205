// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <Veltrand/GL/LineRenderer.h>
#include <Veltrand/GL/TextRenderer.h>
#include <Veltrand/GL/ViewState.h>

#include <Eigen/Core>
#include <Eigen/Geometry>
#include <string>
#include <vector>

namespace Veltrand::Apps {

/// The step that brings a box inside a window from (0, 0) to @p size; where it does not fit, its upper left
/// corner.
[[nodiscard]] Eigen::Vector2d stepInside(const Eigen::AlignedBox2d& box, const Eigen::Vector2d& size);

/// Draws lines and text into a part of the framebuffer that is bound, at pixels from its lower left corner.
class Annotator {
public:
    /// @param points size of text
    Annotator(const GL::Viewport& window, int points);

    [[nodiscard]] GL::TextRenderer::Font
    font(const Eigen::Vector4d& color, GL::TextRenderer::Style style = GL::TextRenderer::Style::Regular,
         Flags<GL::TextRenderer::Decoration> decorations = {}) const;
    [[nodiscard]] const GL::Viewport& window() const { return m_window; }
    /// Pixels from one line of text to the next.
    [[nodiscard]] double lineHeight() const;
    /// Pixels that a line of text takes.
    [[nodiscard]] double width(const std::string& text) const;
    /// Width of a thin line, as lines count it.
    [[nodiscard]] double lineWidth() const;

    void text(const std::string& text, const Eigen::Vector2d& place, const GL::TextRenderer::Font& font,
              GL::TextRenderer::AlignmentH alignH, GL::TextRenderer::AlignmentV alignV) const;
    /// Text over a picture: on a dark plate, so that it can be read whatever is shown there, and moved inside
    /// the window where it would leave it.
    void label(const std::string& text, const Eigen::Vector2d& place, const GL::TextRenderer::Font& font,
               GL::TextRenderer::AlignmentH alignH, GL::TextRenderer::AlignmentV alignV) const;

    /// @param points pairs, each joined by a line
    void lines(const std::vector<Eigen::Vector3d>& points, double width, const Eigen::Vector4d& color) const;
    /// Through the middles of pixels, which keeps upright and level lines sharp.
    void sharpLines(std::vector<Eigen::Vector3d> points, double width, const Eigen::Vector4d& color) const;
    /// A dashed loop of points of the patient.
    void loop(const std::vector<Eigen::Vector3d>& points, const Eigen::Vector4d& color,
              const GL::ViewState& view) const;

private:
    GL::Viewport m_window;
    GL::ViewState m_view;
    int m_points;
};

} // namespace Veltrand::Apps
