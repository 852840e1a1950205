// SPDX-License-Identifier: BSD-3-Clause
#include "viewer/WindowPainter.h"

#include "viewer/HelpOverlay.h"
#include "viewer/PaneOverlay.h"

#include <Veltrand/GL/FullscreenSquare.h>
#include <Veltrand/GL/Functions.h>

#include <algorithm>
#include <chrono>

namespace Veltrand::Apps {

namespace {

/// Surfaces that take longer, in seconds, are coarser while they are moved.
constexpr double SlowModel = 0.04;

} // namespace

WindowPainter::WindowPainter(const Study& study)
    : m_slices(study)
    , m_show(GL::Program::createVertexFragment("VeltrandScene/Panel.vert", "VeltrandScene/Image.frag", "",
                                               GL::Program::Compilation::ImmediateThrow)) {}

void WindowPainter::setSurfaces(RegionMesh mesh) {
    m_model.emplace(std::move(mesh));
    m_modelView.reset();
}

void WindowPainter::draw(const ViewerState& state, const WindowGeometry& geometry,
                         const SurfaceWorker::Progress& progress, bool isMoving) {
    GL::Viewport{0, 0, geometry.size.x(), geometry.size.y()}.set();
    GL::clearColorBuffer({0.16F, 0.17F, 0.19F, 1});
    for (const Pane pane : {Pane::Axial, Pane::Coronal, Pane::Sagittal}) {
        const SlicePanel panel = geometry.panel(state, pane);
        updateSlice(pane, panel, state);
        showImage(pane, panel.rect);
        drawSliceOverlay(state, pane, panel);
    }
    const PixelRect& rect = geometry.layout[Pane::Model];
    updateModel(state, rect, isMoving);
    showImage(Pane::Model, rect);
    drawModelOverlay(state, modelView(state, rect), modelBounds(state), progress);
    drawStatus(state, geometry.layout.status);
    if (state.showsHelp)
        drawHelp(geometry.size, m_boxes);
}

void WindowPainter::updateSlice(Pane pane, const SlicePanel& panel, const ViewerState& state) {
    const auto index = static_cast<std::size_t>(pane);
    const SliceView view{{panel.rect.width, panel.rect.height},
                         panel.panelToPatient.matrix(),
                         state.window,
                         state.showsRegions,
                         state.region};
    if (m_sliceViews[index] == view)
        return;
    const GL::StateGuard guard = m_images[index].begin(view.size);
    m_slices.draw(view);
    m_sliceViews[index] = view;
}

void WindowPainter::updateModel(const ViewerState& state, const PixelRect& rect, bool isMoving) {
    double& cost = m_modelCosts[state.isTransparent ? 1 : 0];
    // Samples per pixel and direction.
    const double samples = isMoving && cost > SlowModel ? 0.5 : 1;
    const PixelRect all{0, 0, std::max(1, static_cast<int>(samples * rect.width)),
                        std::max(1, static_cast<int>(samples * rect.height))};
    const GL::ViewState camera = modelView(state, all);
    const ModelView view{{all.width, all.height},
                         camera.projectionMatrix(),
                         camera.modelViewMatrix(),
                         state.isTransparent,
                         state.region};
    if (m_modelView == view)
        return;
    const auto start = std::chrono::steady_clock::now();
    const GL::StateGuard guard = m_images[static_cast<std::size_t>(Pane::Model)].begin(view.size);
    if (m_model) {
        m_model->draw(camera, state.isTransparent, state.region);
        GL::finish();
        const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start;
        cost = seconds.count() / (samples * samples);
    }
    m_modelView = view;
}

void WindowPainter::showImage(Pane pane, const PixelRect& rect) const {
    GL::Viewport{rect.x, rect.y, rect.width, rect.height}.set();
    m_show->enable();
    m_show->setArgument("image", m_images[static_cast<std::size_t>(pane)].color());
    GL::FullscreenSquare::get()->drawFilled();
    m_show->disable();
    m_show->unbindSamplers("image");
}

std::optional<ModelHit> WindowPainter::pick(const ViewerState& state, const WindowGeometry& geometry,
                                            const Eigen::Vector2d& pixel) {
    const PixelRect& rect = geometry.layout[Pane::Model];
    if (!m_model)
        return std::nullopt;
    const Eigen::Vector2i place = (pixel - Eigen::Vector2d(rect.x, rect.y)).array().floor().cast<int>();
    return m_model->pick(modelView(state, {0, 0, rect.width, rect.height}), place);
}

GL::ViewState WindowPainter::modelView(const ViewerState& state, const PixelRect& rect) const {
    return state.model.view(rect, modelBounds(state));
}

Eigen::AlignedBox3d WindowPainter::modelBounds(const ViewerState& state) const {
    return m_model ? state.bounds.merged(m_model->bounds()) : state.bounds;
}

} // namespace Veltrand::Apps
