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

/// Surfaces that take longer, in seconds, are coarse while they are moved.
constexpr double SlowModel = 0.03;
/// Those that take less always have smooth edges.
constexpr double FastModel = 0.003;
/// Samples that are drawn at most, so that the lists of translucent surfaces find room.
constexpr double MaxSamples = 1 << 21;

} // namespace

WindowPainter::WindowPainter(const Study& study)
    : m_slices(study)
    , m_show(GL::Program::createVertexFragment("VeltrandScene/Panel.vert", "VeltrandScene/Image.frag", "",
                                               GL::Program::Compilation::ImmediateThrow)) {}

void WindowPainter::setSurfaces(StudySurfaces surfaces) {
    m_model.emplace(std::move(surfaces));
    m_modelView.reset();
}

void WindowPainter::draw(const ViewerState& state, const WindowGeometry& geometry,
                         const SurfaceWorker::Progress& progress, Quality quality) {
    GL::Viewport{0, 0, geometry.size.x(), geometry.size.y()}.set();
    GL::clearColorBuffer({0.16F, 0.17F, 0.19F, 1});
    for (const Pane pane : {Pane::Axial, Pane::Coronal, Pane::Sagittal}) {
        const SlicePanel panel = geometry.panel(state, pane);
        updateSlice(pane, panel, state);
        showImage(pane, panel.rect);
        drawSliceOverlay(state, pane, panel);
    }
    const PixelRect& rect = geometry.layout[Pane::Model];
    updateModel(state, rect, quality);
    showImage(Pane::Model, rect);
    drawModelOverlay(state, modelView(state, rect), modelBounds(state), progress);
    drawStatus(state, geometry.layout.status);
    if (state.showsHelp)
        drawHelp(geometry.size);
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

void WindowPainter::updateModel(const ViewerState& state, const PixelRect& rect, Quality quality) {
    const GL::ViewState camera = modelView(state, rect);
    const ModelView view{{rect.width, rect.height},
                         camera.projectionMatrix(),
                         camera.modelViewMatrix(),
                         state.isTransparent,
                         state.region};
    const double cost = m_modelCosts[state.isTransparent ? 1 : 0];
    const bool isCoarse = quality == Quality::Moving && cost > SlowModel;
    const double best = 4.0 * rect.width * rect.height <= MaxSamples ? 2 : 1;
    double samples = isCoarse ? 0.5 : 1;
    if (quality == Quality::Final || (cost > 0 && cost < FastModel))
        samples = best;
    if (m_modelView != view || m_modelSamples < samples)
        drawModel(view, samples, isCoarse);
    m_isFinal = m_modelSamples >= best;
}

void WindowPainter::drawModel(const ModelView& view, double samples, bool isCoarse) {
    const Eigen::Vector2i size =
        (samples * view.size.cast<double>()).array().max(1).floor().matrix().cast<int>();
    const auto start = std::chrono::steady_clock::now();
    const GL::StateGuard guard = m_images[static_cast<std::size_t>(Pane::Model)].begin(size);
    if (m_model) {
        m_model->draw({{0, 0, size.x(), size.y()}, view.projection, view.modelView}, view.isTransparent,
                      isCoarse, view.region);
        GL::finish();
        const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start;
        if (samples == 1)
            m_modelCosts[view.isTransparent ? 1 : 0] = seconds.count();
    }
    m_modelView = view;
    m_modelSamples = samples;
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
