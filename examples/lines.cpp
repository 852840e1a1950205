// SPDX-License-Identifier: BSD-3-Clause
// Lines of any width, with joins and stipples: a loop, a strip with a colour of its own at each point, and a
// dashed line, as a picture of letters.
#include "LetterPicture.h"
#include <Eigen/Core>
#include <Veltrand/GL/ContextManager.h>
#include <Veltrand/GL/Functions.h>
#include <Veltrand/GL/LineRenderer.h>
#include <Veltrand/GL/OffscreenRenderHelper.h>
#include <Veltrand/GL/VertexBuffer.h>
#include <Veltrand/GL/ViewState.h>

namespace GL = Veltrand::GL;

namespace {

constexpr int Width = 60;
constexpr int Height = 20;

void drawLines() {
    GL::LineRenderer& lines = *GL::LineRenderer::get();
    // One unit per pixel, from the lower left corner; pixels have their middles at halves.
    const GL::ViewState view({0, 0, Width, Height}, GL::createOrtho2d(Width, Height),
                             Eigen::Matrix4d::Identity());

    const GL::LineRenderer::Options white(Eigen::Vector3d(1, 1, 1), 1);
    lines.renderLineLoop({{0.5, 0.5, 0}, {59.5, 0.5, 0}, {59.5, 19.5, 0}, {0.5, 19.5, 0}}, white, view);

    // What is drawn more than once is kept in a buffer.
    GL::VertexBuffer zigzag(GL::Buffer::Usage::StaticDraw);
    if (GL::LineRenderer::makeVertexData({{5, 7, 0}, {15, 16, 0}, {25, 7, 0}, {35, 16, 0}},
                                         {{1, 1, 1, 1}, {1, 1, 1, 1}, {0.3, 0, 0, 1}, {0.3, 0, 0, 1}},
                                         GL::Primitive::LineStrip, zigzag)) {
        GL::LineRenderer::Options wide;
        wide.lineWidth = 3;
        for (const double right : {0, 20}) {
            wide.modelMatrix(0, 3) = right;
            lines.render(zigzag, GL::Primitive::LineStrip, wide, view);
        }
    }

    GL::LineRenderer::Options dashed(Eigen::Vector3d(1, 1, 1), 2);
    dashed.stipplePattern = 0x0F0F; // four bits on, four off
    lines.renderLines({{4, 4, 0}, {56, 4, 0}}, dashed, view);
}

} // namespace

int main() {
    GL::init();
    {
        GL::OffscreenRenderHelper helper;
        const auto target =
            helper.create({Width, Height}, GL::InternalFormat::RGBA8, GL::InternalFormat::DepthComponent24);
        drawLines();
        printLetters(target.colorTexture());
    }
    GL::deinit();
}
