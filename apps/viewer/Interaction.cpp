// SPDX-License-Identifier: BSD-3-Clause
#include "viewer/Interaction.h"

#include <algorithm>
#include <cmath>

namespace Veltrand::Apps {

namespace {

/// A press that moves less, in points, is a click.
constexpr double ClickRadius = 3;
constexpr double ZoomPerStep = 1.15;
constexpr double DegreesPerPoint = 0.5;
/// So many points across double the window's width, and so many upwards lower its level by the width.
constexpr double PointsPerWidth = 100;
constexpr double PointsPerLevel = 200;

template<class... Functions>
struct Overloaded : Functions... {
    using Functions::operator()...;
};
template<class... Functions>
Overloaded(Functions...) -> Overloaded<Functions...>;

} // namespace

Eigen::Vector2d WindowGeometry::pixelUnder(const Eigen::Vector2d& pointer) const {
    const Eigen::Vector2d pixel = pointer.cwiseProduct(pixelsPerPoint).array().floor() + 0.5;
    return {pixel.x(), size.y() - pixel.y()};
}

SlicePanel WindowGeometry::panel(const ViewerState& state, Pane pane) const {
    const int normal = SliceOrientations[static_cast<std::size_t>(pane)].normal;
    return state.slices.panel(pane, layout, margin, state.point[normal]);
}

bool Interaction::handle(const Input& input, const WindowGeometry& geometry) {
    m_geometry = geometry;
    std::visit(Overloaded{[this](const PointerMove& move) { this->move(move); },
                          [this](const ButtonChange& button) { change(button); },
                          [this](const WheelTurn& wheel) { turn(wheel); },
                          [this](const KeyPress& key) { press(key); }},
               input);
    // The pointer itself is not drawn.
    return m_drag || !std::holds_alternative<PointerMove>(input);
}

void Interaction::move(const PointerMove& input) {
    const Eigen::Vector2d before = m_pointer;
    m_pointer = m_geometry.pixelUnder(input.position);
    if (!m_drag)
        return;
    const Eigen::Vector2d moved = (m_pointer - m_drag->start).cwiseQuotient(m_geometry.pixelsPerPoint);
    m_drag->hasMoved = m_drag->hasMoved || moved.norm() > ClickRadius;
    drag(before);
}

void Interaction::change(const ButtonChange& input) {
    if (input.isPressed)
        press(input.button, input.modifiers);
    else if (m_drag && m_drag->button == input.button)
        release();
}

void Interaction::press(Button button, const Modifiers& modifiers) {
    const std::optional<Pane> pane = m_geometry.layout.paneAt(m_pointer);
    if (m_drag || !pane)
        return;
    m_state.answer.reset();
    const std::optional<Action> action = actionOf(button, modifiers, *pane);
    if (!action)
        return;
    m_drag = Drag{button, *action, *pane, m_pointer, m_state.window};
    if (*action == Action::Measure) {
        const Eigen::Vector3d point = pointIn(*pane, m_pointer);
        m_state.measurements.push_back({*pane, point, point});
    }
    drag(m_pointer);
}

std::optional<Interaction::Action> Interaction::actionOf(Button button, const Modifiers& modifiers,
                                                         Pane pane) const {
    switch (button) {
    case Button::Middle:
        return Action::Pan;
    case Button::Right:
        return pane == Pane::Model ? std::nullopt : std::optional(Action::ChangeWindow);
    case Button::Left:
        break;
    }
    if (pane == Pane::Model)
        return Action::Rotate;
    return modifiers.shift || m_state.isMeasuring ? Action::Measure : Action::MoveCrossHair;
}

void Interaction::release() {
    const Drag drag = *std::exchange(m_drag, {});
    if (drag.hasMoved)
        return;
    if (drag.action == Action::Measure)
        m_state.measurements.pop_back();
    else if (drag.action == Action::Rotate)
        m_click = m_pointer;
    else if (drag.action == Action::MoveCrossHair)
        m_state.choose(drag.pane, m_state.point, m_state.study.regionAt(m_state.point));
}

void Interaction::drag(const Eigen::Vector2d& from) {
    switch (m_drag->action) {
    case Action::MoveCrossHair:
        m_state.moveTo(pointIn(m_drag->pane, m_pointer));
        break;
    case Action::ChangeWindow:
        changeWindow();
        break;
    case Action::Pan:
        pan(from);
        break;
    case Action::Measure: {
        Measurement& measurement = m_state.measurements.back();
        const int normal = SliceOrientations[static_cast<std::size_t>(measurement.pane)].normal;
        measurement.to = pointIn(m_drag->pane, m_pointer);
        measurement.to[normal] = measurement.from[normal]; // wherever the wheel has gone meanwhile
        break;
    }
    case Action::Rotate: {
        const Eigen::Vector2d points = (m_pointer - from).cwiseQuotient(m_geometry.pixelsPerPoint);
        if (m_drag->hasMoved)
            m_state.model.rotate(DegreesPerPoint * Eigen::Vector2d(points.x(), -points.y()));
        break;
    }
    }
}

void Interaction::pan(const Eigen::Vector2d& from) {
    if (m_drag->pane == Pane::Model)
        m_state.model.pan((m_pointer - from) * m_state.model.partPerPixel(m_geometry.layout[Pane::Model]));
    else
        m_state.slices.pan(pointIn(m_drag->pane, from) - pointIn(m_drag->pane, m_pointer));
}

void Interaction::changeWindow() {
    const Eigen::Vector2d points = (m_pointer - m_drag->start).cwiseQuotient(m_geometry.pixelsPerPoint);
    const Window& start = m_drag->window;
    const double startWidth = start.high - start.low;
    const double exponent = std::clamp(points.x() / PointsPerWidth, -16.0, 16.0);
    const double width = startWidth * std::exp2(exponent);
    const double level = (start.low + start.high) / 2 - startWidth * points.y() / PointsPerLevel;
    m_state.window = {level - width / 2, level + width / 2};
}

void Interaction::turn(const WheelTurn& input) {
    const std::optional<Pane> pane = m_geometry.layout.paneAt(m_pointer);
    if (!pane)
        return;
    const double factor = std::pow(ZoomPerStep, input.steps);
    if (*pane == Pane::Model) {
        m_state.model.zoom(factor);
    } else if (input.modifiers.control) {
        m_state.slices.zoom(factor, pointIn(*pane, m_pointer));
    } else {
        const int normal = SliceOrientations[static_cast<std::size_t>(*pane)].normal;
        const double distance = input.steps * m_state.study.sliceDistance(normal);
        m_state.answer.reset();
        m_state.moveTo(m_state.point + distance * Eigen::Vector3d::Unit(normal));
    }
}

void Interaction::press(const KeyPress& input) {
    switch (input.key) {
    case 'h':
        m_state.showsHelp = !m_state.showsHelp;
        break;
    case 'm':
        m_state.isMeasuring = !m_state.isMeasuring;
        break;
    case 'o':
        m_state.showsRegions = !m_state.showsRegions;
        break;
    case 'r':
        m_drag.reset();
        m_state.reset();
        break;
    case 's':
        m_saving = true;
        break;
    case 't':
        m_state.isTransparent = !m_state.isTransparent;
        break;
    case KeyPress::Delete:
        if (!m_drag && !m_state.measurements.empty())
            m_state.measurements.pop_back();
        break;
    case 'q':
    case KeyPress::Escape:
        m_quits = true;
        break;
    default:
        break;
    }
}

Eigen::Vector3d Interaction::pointIn(Pane pane, const Eigen::Vector2d& pixel) const {
    return pointOf(m_geometry.panel(m_state, pane), pixel);
}

} // namespace Veltrand::Apps
