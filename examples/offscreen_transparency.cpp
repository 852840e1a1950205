// SPDX-License-Identifier: BSD-3-Clause
// Translucent panes before and behind an opaque wall: the wall is a picture that was made apart, and the
// panes are composited over it by their depth, in whatever order they are drawn.
#include <Eigen/Core>
#include <Veltrand/GL/ContextManager.h>
#include <Veltrand/GL/FixedFunctionPipeline.h>
#include <Veltrand/GL/FullscreenSquare.h>
#include <Veltrand/GL/Functions.h>
#include <Veltrand/GL/OffscreenRenderHelper.h>
#include <Veltrand/GL/OrderIndependentTransparency.h>
#include <Veltrand/GL/Texture.h>
#include <Veltrand/GL/ViewState.h>
#include <iostream>
#include <vector>

namespace GL = Veltrand::GL;

namespace {

// From the left edge of a window three pixels wide, at a depth from 0 (near) to 1 (far).
struct Pane {
    double width;
    double depth;
    Eigen::Vector4d color; // red, green, blue, opacity
};
const Pane red{1, 0.2, {1, 0, 0, 0.5}};
const Pane green{2, 0.4, {0, 1, 0, 0.5}};
const Pane blue{3, 0.6, {0, 0, 1, 0.5}};

void drawPanes(const std::vector<Pane>& panes, const GL::OrderIndependentTransparency& transparency) {
    const GL::ViewState view({0, 0, 3, 1}, GL::createOrtho(0, 3, 0, 1, 0, 1), Eigen::Matrix4d::Identity());
    GL::FixedFunctionPipeline& pipeline = *GL::FixedFunctionPipeline::get();
    pipeline.enable(view, GL::FixedFunctionPipeline::ShaderSelection::Plain, &transparency);
    for (const Pane& pane : panes) {
        Eigen::Matrix4d model = Eigen::Matrix4d::Identity();
        model.topRows<2>() << pane.width / 2, 0, 0, pane.width / 2, 0, 0.5, 0, 0.5;
        model(2, 3) = -pane.depth;
        pipeline.setModelMatrix(model);
        pipeline.setDefaultColor(pane.color);
        GL::FullscreenSquare::get()->drawFilled();
    }
    pipeline.disable();
}

void printColors(const GL::Texture& image) {
    for (const auto& color : image.download<Eigen::Vector3f>())
        std::cout << '(' << color.transpose() << ") ";
    std::cout << '\n';
}

void run() {
    const Eigen::Vector2i size(3, 1);
    GL::OffscreenRenderHelper helper;
    const auto wall = helper.create(size, GL::InternalFormat::RGBA8, GL::InternalFormat::DepthComponent24);
    wall.colorTexture().clear<float>({1, 1, 1, 1});
    wall.depthTexture().clear<float>({0.5F, 0, 0, 0});

    const auto picture = helper.create(size, GL::InternalFormat::RGBA8, GL::InternalFormat::DepthComponent24);
    GL::OrderIndependentTransparency transparency;
    for (const auto& panes : {std::vector{red, green, blue}, std::vector{blue, green, red}}) {
        transparency.reset(size, false);
        drawPanes(panes, transparency);
        transparency.renderBlendedFragments(wall.colorTexture(), wall.depthTexture());
        printColors(picture.colorTexture());
    }
}

} // namespace

int main() {
    GL::init();
    std::cout.precision(2);
    if (GL::OrderIndependentTransparency::isSupported())
        run();
    else
        std::cout << "needs OpenGL 4.4\n"; // ordinary blending then, from back to front
    GL::deinit();
}
