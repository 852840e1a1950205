// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "viewer/Input.h"
#include "viewer/ViewerState.h"

#include <Veltrand/Core/NotCopyable.h>

#include <optional>
#include <utility>

namespace Veltrand::Apps {

/// The window in pixels, as far as the pointer is concerned.
struct WindowGeometry {
    /// Of the framebuffer, in pixels.
    Eigen::Vector2i size = Eigen::Vector2i::Zero();
    /// Pixels per point of the pointer's place.
    Eigen::Vector2d pixelsPerPoint = Eigen::Vector2d::Ones();
    PaneLayout layout{};
    /// Pixels around the slices.
    int margin = 0;

    /// The middle of the pixel under the pointer, counted from the lower left corner.
    [[nodiscard]] Eigen::Vector2d pixelUnder(const Eigen::Vector2d& pointer) const;
    /// A slice as the state shows it.
    [[nodiscard]] SlicePanel panel(const ViewerState& state, Pane pane) const;
};

/// Turns what the user does into changes of the state.
class Interaction : private Utils::NotCopyable {
public:
    explicit Interaction(ViewerState& state)
        : m_state(state) {}

    /// @param geometry of the window at this moment
    /// @return whether something may look different now
    bool handle(const Input& input, const WindowGeometry& geometry);

    // What is left to others; each question forgets the answer.

    /// The pixel of a click on the surfaces.
    [[nodiscard]] std::optional<Eigen::Vector2d> takeClickOnModel() { return std::exchange(m_click, {}); }
    [[nodiscard]] bool takeSaving() { return std::exchange(m_saving, false); }
    [[nodiscard]] bool wantsToQuit() const { return m_quits; }

    [[nodiscard]] bool isDragging() const { return m_drag.has_value(); }
    /// Whether the surfaces are being moved.
    [[nodiscard]] bool isMovingModel() const {
        return m_drag && m_drag->pane == Pane::Model && m_drag->hasMoved;
    }

private:
    enum class Action { MoveCrossHair, ChangeWindow, Pan, Measure, Rotate };

    struct Drag {
        Button button;
        Action action;
        Pane pane;
        Eigen::Vector2d start; ///< in pixels
        Window window;         ///< at the start
        bool hasMoved = false;
    };

    void move(const PointerMove& input);
    void change(const ButtonChange& input);
    void press(Button button, const Modifiers& modifiers);
    void release();
    void turn(const WheelTurn& input);
    void press(const KeyPress& input);

    [[nodiscard]] std::optional<Action> actionOf(Button button, const Modifiers& modifiers, Pane pane) const;
    void drag(const Eigen::Vector2d& from);
    void pan(const Eigen::Vector2d& from);
    void changeWindow();
    [[nodiscard]] Eigen::Vector3d pointIn(Pane pane, const Eigen::Vector2d& pixel) const;

    ViewerState& m_state;
    WindowGeometry m_geometry;
    Eigen::Vector2d m_pointer = Eigen::Vector2d::Zero(); ///< in pixels
    std::optional<Drag> m_drag;
    std::optional<Eigen::Vector2d> m_click;
    bool m_saving = false;
    bool m_quits = false;
};

} // namespace Veltrand::Apps
