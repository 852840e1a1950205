// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "scene/RegionModel.h"
#include "viewer/SurfaceWorker.h"

#include <Veltrand/GL/IndexBuffer.h>
#include <Veltrand/GL/OffscreenRenderHelper.h>
#include <Veltrand/GL/OrderIndependentTransparency.h>
#include <Veltrand/GL/Program.h>
#include <Veltrand/GL/ViewState.h>

#include <memory>
#include <optional>
#include <vector>

namespace Veltrand::Apps {

/// What is seen at a pixel of the surfaces.
struct ModelHit {
    unsigned region;
    /// In patient space.
    Eigen::Vector3d point;
};

/// Draws surfaces, opaque or translucent. Where OpenGL is older than 4.4, translucent triangles are sorted
/// whenever the view changes.
class ModelRenderer {
public:
    /// Throws what `GL::Program` throws.
    explicit ModelRenderer(StudySurfaces surfaces);

    /// What the surfaces reach, in patient space; empty without any.
    [[nodiscard]] const Eigen::AlignedBox3d& bounds() const { return m_model.bounds(); }

    /// Draws onto the framebuffer that is bound, whose size is that of the view and which is clear.
    /// @param isCoarse whether fewer triangles will do
    /// @param chosen a region that stands out; 0 for none
    void draw(const GL::ViewState& view, bool isTransparent, bool isCoarse, unsigned chosen);

    /// What opaque surfaces show at a pixel of the view, counted from its lower left corner.
    [[nodiscard]] std::optional<ModelHit> pick(const GL::ViewState& view, const Eigen::Vector2i& pixel);

private:
    void drawUnsorted(const GL::ViewState& view, const GL::IndexBuffer& triangles, unsigned chosen);
    void drawSorted(const GL::ViewState& view, const std::vector<Eigen::Vector3i>& triangles,
                    unsigned chosen);
    void drawSkins(const GL::ViewState& view, const GL::IndexBuffer& triangles, unsigned chosen) const;

    StudySurfaces m_surfaces; ///< only where triangles are sorted
    RegionModel m_model;
    std::optional<GL::OrderIndependentTransparency> m_transparency;
    std::unique_ptr<GL::Program> m_skin;
    GL::IndexBuffer m_coarse;
    GL::IndexBuffer m_sorted;
    GL::OffscreenRenderHelper m_targets; ///< for picking
};

} // namespace Veltrand::Apps
