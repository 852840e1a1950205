// SPDX-License-Identifier: BSD-3-Clause
// Which object is under the mouse, in a window of 100 x 50 points on a screen with two pixels per point?
#include "StringRepository.h"
#include <Eigen/Core>
#include <Veltrand/GL/ContextManager.h>
#include <Veltrand/GL/FullscreenSquare.h>
#include <Veltrand/GL/Functions.h>
#include <Veltrand/GL/ObjectPicking.h>
#include <Veltrand/GL/OffscreenRenderHelper.h>
#include <Veltrand/GL/Program.h>
#include <Veltrand/GL/Viewport.h>
#include <array>
#include <iostream>

namespace GL = Veltrand::GL;

namespace {

const StringRepository shaders("My", {{"pick.frag", R"(#version 330
#pragma include "VeltrandGL/ObjectPicking.glh"
layout(location = 0) out vec4 color;
void main() {
    color = vec4(1.0);
    writePickingInfo(uint(gl_FragCoord.x) / 50u); // the part of the object: a column of 50 pixels
}
)"}});

const Eigen::Vector2i size(200, 100); // of the window, in pixels
const std::array<std::string, 2> objects{"lower half", "upper half"};

void drawObjects(GL::Program& program, const GL::ObjectPicking& picking) {
    program.enable();
    for (int i = 0; const std::string& object : objects) {
        picking.enable(program, &object);
        GL::Viewport{0, 50 * i++, 200, 50}.set();
        GL::FullscreenSquare::get()->drawFilled();
    }
    program.disable();
}

// Points count from the window's upper left corner, pixels from its lower left one.
Eigen::Vector2i pixelAt(const Eigen::Vector2d& point) {
    const double scale = GL::dpiScale();
    return {static_cast<int>(point.x() * scale), size.y() - 1 - static_cast<int>(point.y() * scale)};
}

} // namespace

int main() {
    GL::init();
    GL::setDpiScale(2);
    {
        const auto program =
            GL::Program::createVertexFragment("VeltrandGL/FixedFunctionPipeline.vert", "My/pick.frag", {},
                                              GL::Program::Compilation::ImmediateThrow);
        GL::OffscreenRenderHelper helper;
        const auto target =
            helper.create(size, GL::InternalFormat::RGBA8, GL::InternalFormat::DepthComponent24);
        GL::ObjectPicking picking;
        picking.reset(target.framebuffer(), size, {&objects[0], &objects[1]});
        drawObjects(*program, picking);
        picking.disable();

        for (const Eigen::Vector2d& mouse : {Eigen::Vector2d(80, 10), Eigen::Vector2d(30, 40)})
            for (const auto& seen : picking.getPickingInfo({pixelAt(mouse)}, nullptr))
                std::cout << *static_cast<const std::string*>(picking.objectWithId(seen.objectId))
                          << ", part " << seen.secondId << '\n';
    }
    GL::deinit();
}
