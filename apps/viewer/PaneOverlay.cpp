// SPDX-License-Identifier: BSD-3-Clause
#include "viewer/PaneOverlay.h"

#include "support/NumberText.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace Veltrand::Apps {

namespace {

using Eigen::Vector2d;
using Eigen::Vector3d;
using Eigen::Vector4d;
using AlignmentH = GL::TextRenderer::AlignmentH;
using AlignmentV = GL::TextRenderer::AlignmentV;
using Decoration = GL::TextRenderer::Decoration;
using Style = GL::TextRenderer::Style;

const Vector4d White(0.92, 0.92, 0.92, 1);
const Vector4d Grey(0.65, 0.65, 0.65, 1);
const Vector4d Faint(0.92, 0.92, 0.92, 0.3);
const Vector4d DistanceColor(1, 0.85, 0.25, 1);
const Vector4d WarningColor(1, 0.5, 0.4, 1);

GL::Viewport viewportOf(const PixelRect& rect) {
    return {rect.x, rect.y, rect.width, rect.height};
}

Vector3d flat(const Vector2d& place) {
    return {place.x(), place.y(), 0};
}

/// Text beside a place, on the side where there is more room.
void drawLabel(const Annotator& annotator, double paneWidth, const Vector2d& place, const std::string& text,
               const Vector4d& color) {
    const bool isLeft = place.x() < paneWidth / 2;
    const double distance = 0.6 * annotator.lineHeight();
    annotator.label(text, place + Vector2d(isLeft ? distance : -distance, distance),
                    annotator.font(color, Style::Bold, Decoration::Shadow),
                    isLeft ? AlignmentH::Left : AlignmentH::Right, AlignmentV::Bottom);
}

/// One slice, at pixels from its lower left corner.
class SliceOverlay {
public:
    SliceOverlay(const ViewerState& state, Pane pane, const SlicePanel& panel)
        : m_state(state)
        , m_pane(pane)
        , m_panel(panel)
        , m_annotator(viewportOf(panel.rect), TextPoints)
        , m_size(panel.rect.width, panel.rect.height) {
        m_panel.rect.x = m_panel.rect.y = 0;
    }

    void drawCrossHair() const {
        const Vector2d crossing = pixelOf(m_panel, m_state.point);
        const double gap = 0.8 * m_annotator.lineHeight();
        for (const int along : {0, 1}) {
            // From edge to edge, with the crossing left free.
            std::vector<Vector3d> points(4, flat(crossing));
            points[0][along] = 0;
            points[1][along] -= gap;
            points[2][along] += gap;
            points[3][along] = m_size[along];
            const int axis = along == 0 ? m_panel.vertical : m_panel.horizontal;
            m_annotator.sharpLines(points, m_annotator.lineWidth(),
                                   PlaneColors[static_cast<std::size_t>(axis)]);
        }
    }

    /// The letters of the patient's sides, and which slice it is.
    void drawMarks() const {
        const double margin = 0.8 * m_annotator.lineHeight();
        const Vector2d middle = m_size / 2;
        const auto letter = [&](char side, double x, double y) {
            const char shown = m_state.study.volume.orientationKnown ? side : '?';
            m_annotator.label(std::string(1, shown), {x, y},
                              m_annotator.font(White, Style::Bold, Decoration::Shadow), AlignmentH::Center,
                              AlignmentV::Center);
        };
        letter(m_panel.letters.left, margin, middle.y());
        letter(m_panel.letters.right, m_size.x() - margin, middle.y());
        letter(m_panel.letters.bottom, middle.x(), margin);
        letter(m_panel.letters.top, middle.x(), m_size.y() - margin);

        constexpr std::array Names{"Sagittal", "Coronal", "Axial"};
        const auto normal = static_cast<std::size_t>(m_panel.normal);
        m_annotator.label(std::string(Names[normal]) + "  " + "xyz"[normal] + " = " +
                              m_state.study.volume.lengths().millimetres(m_state.point[m_panel.normal]),
                          {margin / 2, m_size.y() - margin / 2},
                          m_annotator.font(PlaneColors[normal], Style::Regular, Decoration::Shadow),
                          AlignmentH::Left, AlignmentV::Top);
    }

