// SPDX-License-Identifier: BSD-3-Clause
#include "viewer/GlfwWindow.h"

#include <Veltrand/GL/ContextManager.h>

#define GLFW_INCLUDE_NONE
#include <GLFW/glfw3.h>

#include <algorithm>
#include <chrono>
#include <optional>
#include <stdexcept>

namespace Veltrand::Apps {

namespace {

[[noreturn]] void refuse(const char* what) {
    const char* reason = nullptr;
    glfwGetError(&reason);
    const std::string text = what;
    throw std::runtime_error(reason == nullptr ? text + "." : text + ": " + reason + ".");
}

GlfwWindow& objectOf(GLFWwindow* window) {
    return *static_cast<GlfwWindow*>(glfwGetWindowUserPointer(window));
}

std::optional<Button> buttonOf(int button) {
    switch (button) {
    case GLFW_MOUSE_BUTTON_LEFT:
        return Button::Left;
    case GLFW_MOUSE_BUTTON_MIDDLE:
        return Button::Middle;
    case GLFW_MOUSE_BUTTON_RIGHT:
        return Button::Right;
    default:
        return std::nullopt;
    }
}

bool isHeld(GLFWwindow* window, int left, int right) {
    return glfwGetKey(window, left) == GLFW_PRESS || glfwGetKey(window, right) == GLFW_PRESS;
}

} // namespace

GlfwWindow::GlfwWindow(const Eigen::Vector2i& size, const std::string& title) {
    if (glfwInit() == GLFW_FALSE)
        refuse("there is no window system");
    glfwWindowHint(GLFW_CONTEXT_VERSION_MAJOR, 3);
    glfwWindowHint(GLFW_CONTEXT_VERSION_MINOR, 3);
    glfwWindowHint(GLFW_OPENGL_PROFILE, GLFW_OPENGL_CORE_PROFILE);
    glfwWindowHint(GLFW_SCALE_TO_MONITOR, GLFW_TRUE);
    m_window = glfwCreateWindow(size.x(), size.y(), title.c_str(), nullptr, nullptr);
    if (m_window == nullptr) {
        try {
            refuse("there is no window with OpenGL 3.3");
        } catch (...) {
            glfwTerminate();
            throw;
        }
    }
    glfwMakeContextCurrent(m_window);
    glfwSetWindowUserPointer(m_window, this);
    installCallbacks();
}

GlfwWindow::~GlfwWindow() {
    glfwTerminate();
}

void GlfwWindow::installCallbacks() {
    glfwSetCursorPosCallback(m_window, [](GLFWwindow* window, double x, double y) {
        objectOf(window).m_onInput(PointerMove{{x, y}});
    });
    glfwSetMouseButtonCallback(m_window, [](GLFWwindow* window, int button, int action, int mods) {
        if (const std::optional<Button> known = buttonOf(button))
            objectOf(window).m_onInput(
                ButtonChange{*known,
                             action == GLFW_PRESS,
                             {(mods & GLFW_MOD_SHIFT) != 0, (mods & GLFW_MOD_CONTROL) != 0}});
    });
    glfwSetScrollCallback(m_window, [](GLFWwindow* window, double, double steps) {
        objectOf(window).m_onInput(
            WheelTurn{steps,
                      {isHeld(window, GLFW_KEY_LEFT_SHIFT, GLFW_KEY_RIGHT_SHIFT),
                       isHeld(window, GLFW_KEY_LEFT_CONTROL, GLFW_KEY_RIGHT_CONTROL)}});
    });
    // Letters by what is printed on the key, whatever the keyboard's layout.
    glfwSetCharCallback(m_window, [](GLFWwindow* window, unsigned letter) {
        if (letter < KeyPress::Delete)
            objectOf(window).m_onInput(KeyPress{static_cast<char>(letter)});
    });
    glfwSetKeyCallback(m_window, [](GLFWwindow* window, int key, int, int action, int) {
        if (action == GLFW_PRESS && key == GLFW_KEY_ESCAPE)
            objectOf(window).m_onInput(KeyPress{KeyPress::Escape});
        if (action == GLFW_PRESS && key == GLFW_KEY_DELETE)
            objectOf(window).m_onInput(KeyPress{KeyPress::Delete});
    });
    const auto change = [](GLFWwindow* window) { objectOf(window).m_onChange(); };
    glfwSetWindowRefreshCallback(m_window, change);
    glfwSetWindowCloseCallback(m_window, change);
    glfwSetFramebufferSizeCallback(m_window,
                                   [](GLFWwindow* window, int, int) { objectOf(window).m_onChange(); });
    glfwSetWindowContentScaleCallback(
        m_window, [](GLFWwindow* window, float, float) { objectOf(window).m_onChange(); });
}

Eigen::Vector2i GlfwWindow::framebufferSize() const {
    Eigen::Vector2i size = Eigen::Vector2i::Zero();
    if (glfwGetWindowAttrib(m_window, GLFW_ICONIFIED) == GLFW_FALSE)
        glfwGetFramebufferSize(m_window, &size.x(), &size.y());
    return size;
}

Eigen::Vector2d GlfwWindow::pixelsPerPoint() const {
    Eigen::Vector2i points(0, 0);
    glfwGetWindowSize(m_window, &points.x(), &points.y());
    const Eigen::Vector2i pixels = framebufferSize();
    if (points.minCoeff() < 1 || pixels.minCoeff() < 1)
        return Eigen::Vector2d::Ones();
    return pixels.cast<double>().cwiseQuotient(points.cast<double>());
}

double GlfwWindow::contentScale() const {
    Eigen::Vector2f scale(1, 1);
    glfwGetWindowContentScale(m_window, &scale.x(), &scale.y());
    return std::max(1.0F, scale.x());
}

bool GlfwWindow::isClosing() const {
    return glfwWindowShouldClose(m_window) != GLFW_FALSE;
}

void GlfwWindow::resize(const Eigen::Vector2i& size) {
    glfwSetWindowSize(m_window, size.x(), size.y());
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(1);
    Eigen::Vector2i now(0, 0);
    do {
        wait(0.01);
        glfwGetWindowSize(m_window, &now.x(), &now.y());
    } while (now != size && std::chrono::steady_clock::now() < deadline);
}

void GlfwWindow::setWaitsForScreen(bool waits) {
    glfwSwapInterval(waits ? 1 : 0);
}

void GlfwWindow::show() {
    glfwSwapBuffers(m_window);
}

std::vector<std::uint8_t> GlfwWindow::read() const {
    using ReadPixels = void (*)(int, int, int, int, GL::GLenum, GL::GLenum, void*);
    using PixelStore = void (*)(GL::GLenum, int);
    constexpr GL::GLenum PackAlignment = 0x0D05; // GL_PACK_ALIGNMENT
    constexpr GL::GLenum Rgba = 0x1908;          // GL_RGBA
    constexpr GL::GLenum UnsignedByte = 0x1401;  // GL_UNSIGNED_BYTE
    const Eigen::Vector2i size = framebufferSize();
    std::vector<std::uint8_t> pixels(std::size_t{4} * static_cast<std::size_t>(size.x()) *
                                     static_cast<std::size_t>(size.y()));
    GL::entryPoint<PixelStore>("glPixelStorei")(PackAlignment, 1);
    GL::entryPoint<ReadPixels>("glReadPixels")(0, 0, size.x(), size.y(), Rgba, UnsignedByte, pixels.data());
    // Blending, of text too, leaves its edges transparent.
    for (std::size_t alpha = 3; alpha < pixels.size(); alpha += 4)
        pixels[alpha] = 255;
    return pixels;
}

void GlfwWindow::poll() {
    glfwPollEvents();
}

void GlfwWindow::wait() {
    glfwWaitEvents();
}

void GlfwWindow::wait(double seconds) {
    glfwWaitEventsTimeout(seconds);
}

void GlfwWindow::wake() {
    glfwPostEmptyEvent();
}

} // namespace Veltrand::Apps
