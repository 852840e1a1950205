// SPDX-License-Identifier: BSD-3-Clause
#include "gallery/Canvas.h"
#include "gallery/LabelPainter.h"
#include "scene/DepthTest.h"
#include "scene/RegionModel.h"

#include <Veltrand/GL/Blending.h>
#include <Veltrand/GL/LineRenderer.h>
#include <Veltrand/GL/OffscreenRenderHelper.h>
#include <Veltrand/GL/TextRenderer.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <stdexcept>

namespace Veltrand::Apps {

namespace {

using Processing = GL::OffscreenRenderHelper::ColorPostProcessing;
using RenderBuffer = GL::OffscreenRenderHelper::RenderBuffer;

struct Variant {
    Processing processing;
    const char* name;
};

constexpr std::array<Variant, 4> Variants{{
    {Processing::Unchanged, "unchanged"},
    {Processing::Grey, "grey"},
    {Processing::WindowLevel, "window and level"},
    {Processing::Outline, "outline"},
}};
/// Pixels that are drawn, per pixel of the picture and direction.
constexpr int Samples = 2;

/// The twelve edges of a box, as pairs of points.
std::vector<Eigen::Vector3d> edgesOf(const Eigen::AlignedBox3d& box) {
    std::vector<Eigen::Vector3d> points;
    for (int corner = 0; corner < 8; ++corner)
        for (int axis = 0; axis < 3; ++axis)
            if ((corner >> axis & 1) == 0)
                for (const int end : {corner, corner | 1 << axis})
                    points.push_back(box.corner(Eigen::AlignedBox3d::CornerType(end)));
    return points;
}

class PassPainter {
public:
    explicit PassPainter(const Scene& scene)
        : m_surfaces(makeRegionMesh(scene.volume, scene.labels), scene.volume.bounds())
        , m_edges(edgesOf(m_surfaces.bounds())) {
        m_helper.setWindowLevel(0.5F, 0.5F);
        m_helper.setColorRamp(
            {{0.05F, 0.05F, 0.3F, 1}, {0.7F, 0.1F, 0.35F, 1}, {1, 0.75F, 0.2F, 1}, {1, 1, 1, 1}});
        m_helper.setOutline({1, 0.9F, 0.3F, 1}, 2 * Samples);
    }

    /// Three passes, each in a buffer of its own, are put together in a fourth one, which has depth, and
    /// which then goes onto the picture.
    void draw(const PixelRect& panel, const Variant& variant, int fontSize) {
        setViewport(panel);
        const Eigen::Vector2i size(Samples * panel.width, Samples * panel.height);
        const PixelRect all{0, 0, size.x(), size.y()};
        const GL::ViewState view = m_surfaces.view(all);
        // [snippet]
        RenderBuffer whole = lend(size);
        {
            const DepthTest depthTest; // in the buffers, and when they are put together
            {
                RenderBuffer surfaces = lend(size);
                m_surfaces.draw(view, nullptr, nullptr);
                surfaces.blendToParent(variant.processing);
            }
            RenderBuffer lines = lend(size);
            const GL::Blending blending(GL::Blending::Preset::Alpha);
            GL::LineRenderer::get()->renderLines(
                m_edges, GL::LineRenderer::Options(Eigen::Vector4d(0.6, 0.75, 1, 1), 1.5 * Samples), view);
            lines.blendToParent();
        }
        // [/snippet]
        {
            RenderBuffer text = lend(size);
            GL::TextRenderer::Font font;
            font.size = Samples * fontSize;
            GL::TextRenderer::get()->renderText(view.viewport(), {size.x() / 2.0, Samples * fontSize},
                                                variant.name, font, GL::TextRenderer::AlignmentH::Center,
                                                GL::TextRenderer::AlignmentV::Baseline);
            text.blendToParent();
        }
        // [snippet]
        whole.blendToParent();
        // [/snippet]
    }

private:
    // [snippet]
    GL::OffscreenRenderHelper::RenderBuffer lend(const Eigen::Vector2i& size) {
        RenderBuffer buffer =
            m_helper.create(size, GL::InternalFormat::RGBA8, GL::InternalFormat::DepthComponent24);
        if (buffer.isEmpty())
            throw std::runtime_error("the driver cannot draw a picture of this size in passes.");
        return buffer;
    }
    // [/snippet]

    RegionModel m_surfaces;
    std::vector<Eigen::Vector3d> m_edges;
    GL::OffscreenRenderHelper m_helper;
};

} // namespace

std::string drawComposited(const Scene& scene, const Canvas& canvas) {
    PassPainter painter(scene);
    const int columns = canvas.size().x() > canvas.size().y() ? 4 : 2;
    const int rows = 4 / columns;
    const int width = std::max(1, canvas.size().x() / columns);
    const int height = std::max(1, canvas.size().y() / rows);
    for (std::size_t i = 0; i < Variants.size(); ++i) {
        const int index = static_cast<int>(i);
        painter.draw({width * (index % columns), height * (rows - 1 - index / columns), width, height},
                     Variants[i], std::max(6, canvas.size().y() / 45));
    }
    return (scene.labels != nullptr ? "The surfaces of the regions of " : "The surface of ") + scene.name +
           " within the edges of a box, four times: unchanged, grey, in the colours of a flame, and with a "
           "yellow "
           "outline.";
}

} // namespace Veltrand::Apps