    void drawMeasurements() const {
        for (const Measurement& measurement : m_state.measurements)
            if (measurement.pane == m_pane && m_state.isShown(measurement))
                draw(measurement);
    }

    void drawAnswer() const {
        if (m_state.answer && m_state.answer->pane == m_pane)
            drawLabel(m_annotator, m_size.x(), pixelOf(m_panel, m_state.answer->point), m_state.answer->text,
                      White);
    }

private:
    /// A line with ticks at its ends and its length beside its middle.
    void draw(const Measurement& measurement) const {
        const Vector3d from = flat(pixelOf(m_panel, measurement.from));
        const Vector3d to = flat(pixelOf(m_panel, measurement.to));
        if ((to - from).norm() < 1)
            return;
        Vector3d up = Vector3d::UnitZ().cross(to - from).normalized();
        up *= up.y() < 0 ? -1 : 1;
        const Vector3d tick = m_annotator.lineHeight() / 3 * up;
        m_annotator.lines({from, to, from - tick, from + tick, to - tick, to + tick},
                          1.5 * m_annotator.lineWidth(), DistanceColor);
        const Vector3d place = (from + to) / 2 + 2 * tick;
        m_annotator.label(m_state.study.volume.lengths().millimetres(measurement.length()), place.head<2>(),
                          m_annotator.font(DistanceColor, Style::Bold, Decoration::Shadow),
                          up.x() < 0 ? AlignmentH::Right : AlignmentH::Left, AlignmentV::Bottom);
    }

    const ViewerState& m_state;
    Pane m_pane;
    SlicePanel m_panel;
    Annotator m_annotator;
    Vector2d m_size;
};

/// The letters of the patient's sides around what is shown; those behind it are faint.
void drawSides(const ViewerState& state, const Annotator& annotator, const GL::ViewState& view,
               const Eigen::AlignedBox3d& bounds) {
    for (std::size_t side = 0; side < 6; ++side) {
        const auto axis = static_cast<Eigen::Index>(side / 2);
        const double sign = side % 2 == 0 ? 1 : -1;
        const bool isBehind = sign * view.modelViewMatrix()(2, axis) < 0;
        Vector3d place = bounds.center();
        place[axis] += sign * 0.52 * bounds.sizes()[axis];
        const char letter = state.study.volume.orientationKnown ? "RLAPSI"[side] : '?';
        const Vector2d pixel = view.project(place).head<2>();
        if (isBehind)
            annotator.text(std::string(1, letter), pixel, annotator.font(Faint, Style::Bold),
                           AlignmentH::Center, AlignmentV::Center);
        else
            annotator.label(std::string(1, letter), pixel, annotator.font(White, Style::Bold),
                            AlignmentH::Center, AlignmentV::Center);
    }
}

/// The cross-hair as three short lines along the patient's axes.
void drawPlace(const ViewerState& state, const Annotator& annotator, const GL::ViewState& view) {
    const double pixel = view.unprojectPixelIncrementOrtho().col(0).norm();
    const double reach = annotator.lineHeight() * pixel;
    for (Eigen::Index axis = 0; axis < 3; ++axis) {
        const Vector3d arm = reach * Vector3d::Unit(axis);
        annotator.lines({flat(view.project(state.point - arm).head<2>()),
                         flat(view.project(state.point + arm).head<2>())},
                        1.5 * annotator.lineWidth(), PlaneColors[static_cast<std::size_t>(axis)]);
    }
}

std::string textOf(const SurfaceWorker::Progress& progress) {
    if (!progress.failure.empty())
        return "No surfaces: " + progress.failure;
    if (progress.total == 0)
        return "Making surfaces";
    return "Making surfaces: " + std::to_string(progress.done) + " of " + std::to_string(progress.total);
}

void drawProgress(const Annotator& annotator, const Vector2d& size, const SurfaceWorker::Progress& progress) {
    const Vector4d& color = progress.failure.empty() ? White : WarningColor;
    annotator.label(textOf(progress), size / 2, annotator.font(color), AlignmentH::Center,
                    AlignmentV::Bottom);
    if (progress.total == 0)
        return;
    const Vector2d start(size.x() / 4, size.y() / 2 - annotator.lineHeight() / 2);
    const double part = static_cast<double>(progress.done) / static_cast<double>(progress.total);
    const Vector2d length(size.x() / 2, 0);
    const double width = 4 * annotator.lineWidth();
    annotator.lines({flat(start), flat(start + length)}, width, 0.3 * Grey + Vector4d(0, 0, 0, 0.7));
    annotator.lines({flat(start), flat(start + part * length)}, width, PlaneColors[2]);
}

} // namespace

