// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "viewer/Input.h"

#include <Veltrand/Core/NotCopyable.h>

#include <Eigen/Core>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

struct GLFWwindow;

namespace Veltrand::Apps {

/// A window of GLFW with an OpenGL context, which is current on the calling thread.
class GlfwWindow : private Utils::NotCopyable {
public:
    /// Throws `std::runtime_error` with one sentence when there is no display, or no OpenGL 3.3 on it.
    /// @param size in points
    GlfwWindow(const Eigen::Vector2i& size, const std::string& title);
    ~GlfwWindow();

    /// What is called with what the user does, and when the window has to be drawn anew.
    void onInput(std::function<void(const Input&)> handler) { m_onInput = std::move(handler); }
    void onChange(std::function<void()> handler) { m_onChange = std::move(handler); }

    /// In pixels; 0 while the window is minimised.
    [[nodiscard]] Eigen::Vector2i framebufferSize() const;
    [[nodiscard]] Eigen::Vector2d pixelsPerPoint() const;
    /// How much larger than usual text is to be, on a dense screen.
    [[nodiscard]] double contentScale() const;
    [[nodiscard]] bool isClosing() const;

    /// Asks for a size in points, and waits until the window has it, or for a second.
    void resize(const Eigen::Vector2i& size);
    /// Whether `show` waits for the screen, which limits drawing to its rate.
    void setWaitsForScreen(bool waits);
    /// What has been drawn comes onto the screen.
    void show();
    /// Red, green, blue and an alpha of 255 of what has been drawn and not yet shown, rows from the bottom
    /// up.
    [[nodiscard]] std::vector<std::uint8_t> read() const;

    /// Calls the handlers for what has happened.
    static void poll();
    /// Likewise, but waits until something has happened, or for some seconds.
    static void wait();
    static void wait(double seconds);
    /// Ends `wait`, from any thread.
    static void wake();

private:
    void installCallbacks();

    GLFWwindow* m_window = nullptr;
    std::function<void(const Input&)> m_onInput;
    std::function<void()> m_onChange;
};

} // namespace Veltrand::Apps
