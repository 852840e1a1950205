// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "scene/RegionMesh.h"
#include "scene/SlicePanel.h"

#include <Veltrand/GL/IndexBuffer.h>
#include <Veltrand/GL/Program.h>
#include <Veltrand/GL/VertexBuffer.h>
#include <Veltrand/GL/ViewState.h>

#include <Eigen/Geometry>
#include <memory>

namespace Veltrand::Apps {

/// The opaque surfaces of regions on the graphics card. Fragments can be picked, with the region's number as
/// their second id.
class RegionModel {
public:
    /// @param emptyBounds what a mesh without triangles reaches
    /// Throws what `GL::Program` throws.
    RegionModel(const RegionMesh& mesh, const Eigen::AlignedBox3d& emptyBounds);

    /// What the surfaces reach, in patient space.
    [[nodiscard]] const Eigen::AlignedBox3d& bounds() const { return m_bounds; }
    /// From the patient's left, front and a little above; as large as fits into a panel.
    [[nodiscard]] GL::ViewState view(const PixelRect& panel) const;

    /// Draws into the viewport of the view, with a depth test.
    /// @param object who the picking is told that the surfaces are
    /// @param highlighted a region that shines; 0 for none
    /// @param triangles in place of those of the mesh, or null
    void draw(const GL::ViewState& view, const GL::ObjectPicking* picking, const void* object,
              unsigned highlighted = 0, const GL::IndexBuffer* triangles = nullptr) const;

    /// For other programs: draws with position, normal and region as attributes 0, 1 and 2.
    void drawTriangles(const GL::IndexBuffer& indices) const;
    [[nodiscard]] const GL::IndexBuffer& triangles() const { return m_indices; }

private:
    std::unique_ptr<GL::Program> m_program;
    GL::VertexBuffer m_vertices;
    GL::IndexBuffer m_indices;
    Eigen::AlignedBox3d m_bounds;
};

} // namespace Veltrand::Apps
