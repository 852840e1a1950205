// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "scene/BoxPainter.h"
#include "viewer/Interaction.h"
#include "viewer/ModelRenderer.h"
#include "viewer/PaneImage.h"
#include "viewer/SliceRenderer.h"
#include "viewer/SurfaceWorker.h"

#include <array>
#include <memory>
#include <optional>

namespace Veltrand::Apps {

/// How much care is taken with surfaces, which may be slow to draw.
enum class Quality {
    Moving, ///< quick to draw, if need be coarse
    Still,
    Final, ///< with smooth edges
};

/// Draws the window. The pictures of the panes are kept and drawn anew only when something in them has
/// changed; lines and text on top of them are drawn every time.
class WindowPainter {
public:
    /// Throws what `SliceRenderer` throws.
    /// @param study outlives the object
    explicit WindowPainter(const Study& study);

    void setSurfaces(StudySurfaces surfaces);

    void draw(const ViewerState& state, const WindowGeometry& geometry,
              const SurfaceWorker::Progress& progress, Quality quality);
    /// Whether `Quality::Final` would look the same as what has been drawn.
    [[nodiscard]] bool isFinal() const { return m_isFinal; }

    /// What the surfaces show at a pixel of the window.
    [[nodiscard]] std::optional<ModelHit> pick(const ViewerState& state, const WindowGeometry& geometry,
                                               const Eigen::Vector2d& pixel);

private:
    /// All that the picture of the surfaces depends on.
    struct ModelView {
        Eigen::Vector2i size;
        Eigen::Matrix4d projection;
        Eigen::Matrix4d modelView;
        bool isTransparent;
        unsigned region;

        [[nodiscard]] friend bool operator==(const ModelView&, const ModelView&) = default;
    };

    void updateSlice(Pane pane, const SlicePanel& panel, const ViewerState& state);
    void updateModel(const ViewerState& state, const PixelRect& rect, Quality quality);
    void drawModel(const ModelView& view, double samples, bool isCoarse);
    void showImage(Pane pane, const PixelRect& rect) const;
    [[nodiscard]] GL::ViewState modelView(const ViewerState& state, const PixelRect& rect) const;
    [[nodiscard]] Eigen::AlignedBox3d modelBounds(const ViewerState& state) const;

    SliceRenderer m_slices;
    std::optional<ModelRenderer> m_model; ///< empty until the surfaces are there
    std::unique_ptr<GL::Program> m_show;
    std::array<PaneImage, 4> m_images; ///< by pane
    std::array<std::optional<SliceView>, 3> m_sliceViews;
    std::optional<ModelView> m_modelView;
    double m_modelSamples = 0; ///< that it was drawn with, per pixel and direction
    bool m_isFinal = false;
    /// Seconds that surfaces took, opaque and translucent, at one sample per pixel.
    std::array<double, 2> m_modelCosts{};
};

} // namespace Veltrand::Apps
