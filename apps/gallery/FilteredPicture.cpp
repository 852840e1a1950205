// SPDX-License-Identifier: BSD-3-Clause
#include "gallery/Canvas.h"
#include "gallery/LabelPainter.h"
#include "gallery/PlanePainter.h"
#include "scene/VolumeTexture.h"
#include "support/NumberText.h"

#include <Veltrand/GL/ImageProgram.h>
#include <Veltrand/GL/Program.h>
#include <Veltrand/GL/Texture.h>

#include <algorithm>
#include <cmath>
#include <string_view>

namespace Veltrand::Apps {

namespace {

const Eigen::Vector3f TextColor(0.92F, 0.92F, 0.92F);
/// The longest of 1, 2 and 5 millimetres and their powers of ten that is not longer than a length.
double roundLength(double length) {
    const double power = std::pow(10, std::floor(std::log10(length)));
    return power * (length < 2 * power ? 1 : length < 5 * power ? 2 : 5);
}

/// Runs an image program over every voxel.
// [snippet]
GL::Texture filter(const Scene& scene, const char* shader) {
    GL::Texture result(GL::Texture::Target::Texture3D, scene.volume.size, GL::InternalFormat::R32F);
    GL::ImageProgram program(shader, "", true, GL::ImageProgram::TexCoordMode::Output,
                             GL::Program::Compilation::ImmediateThrow);
    program.enable();
    program.setArgument("volume", scene.texture);
    program.setArgument("spacing", scene.volume.spacing());
    program.compute(result, {});
    program.disable();
    return result;
}
// [/snippet]

} // namespace

std::string drawFiltered(const Scene& scene, const Canvas& canvas) {
    const SliceLayout layout = layoutSlices(canvas.size(), scene.volume.bounds(), scene.point);
    const int scale = layout.letterScale;
    const int margin = layout.margin;
    const int edge =
        std::max(1, std::min(canvas.size().x() / 3 - 2 * margin, canvas.size().y() - 5 * margin));
    const int bottom = (canvas.size().y() - edge) / 2 + margin;

    // An axial square around the point, seen as the axial slice is.
    SlicePanel panel = layout.panels.front();
    Eigen::Affine3d& panelToPatient = panel.panelToPatient;
    const double detail = scene.volume.bounds().sizes().maxCoeff() / 3;
    panelToPatient.linear().col(0) = panelToPatient.linear().col(0).normalized() * detail;
    panelToPatient.linear().col(1) = panelToPatient.linear().col(1).normalized() * detail;
    panelToPatient.translation() =
        scene.point - (panelToPatient.linear().col(0) + panelToPatient.linear().col(1)) / 2;
    const Eigen::Affine3d panelToTexture = patientToTexture(scene.volume) * panelToPatient;

    const PlanePainter planes;
    const LabelPainter labels(canvas);
    const Window grey = textureWindow(scene.volume, scene.window);
    // A step over all of the window within a thirtieth of the detail shows white.
    const Window slope{0, std::abs(grey.high - grey.low) / (detail / 30)};
    // [snippet]
    const GL::Texture mean = filter(scene, "VeltrandGallery/Mean.frag");
    const GL::Texture gradient = filter(scene, "VeltrandGallery/Gradient.frag");
    // [/snippet]

    int left = (canvas.size().x() - 3 * (edge + 2 * margin)) / 2 + margin;
    const auto drawPanel = [&](const GL::Texture& texture, const Window& window, const std::string& caption) {
        panel.rect = {left, bottom, edge, edge};
        planes.draw(texture, panel.rect, panelToTexture, window);
        labels.drawLetters(scene, panel, layout);
        labels.drawText(caption, left + edge / 2, bottom - 2 * margin, scale, TextColor);
        left += edge + 2 * margin;
    };
    drawPanel(scene.texture, grey, "Raw");
    drawPanel(mean, grey, "Mean");
    drawPanel(gradient, slope, "Gradient");

    // Below the last panel's lower right corner.
    const double length = roundLength(detail / 5);
    const int bar = static_cast<int>(length * edge / detail);
    const PixelRect& last = panel.rect;
    LabelPainter::fill({last.x + last.width - bar, bottom - margin, bar, scale}, TextColor);
    labels.drawText(shortNumber(length) + " mm", last.x + last.width - bar / 2, bottom - 2 * margin, scale,
                    TextColor);
    return "Three squares of " + scene.volume.lengths().millimetres(detail) + ", the same detail of " +
           scene.name + " raw, softened, and as its gradient, bright where values change.";
}

} // namespace Veltrand::Apps
