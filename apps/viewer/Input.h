// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <Eigen/Core>
#include <variant>

namespace Veltrand::Apps {

enum class Button { Left, Middle, Right };

/// Keys that are held while a button is pressed or the wheel turned.
struct Modifiers {
    bool shift = false;
    bool control = false;
};

/// The pointer is somewhere else: in points from the window's upper left corner.
struct PointerMove {
    Eigen::Vector2d position;
};

struct ButtonChange {
    Button button;
    bool isPressed;
    Modifiers modifiers{};
};

struct WheelTurn {
    /// Positive away from the user.
    double steps;
    Modifiers modifiers{};
};

/// A lower-case letter, or one of the keys below.
struct KeyPress {
    static constexpr char Escape = '\x1B';
    static constexpr char Delete = '\x7F';

    char key;
};

/// What the user does, whether with mouse and keyboard or by a script.
using Input = std::variant<PointerMove, ButtonChange, WheelTurn, KeyPress>;

} // namespace Veltrand::Apps
