// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <Veltrand/GL/LineRenderer.h>
#include <Veltrand/GL/TextRenderer.h>
#include <Veltrand/GL/ViewState.h>

#include <Eigen/Core>
#include <string>
#include <vector>

namespace Veltrand::Apps {

/// Draws lines and text into a part of the framebuffer that is bound, at pixels from its lower left corner.
class Annotator {
public:
    /// @param points size of text
    Annotator(const GL::Viewport& window, int points);

    [[nodiscard]] GL::TextRenderer::Font
    font(const Eigen::Vector4d& color, GL::TextRenderer::Style style = GL::TextRenderer::Style::Regular,
         Flags<GL::TextRenderer::Decoration> decorations = {}) const;
    /// Pixels from one line of text to the next.
    [[nodiscard]] double lineHeight() const;
    /// Pixels that a line of text takes.
    [[nodiscard]] double width(const std::string& text) const;
    /// Width of a thin line, as lines count it.
    [[nodiscard]] double lineWidth() const;

    void text(const std::string& text, const Eigen::Vector2d& place, const GL::TextRenderer::Font& font,
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
