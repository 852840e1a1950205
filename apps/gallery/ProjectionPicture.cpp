// SPDX-License-Identifier: BSD-3-Clause
#include "gallery/Canvas.h"
#include "gallery/LabelPainter.h"
#include "scene/VolumeTexture.h"

#include <Veltrand/GL/Blending.h>
#include <Veltrand/GL/ImageProgram.h>
#include <Veltrand/GL/Program.h>
#include <Veltrand/GL/Texture.h>
#include <Veltrand/GL/VertexBuffer.h>

#include <cmath>

namespace Veltrand::Apps {

namespace {

/// Maps a panel, and a depth from 0 to 1 through all of the volume behind it, to patient space.
Eigen::Affine3d boxToPatient(const SlicePanel& panel, const Eigen::AlignedBox3d& bounds) {
    Eigen::Affine3d map = panel.panelToPatient;
    map.linear().col(2) = Eigen::Vector3d::Unit(panel.normal) * bounds.sizes()[panel.normal];
    map.translation()[panel.normal] = bounds.min()[panel.normal];
    return map;
}

} // namespace

std::string drawProjection(const Scene& scene, const Canvas& canvas) {
    const Eigen::AlignedBox3d bounds = scene.volume.bounds();
    const SliceLayout layout = layoutSlices(canvas.size(), bounds, scene.point);
    // The brightest voxels of each ray are bright ones: the usual window would show them white.
    const Window window = textureWindow(scene.volume, percentileWindow(scene.volume, 50, 100));

    // [snippet]
    GL::ImageProgram project("VeltrandGallery/Projection.frag", "", true,
                             GL::ImageProgram::TexCoordMode::Output,
                             GL::Program::Compilation::ImmediateThrow);
    project.setClearOutputEnabled(true, Eigen::Vector4f::Zero());
    // [/snippet]
    const auto show = GL::Program::createVertexFragment(
        "VeltrandScene/Panel.vert", "VeltrandScene/Image.frag", "", GL::Program::Compilation::ImmediateThrow);
    const LabelPainter labels(canvas);
    const auto square = GL::VertexBuffer::createFullscreenSquare();
    for (const SlicePanel& panel : layout.panels) {
        const Eigen::Affine3d boxToTexture = patientToTexture(scene.volume) * boxToPatient(panel, bounds);
        const int slices =
            static_cast<int>(std::ceil(bounds.sizes()[panel.normal] / scene.volume.spacing().minCoeff()));
        // [snippet]
        GL::Texture image(GL::Texture::Target::Texture2D,
                          Eigen::Vector3i(panel.rect.width, panel.rect.height, 1), GL::InternalFormat::R32F);
        project.enable();
        project.setArgument("volume", scene.texture);
        project.setArgument("boxToTexture", boxToTexture.matrix());
        project.setArgument("window", Eigen::Vector2d(window.low, window.high));
        {
            GL::Blending blending(GL::Blending::Preset::Alpha);
            blending.setFunction(GL::Blending::Function::One, GL::Blending::Function::One);
            blending.setEquation(GL::Blending::Equation::Max);
            project.computeReduceZ(image, 0, slices, {});
        }
        project.disable();
        // [/snippet]

        setViewport(panel.rect);
        show->enable();
        show->setArgument("image", image);
        square->draw(GL::Primitive::TriangleFan);
        show->disable();
        show->unbindSamplers("image");
        labels.drawLetters(scene, panel, layout);
    }
    return scene.name + ", seen through along its three axes, in grey: the brightest voxel of each ray.";
}

} // namespace Veltrand::Apps
