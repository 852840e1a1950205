// SPDX-License-Identifier: BSD-3-Clause
#include "gallery/Canvas.h"
#include "gallery/LabelPainter.h"
#include "scene/VolumeTexture.h"

#include <Veltrand/GL/Program.h>
#include <Veltrand/GL/VertexBuffer.h>

#include <algorithm>
#include <string>

namespace Veltrand::Apps {

namespace {

Eigen::Vector3f planeColor(int axis) {
    return PlaneColors[static_cast<std::size_t>(axis)].head<3>().cast<float>();
}

/// Where the other two planes cross a slice.
void setLines(GL::Program& slice, const Scene& scene, const SlicePanel& panel, int letterScale) {
    const Eigen::Vector2d size(panel.rect.width, panel.rect.height);
    const Eigen::Vector3d point = panel.panelToPatient.inverse() * scene.point;
    const Eigen::Vector2d crossing = point.head<2>().cwiseProduct(size).array().floor();
    slice.setArgument("panelSize", size);
    slice.setArgument("crossing", crossing);
    slice.setArgument("lineWidth", static_cast<float>(std::max(1, letterScale / 3)));
    slice.setArgument("gap", 4.0 * letterScale);
    slice.setArgument("verticalLineColor", planeColor(panel.horizontal));
    slice.setArgument("horizontalLineColor", planeColor(panel.vertical));
}

/// The letters of the patient's sides, and which slice it is.
void drawMarks(const Scene& scene, const LabelPainter& labels, const SlicePanel& panel,
               const SliceLayout& layout) {
    const PixelRect& rect = panel.rect;
    const int middleX = rect.x + rect.width / 2;
    labels.drawLetters(scene, panel, layout);

    const std::string position = std::string(1, "xyz"[panel.normal]) + " = " +
                                 scene.volume.lengths().millimetres(scene.point[panel.normal]);
    labels.drawText(position, middleX, rect.y - 2 * layout.margin + layout.margin / 2,
                    std::max(1, layout.letterScale * 2 / 3), planeColor(panel.normal));
}

} // namespace

std::string drawSlices(const Scene& scene, const Canvas& canvas) {
    const SliceLayout layout = layoutSlices(canvas.size(), scene.volume.bounds(), scene.point);
    const Window window = textureWindow(scene.volume, scene.window);
    const LabelPainter labels(canvas);
    // [snippet]
    const auto slice =
        GL::Program::createVertexFragment("VeltrandScene/Panel.vert", "VeltrandGallery/Slice.frag", "",
                                          GL::Program::Compilation::ImmediateThrow);
    const auto square = GL::VertexBuffer::createFullscreenSquare();
    for (const SlicePanel& panel : layout.panels) {
        const Eigen::Affine3d panelToTexture = patientToTexture(scene.volume) * panel.panelToPatient;
        setViewport(panel.rect);
        slice->enable();
        slice->setArgument("volume", scene.texture);
        slice->setArgument("panelToTexture", panelToTexture.matrix());
        slice->setArgument("window", Eigen::Vector2d(window.low, window.high));
        setLines(*slice, scene, panel, layout.letterScale);
        square->draw(GL::Primitive::TriangleFan);
        slice->disable();
        drawMarks(scene, labels, panel, layout);
    }
    // [/snippet]
    const LengthFormat lengths = scene.volume.lengths();
    return "Axial, coronal and sagittal slices through " + scene.name +
           " in grey, at x = " + lengths.number(scene.point.x()) +
           ", y = " + lengths.number(scene.point.y()) + " and z = " + lengths.millimetres(scene.point.z()) +
           ", with " + (scene.volume.orientationKnown ? "letters for" : "question marks in place of") +
           " the sides of the patient around each and coloured lines where the other two slices cross it.";
}

} // namespace Veltrand::Apps
