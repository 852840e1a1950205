// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "viewer/GlfwWindow.h"
#include "viewer/Interaction.h"
#include "viewer/SurfaceWorker.h"
#include "viewer/WindowPainter.h"

#include <Veltrand/Core/NotCopyable.h>

#include <filesystem>

namespace Veltrand::Apps {

/// A study in a window. OpenGL runs with the window's context as long as the object lives.
class Viewer : private Utils::NotCopyable {
public:
    /// @param level of the volume's surface; the best one if not given
    Viewer(GlfwWindow& window, const Study& study, std::optional<double> level);
    ~Viewer();

    /// Until the user quits.
    void run();

    // For scripts

    /// What the user would have done.
    void handle(const Input& input);
    /// Does what has happened to the window, and draws it if anything has changed.
    void update();
    /// Until the surfaces are there; the window is drawn meanwhile.
    void waitForSurfaces();
    void resize(const Eigen::Vector2i& size);
    /// Writes what the window shows. Throws `std::runtime_error` with one sentence.
    void save(const std::filesystem::path& file);
    /// Inputs of mouse and keyboard are ignored while it is told so.
    void setIgnoresUser(bool ignores);

    [[nodiscard]] const ViewerState& state() const { return m_state; }
    [[nodiscard]] bool isEnding() const;
    /// How many OpenGL errors there have been; each is logged.
    [[nodiscard]] int errors() const { return m_errors; }

private:
    [[nodiscard]] WindowGeometry geometry() const;
    void draw(Quality quality);
    void drawFrame(Quality quality);
    void takeSurfaces();
    void answerClick(const Eigen::Vector2d& pixel);
    void savePicture();

    GlfwWindow& m_window;
    ViewerState m_state;
    Interaction m_interaction{m_state};
    WindowPainter m_painter;
    SurfaceWorker m_worker;
    bool m_isChanged = true;
    bool m_ignoresUser = false;
    int m_errors = 0;
};

} // namespace Veltrand::Apps