void drawSliceOverlay(const ViewerState& state, Pane pane, const SlicePanel& panel) {
    const SliceOverlay overlay(state, pane, panel);
    overlay.drawCrossHair();
    overlay.drawMarks();
    overlay.drawMeasurements();
    overlay.drawAnswer();
}

void drawModelOverlay(const ViewerState& state, const GL::ViewState& view, const Eigen::AlignedBox3d& bounds,
                      const SurfaceWorker::Progress& progress) {
    const GL::Viewport& viewport = view.viewport();
    const Annotator annotator(viewport, TextPoints);
    GL::ViewState local = view;
    local.setViewport({0, 0, viewport.width, viewport.height});
    const Vector2d size(viewport.width, viewport.height);
    const double margin = 0.4 * annotator.lineHeight();
    annotator.label(state.isTransparent ? "Surfaces, translucent" : "Surfaces", {margin, size.y() - margin},
                    annotator.font(Grey, Style::Regular, Decoration::Shadow), AlignmentH::Left,
                    AlignmentV::Top);
    if (progress.isRunning || !progress.failure.empty()) {
        drawProgress(annotator, size, progress);
        return;
    }
    drawSides(state, annotator, local, bounds);
    drawPlace(state, annotator, local);
    if (state.answer && state.answer->pane == Pane::Model)
        drawLabel(annotator, size.x(), local.project(state.answer->point).head<2>(), state.answer->text,
                  White);
}

void drawStatus(const ViewerState& state, const PixelRect& rect) {
    const Annotator annotator(viewportOf(rect), TextPoints);
    const std::optional<double> value = state.study.valueAt(state.point);
    const LengthFormat lengths = state.study.volume.lengths();
    std::string left = "x " + lengths.number(state.point.x()) + "  y " + lengths.number(state.point.y()) +
                       "  z " + lengths.millimetres(state.point.z());
    if (value)
        left += "   value " + shortNumber(*value);
    if (const std::string name = state.study.nameOf(state.study.regionAt(state.point)); !name.empty())
        left += "   " + name;
    const std::int64_t series = state.study.volume.series;
    const std::string right =
        std::string(state.isMeasuring ? "MEASURING   " : "") +
        (series > 1 ? "volume 1 of " + std::to_string(series) + "   " : "") + "window " +
        shortNumber(state.window.low) + " to " + shortNumber(state.window.high) +
        (state.study.volume.orientationKnown ? "   radiological: R is left" : "   sides unknown") +
        "   h: help";
    const double middle = rect.height / 2.0;
    const double margin = 0.4 * annotator.lineHeight();
    annotator.text(left, {margin, middle}, annotator.font(White), AlignmentH::Left, AlignmentV::Center);
    if (annotator.width(left) + annotator.width(right) + 4 * margin < rect.width)
        annotator.text(right, {rect.width - margin, middle}, annotator.font(Grey), AlignmentH::Right,
                       AlignmentV::Center);
}

} // namespace Veltrand::Apps
