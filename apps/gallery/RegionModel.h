// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "gallery/Pictures.h"
#include "gallery/SliceLayout.h"

#include <Veltrand/GL/IndexBuffer.h>
#include <Veltrand/GL/Program.h>
#include <Veltrand/GL/VertexBuffer.h>
#include <Veltrand/GL/ViewState.h>

#include <Eigen/Geometry>
#include <memory>

namespace Veltrand::Apps {

/// The opaque surfaces of all regions of a scene; of the head, as region 1, where there are no regions.
/// Fragments can be picked, with the region's number as their second id.
class RegionModel {
public:
    /// Throws what `GL::Program` throws.
    explicit RegionModel(const Scene& scene);

    /// What the surfaces reach, in patient space.
    [[nodiscard]] const Eigen::AlignedBox3d& bounds() const { return m_bounds; }
    /// From the patient's left, front and a little above; as large as fits into a panel.
    [[nodiscard]] GL::ViewState view(const PixelRect& panel) const;

    /// Draws into the viewport of the view, with a depth test.
    /// @param object who the picking is told that the surfaces are
    void draw(const GL::ViewState& view, const GL::ObjectPicking* picking, const void* object) const;

private:
    std::unique_ptr<GL::Program> m_program;
    GL::VertexBuffer m_vertices;
    GL::IndexBuffer m_indices;
    Eigen::AlignedBox3d m_bounds;
};

} // namespace Veltrand::Apps
