// SPDX-License-Identifier: BSD-3-Clause
// Which object is under the mouse, in a window of 100 x 50 points on a screen with two pixels per point?
#include <Eigen/Core>
#include <Veltrand/Core/Resource.h>
#include <Veltrand/GL/ContextManager.h>
#include <Veltrand/GL/Framebuffer.h>
#include <Veltrand/GL/FullscreenSquare.h>
#include <Veltrand/GL/Functions.h>
#include <Veltrand/GL/ObjectPicking.h>
#include <Veltrand/GL/OffscreenRenderHelper.h>
#include <Veltrand/GL/Program.h>
#include <Veltrand/GL/Viewport.h>
#include <iostream>

using namespace Veltrand;

class Shaders : public Resource::Repository {
public:
    Shaders() { Resource::addRepository(this); }
    ~Shaders() override { Resource::removeRepository(this); }
    [[nodiscard]] std::string name() const override { return "Example"; }
    [[nodiscard]] bool contains(std::string_view const& file) const override { return file == "pick.frag"; }
    [[nodiscard]] std::optional<ByteBuffer> query(std::string_view const& file) const override {
        static constexpr std::string_view text = R"(#version 330
#pragma include "VeltrandGL/ObjectPicking.glh"
layout(location = 0) out vec4 color;
void main() {
    color = vec4(1.0);
    writePickingInfo(uint(gl_FragCoord.x) / 50u); // the part of the object: a column of 50 pixels
})";
        if (!contains(file))
            return std::nullopt;
        return ByteBuffer(ByteBufferView(text.data(), text.size()));
    }
};

// Points count from the window's upper left corner, pixels from its lower left one.
Eigen::Vector2i pixelAt(const Eigen::Vector2d& point, int height) {
    const double scale = GL::dpiScale();
    return {static_cast<int>(point.x() * scale), height - 1 - static_cast<int>(point.y() * scale)};
}

int main() {
    const Shaders shaders;
    GL::init();
    GL::setDpiScale(2);
    {
        const auto program =
            GL::Program::createVertexFragment("VeltrandGL/FixedFunctionPipeline.vert", "Example/pick.frag",
                                              "", GL::Program::Compilation::ImmediateThrow);
        const Eigen::Vector2i size(200, 100); // pixels
        const std::string objects[]{"upper half", "lower half"};
        GL::OffscreenRenderHelper helper;
        GL::ObjectPicking picking;
        {
            const auto buffer =
                helper.create(size, GL::InternalFormat::RGBA8, GL::InternalFormat::DepthComponent24);
            picking.reset(buffer.framebuffer(), size, {&objects[0], &objects[1]});
            program->enable();
            for (const int i : {0, 1}) {
                picking.enable(*program, &objects[i]);
                GL::Viewport{0, i == 0 ? 50 : 0, 200, 50}.set();
                GL::FullscreenSquare::get()->drawFilled();
            }
            program->disable();
            picking.disable();
        }
        const Eigen::Vector2d mouse(80, 10); // points
        for (const auto& info : picking.getPickingInfo({pixelAt(mouse, size.y())}, nullptr))
            std::cout << *static_cast<const std::string*>(picking.objectWithId(info.objectId)) << ", part "
                      << info.secondId << '\n';
    }
    GL::deinit();
}
