// SPDX-License-Identifier: BSD-3-Clause
#include "viewer/ModelRenderer.h"

#include "scene/DepthOrder.h"
#include "scene/DepthTest.h"

#include <Veltrand/GL/Blending.h>
#include <Veltrand/GL/ObjectPicking.h>
#include <Veltrand/GL/PixelFormat.h>
#include <Veltrand/GL/PixelType.h>
#include <Veltrand/GL/Texture.h>

#include <span>
#include <utility>
#include <vector>

namespace Veltrand::Apps {

namespace {

/// The depth at a pixel of a texture.
float depthAt(const GL::Texture& texture, const Eigen::Vector2i& pixel) {
    std::vector<float> depths(texture.numTexels(), 1.0F);
    if (!texture.downloadTo(GL::PixelFormat::DepthComponent, GL::PixelType::Float,
                            std::as_writable_bytes(std::span(depths))))
        return 1;
    return depths[static_cast<std::size_t>(pixel.y()) * static_cast<std::size_t>(texture.width()) +
                  static_cast<std::size_t>(pixel.x())];
}

} // namespace

ModelRenderer::ModelRenderer(StudySurfaces surfaces)
    : m_model(surfaces.mesh, Eigen::AlignedBox3d())
    , m_coarse(GL::Buffer::Usage::StaticDraw)
    , m_sorted(GL::Buffer::Usage::StreamDraw) {
    m_coarse.bind();
    m_coarse.setData(surfaces.coarse);
    GL::IndexBuffer::unbind();
    const bool isSorted = !GL::OrderIndependentTransparency::isSupported();
    if (isSorted)
        m_surfaces = std::move(surfaces);
    else
        m_transparency.emplace();
    m_skin = GL::Program::createVertexFragment(
        "VeltrandScene/RegionSurface.vert", "VeltrandViewer/RegionSkin.frag",
        isSorted ? "" : "#define WITH_OIT\n", GL::Program::Compilation::ImmediateThrow);
}

void ModelRenderer::draw(const GL::ViewState& view, bool isTransparent, bool isCoarse, unsigned chosen) {
    const GL::IndexBuffer& triangles = isCoarse ? m_coarse : m_model.triangles();
    if (!isTransparent) {
        const FaceCulling culling;
        m_model.draw(view, nullptr, nullptr, chosen, &triangles);
    } else if (m_transparency) {
        drawUnsorted(view, triangles, chosen);
    } else {
        drawSorted(view, isCoarse ? m_surfaces.coarse : m_surfaces.mesh.triangles, chosen);
    }
}

void ModelRenderer::drawUnsorted(const GL::ViewState& view, const GL::IndexBuffer& triangles,
                                 unsigned chosen) {
    const GL::Viewport& viewport = view.viewport();
    const Eigen::Vector3i texels(viewport.width, viewport.height, 1);
    GL::Texture color(GL::Texture::Target::Texture2D, texels, GL::InternalFormat::RGBA8);
    color.clear<float>({0, 0, 0, 1});
    GL::Texture depth(GL::Texture::Target::Texture2D, texels, GL::InternalFormat::DepthComponent32F);
    depth.clear<float>({1, 0, 0, 0});

    const Eigen::Vector2i size = texels.head<2>();
    m_transparency->reset(size, false);
    // Where fragments were missing, the next turn has more room.
    for (unsigned room = 0; m_transparency->numNodesTotal() > room;) {
        room = m_transparency->numNodesTotal();
        drawSkins(view, triangles, chosen);
        m_transparency->renderBlendedFragments(color, depth);
        m_transparency->reset(size, false);
    }
}

void ModelRenderer::drawSorted(const GL::ViewState& view, const std::vector<Eigen::Vector3i>& triangles,
                               unsigned chosen) {
    m_sorted.bind();
    m_sorted.setData(fromBackToFront(m_surfaces.mesh.positions, triangles, view));
    GL::IndexBuffer::unbind();
    const GL::Blending blending(GL::Blending::Preset::Alpha);
    drawSkins(view, m_sorted, chosen);
}

void ModelRenderer::drawSkins(const GL::ViewState& view, const GL::IndexBuffer& triangles,
                              unsigned chosen) const {
    view.viewport().set();
    m_skin->enable();
    m_skin->setArgument("modelView", view.modelViewMatrix());
    m_skin->setArgument("projection", view.projectionMatrix());
    m_skin->setArgument("chosenRegion", static_cast<float>(chosen));
    if (m_transparency)
        m_transparency->setIncludeArguments(*m_skin);
    m_model.drawTriangles(triangles);
    m_skin->disable();
}

std::optional<ModelHit> ModelRenderer::pick(const GL::ViewState& view, const Eigen::Vector2i& pixel) {
    const Eigen::Vector2i size(view.viewport().width, view.viewport().height);
    const auto buffer =
        m_targets.create(size, GL::InternalFormat::RGBA8, GL::InternalFormat::DepthComponent32F);
    if (buffer.isEmpty())
        return std::nullopt;
    GL::ObjectPicking picking;
    picking.reset(buffer.framebuffer(), size, {&m_model});
    m_model.draw(view, &picking, &m_model);
    picking.disable();
    const auto seen = picking.getPickingInfo({pixel}, &m_model);
    if (seen.empty())
        return std::nullopt;
    const double depth = depthAt(buffer.depthTexture(), pixel);
    return ModelHit{seen.front().secondId, view.unproject({pixel.x() + 0.5, pixel.y() + 0.5, depth})};
}

} // namespace Veltrand::Apps
