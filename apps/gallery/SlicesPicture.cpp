// SPDX-License-Identifier: BSD-3-Clause
#include "gallery/Canvas.h"
#include "gallery/LabelPainter.h"
#include "gallery/VolumeTexture.h"

#include <Veltrand/GL/Program.h>
#include <Veltrand/GL/VertexBuffer.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <memory>
#include <string>

namespace Veltrand::Apps {

namespace {

/// A plane's colour by the axis that is perpendicular to it: its line on the other slices, and its caption.
const std::array<Eigen::Vector3f, 3> PlaneColors{
    {{0.95F, 0.42F, 0.38F}, {0.45F, 0.82F, 0.42F}, {0.42F, 0.66F, 1.0F}}};

/// Draws slices and their marks onto the framebuffer that is bound.
class SlicePainter {
public:
    explicit SlicePainter(const Scene& scene)
        : m_scene(scene)
        , m_slice(GL::Program::createVertexFragment("VeltrandGallery/Panel.vert",
                                                    "VeltrandGallery/Slice.frag", "",
                                                    GL::Program::Compilation::ImmediateThrow))
        , m_square(GL::VertexBuffer::createFullscreenSquare()) {}

    void drawSlice(const SlicePanel& panel, int letterScale) const {
        const Eigen::Affine3d panelToTexture = patientToTexture(m_scene.volume) * panel.panelToPatient;
        const Eigen::Vector2d size(panel.rect.width, panel.rect.height);
        const Eigen::Vector3d point = panel.panelToPatient.inverse() * m_scene.point;
        const Eigen::Vector2d crossing = point.head<2>().cwiseProduct(size).array().floor();
        const Window window = textureWindow(m_scene.volume, m_scene.window);

        setViewport(panel.rect);
        m_slice->enable();
        m_slice->setArgument("volume", m_scene.texture);
        m_slice->setArgument("panelToTexture", panelToTexture.matrix());
        m_slice->setArgument("window", Eigen::Vector2d(window.low, window.high));
        m_slice->setArgument("panelSize", size);
        m_slice->setArgument("crossing", crossing);
        m_slice->setArgument("lineWidth", static_cast<float>(std::max(1, letterScale / 3)));
        m_slice->setArgument("gap", 4.0 * letterScale);
        m_slice->setArgument("verticalLineColor", planeColor(panel.horizontal));
        m_slice->setArgument("horizontalLineColor", planeColor(panel.vertical));
        m_square->draw(GL::Primitive::TriangleFan);
        m_slice->disable();
    }

    void drawMarks(const SlicePanel& panel, const SliceLayout& layout) const {
        const PixelRect& rect = panel.rect;
        const int middleX = rect.x + rect.width / 2;
        LabelPainter::drawLetters(m_scene, panel, layout);

        std::array<char, 32> position{};
        // Adding 0 turns -0 into 0.
        const double rounded = std::round(m_scene.point[panel.normal] * 10) / 10 + 0.0;
        std::snprintf(position.data(), position.size(), "%c = %.1f mm", "xyz"[panel.normal], rounded);
        LabelPainter::drawText(position.data(), middleX, rect.y - 2 * layout.margin + layout.margin / 2,
                               std::max(1, layout.letterScale * 2 / 3), planeColor(panel.normal));
    }

private:
    static const Eigen::Vector3f& planeColor(int axis) { return PlaneColors[static_cast<std::size_t>(axis)]; }

    const Scene& m_scene;
    std::unique_ptr<GL::Program> m_slice;
    std::unique_ptr<GL::VertexBuffer> m_square;
};

} // namespace

void drawSlices(const Scene& scene, const Canvas& canvas) {
    const SliceLayout layout = layoutSlices(canvas.size(), scene.volume.bounds(), scene.point);
    const SlicePainter painter(scene);
    for (const SlicePanel& panel : layout.panels) {
        painter.drawSlice(panel, layout.letterScale);
        painter.drawMarks(panel, layout);
    }
}

} // namespace Veltrand::Apps
