// SPDX-License-Identifier: BSD-3-Clause
#include "viewer/Viewer.h"

#include "scene/OpenGL.h"
#include "support/Png.h"
#include "viewer/PaneOverlay.h"

#include <Veltrand/GL/Functions.h>

#include <cmath>
#include <iostream>
#include <stdexcept>

namespace Veltrand::Apps {

namespace {

/// After so long without a change, surfaces get smooth edges.
constexpr double QuietSeconds = 0.3;

} // namespace

Viewer::Viewer(GlfwWindow& window, const Study& study, std::optional<double> level)
    : m_window(window)
    , m_state(study)
    , m_painter(study)
    , m_worker(study, level, &GlfwWindow::wake) {
    m_window.onInput([this](const Input& input) {
        if (!m_ignoresUser)
            handle(input);
    });
    m_window.onChange([this] { m_isChanged = true; });
}

Viewer::~Viewer() {
    m_window.onInput([](const Input&) {});
    m_window.onChange([] {});
}

void Viewer::run() {
    m_window.setWaitsForScreen(true);
    while (!isEnding()) {
        update();
        if (m_isChanged || isEnding())
            continue;
        if (m_painter.isFinal() || m_window.framebufferSize().minCoeff() < 1) {
            GlfwWindow::wait();
        } else {
            GlfwWindow::wait(QuietSeconds);
            if (!m_isChanged && !m_interaction.isDragging())
                draw(Quality::Final);
        }
    }
}

bool Viewer::isEnding() const {
    return m_interaction.wantsToQuit() || m_window.isClosing();
}

void Viewer::handle(const Input& input) {
    m_isChanged = m_interaction.handle(input, geometry()) || m_isChanged;
}

void Viewer::update() {
    GlfwWindow::poll();
    takeSurfaces();
    // Here rather than in `handle`, which the window system calls, and which nothing is to be thrown through.
    if (const auto pixel = m_interaction.takeClickOnModel())
        answerClick(*pixel);
    if (m_interaction.takeSaving())
        savePicture();
    if (m_isChanged)
        draw(m_interaction.isMovingModel() ? Quality::Moving : Quality::Still);
}

void Viewer::waitForSurfaces() {
    while (m_worker.progress().isRunning && !isEnding()) {
        update();
        GlfwWindow::wait(0.05);
    }
    update();
}

void Viewer::resize(const Eigen::Vector2i& size) {
    m_window.resize(size);
    m_isChanged = true;
}

void Viewer::setIgnoresUser(bool ignores) {
    m_ignoresUser = ignores;
    m_window.setWaitsForScreen(!ignores);
}

void Viewer::takeSurfaces() {
    if (m_worker.takeNews())
        m_isChanged = true;
    if (std::optional<StudySurfaces> surfaces = m_worker.take())
        m_painter.setSurfaces(std::move(*surfaces));
}

void Viewer::answerClick(const Eigen::Vector2d& pixel) {
    if (const std::optional<ModelHit> hit = m_painter.pick(m_state, geometry(), pixel))
        m_state.choose(Pane::Model, hit->point, hit->region);
    else
        m_state.region = 0;
}

WindowGeometry Viewer::geometry() const {
    WindowGeometry geometry;
    geometry.size = m_window.framebufferSize();
    geometry.pixelsPerPoint = m_window.pixelsPerPoint();
    const double textHeight = TextPoints * m_window.contentScale() * 96 / 72;
    geometry.layout = layoutPanes(geometry.size, static_cast<int>(std::lround(1.8 * textHeight)));
    geometry.margin = static_cast<int>(std::lround(1.6 * textHeight));
    return geometry;
}

void Viewer::draw(Quality quality) {
    m_isChanged = false;
    if (m_window.framebufferSize().minCoeff() < 1)
        return;
    drawFrame(quality);
    m_window.show();
}

void Viewer::drawFrame(Quality quality) {
    GL::setDpiScale(m_window.contentScale());
    m_painter.draw(m_state, geometry(), m_worker.progress(), quality);
    m_errors += takeOpenGlErrors();
}

void Viewer::save(const std::filesystem::path& file) {
    takeSurfaces();
    const Eigen::Vector2i size = m_window.framebufferSize();
    if (size.minCoeff() < 1)
        throw std::runtime_error("cannot write " + file.string() + ": the window has no size.");
    drawFrame(Quality::Final);
    writePng(file, size.x(), size.y(), m_window.read());
    m_window.show();
    m_isChanged = false;
}

void Viewer::savePicture() {
    std::filesystem::path file;
    for (int number = 1; file.empty() || std::filesystem::exists(file); ++number)
        file = "veltrandgl-viewer-" + std::to_string(number) + ".png";
    try {
        save(file);
        std::cout << "saved " << file.string() << std::endl;
    } catch (const std::runtime_error& error) {
        std::cerr << "veltrandgl-viewer: " << error.what() << std::endl;
    }
}

} // namespace Veltrand::Apps
