// SPDX-License-Identifier: BSD-3-Clause
#include "scene/RegionModel.h"

#include "scene/DepthTest.h"

#include <Veltrand/GL/Functions.h>
#include <Veltrand/GL/ObjectPicking.h>

namespace Veltrand::Apps {

RegionModel::RegionModel(const RegionMesh& mesh, const Eigen::AlignedBox3d& emptyBounds)
    : m_program(GL::Program::createVertexFragment("VeltrandScene/RegionSurface.vert",
                                                  "VeltrandScene/RegionSurface.frag", "",
                                                  GL::Program::Compilation::ImmediateThrow))
    , m_vertices(GL::Buffer::Usage::StaticDraw)
    , m_indices(GL::Buffer::Usage::StaticDraw) {
    for (const Eigen::Vector3f& position : mesh.positions)
        m_bounds.extend(position.cast<double>());
    if (m_bounds.isEmpty()) // nothing to see, so any view will do
        m_bounds = emptyBounds;
    m_vertices.bind();
    m_vertices.setData(mesh.positions, mesh.normals, mesh.regions);
    GL::VertexBuffer::unbind();
    m_indices.bind();
    m_indices.setData(mesh.triangles);
    GL::IndexBuffer::unbind();
}

GL::ViewState RegionModel::view(const PixelRect& panel) const {
    const Eigen::Vector3d towardsEye = Eigen::Vector3d(-1, 0.6, 0.45).normalized();
    const Eigen::Vector3d right = Eigen::Vector3d::UnitZ().cross(towardsEye).normalized();
    Eigen::Affine3d modelView = Eigen::Affine3d::Identity();
    modelView.linear() << right.transpose(), towardsEye.cross(right).transpose(), towardsEye.transpose();
    Eigen::AlignedBox3d box;
    for (int corner = 0; corner < 8; ++corner)
        box.extend(modelView.linear() * m_bounds.corner(Eigen::AlignedBox3d::CornerType(corner)));
    modelView.translation() = -box.center();

    const Eigen::Vector2d pixels(panel.width, panel.height);
    const double scale = 1.04 * box.sizes().head<2>().cwiseQuotient(pixels).maxCoeff();
    const Eigen::Vector2d reach = scale * pixels / 2;
    // Some air, so that nothing touches the near and far planes.
    const double depth = 0.51 * box.sizes().z();
    return {{panel.x, panel.y, panel.width, panel.height},
            GL::createOrtho(-reach.x(), reach.x(), -reach.y(), reach.y(), -depth, depth),
            modelView.matrix()};
}

void RegionModel::draw(const GL::ViewState& view, const GL::ObjectPicking* picking, const void* object,
                       unsigned highlighted, const GL::IndexBuffer* triangles) const {
    const DepthTest depthTest;
    view.viewport().set();
    m_program->enable();
    m_program->setArgument("modelView", view.modelViewMatrix());
    m_program->setArgument("projection", view.projectionMatrix());
    m_program->setArgument("highlightedRegion", static_cast<float>(highlighted));
    if (picking != nullptr)
        picking->enable(*m_program, object);
    drawTriangles(triangles != nullptr ? *triangles : m_indices);
    m_program->disable();
}

void RegionModel::drawTriangles(const GL::IndexBuffer& indices) const {
    m_vertices.draw(GL::Primitive::Triangles, indices);
}

} // namespace Veltrand::Apps
