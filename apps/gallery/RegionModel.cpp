// SPDX-License-Identifier: BSD-3-Clause
#include "gallery/RegionModel.h"

#include "gallery/DepthTest.h"
#include "support/Surface.h"

#include <Veltrand/GL/Functions.h>
#include <Veltrand/GL/ObjectPicking.h>

#include <vector>

namespace Veltrand::Apps {

namespace {

constexpr int HighestRegion = 0xFFFF;

/// The numbers above 0 that a volume holds.
std::vector<int> regionsOf(const Volume& labels) {
    std::vector<bool> found(HighestRegion + 1);
    for (std::size_t i = 0; i < labels.voxelCount(); ++i)
        if (const double value = labels.value(i); value >= 1 && value <= HighestRegion)
            found[static_cast<std::size_t>(value)] = true;
    std::vector<int> regions;
    for (int region = 1; region <= HighestRegion; ++region)
        if (found[static_cast<std::size_t>(region)])
            regions.push_back(region);
    return regions;
}

struct Mesh {
    std::vector<Eigen::Vector3f> positions;
    std::vector<Eigen::Vector3f> normals;
    std::vector<float> regions;
    std::vector<Eigen::Vector3i> triangles;

    void add(const Surface& surface, int region) {
        const auto first = static_cast<int>(positions.size());
        positions.insert(positions.end(), surface.positions.begin(), surface.positions.end());
        normals.insert(normals.end(), surface.normals.begin(), surface.normals.end());
        regions.resize(positions.size(), static_cast<float>(region));
        for (const Eigen::Vector3i& triangle : surface.triangles)
            triangles.emplace_back(triangle + Eigen::Vector3i::Constant(first));
    }
};

Mesh makeMesh(const Scene& scene) {
    Mesh mesh;
    if (scene.labels == nullptr) {
        ScalarGrid head = shrink(scene.volume, 2);
        mesh.add(extractSurface(head, separatingLevel(head)), 1);
        return mesh;
    }
    const std::vector<int> regions = regionsOf(*scene.labels);
    const std::vector<ScalarGrid> fields = regionFields(*scene.labels, regions);
    for (std::size_t i = 0; i < fields.size(); ++i)
        mesh.add(extractSurface(fields[i], 0.5F), regions[i]);
    return mesh;
}

} // namespace

RegionModel::RegionModel(const Scene& scene)
    : m_program(GL::Program::createVertexFragment("VeltrandGallery/RegionSurface.vert",
                                                  "VeltrandGallery/RegionSurface.frag", "",
                                                  GL::Program::Compilation::ImmediateThrow))
    , m_vertices(GL::Buffer::Usage::StaticDraw)
    , m_indices(GL::Buffer::Usage::StaticDraw) {
    const Mesh mesh = makeMesh(scene);
    for (const Eigen::Vector3f& position : mesh.positions)
        m_bounds.extend(position.cast<double>());
    if (m_bounds.isEmpty()) // nothing to see, so any view will do
        m_bounds = scene.volume.bounds();
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

void RegionModel::draw(const GL::ViewState& view, const GL::ObjectPicking* picking,
                       const void* object) const {
    const DepthTest depthTest;
    view.viewport().set();
    m_program->enable();
    m_program->setArgument("modelView", view.modelViewMatrix());
    m_program->setArgument("projection", view.projectionMatrix());
    if (picking != nullptr)
        picking->enable(*m_program, object);
    m_vertices.draw(GL::Primitive::Triangles, m_indices);
    m_program->disable();
}

} // namespace Veltrand::Apps
