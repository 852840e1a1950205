// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "support/MapRepository.h"

#include <Veltrand/GL/ContextGLX.h>
#include <Veltrand/GL/ContextManager.h>
#include <Veltrand/GL/Debug.h>
#include <Veltrand/GL/FullscreenSquare.h>
#include <Veltrand/GL/Program.h>
#include <Veltrand/GL/StateGuard.h>
#include <Veltrand/GL/Texture.h>
#include <Veltrand/GL/VertexBuffer.h>

#include <Eigen/Core>
#include <array>
#include <gtest/gtest.h>
#include <optional>
#include <string>

namespace Veltrand::Testing {

/// Covers the right half of a window with blue, from a texture that the background thread fills, and leaves
/// the state as it was.
inline void drawOurs(int width, int height) {
    constexpr auto vertex =
        "#version 330\nin vec2 corner;\nvoid main() { gl_Position = vec4(corner, 0, 1); }\n";
    constexpr auto fragment = "#version 330\nuniform sampler2D image;\nout vec4 color;\n"
                              "void main() { color = texelFetch(image, ivec2(0), 0); }\n";
    const MapRepository shaders("Ours", {{"copy.vert", vertex}, {"copy.frag", fragment}});
    std::optional<GL::Texture> blue;
    GL::ContextManager::get().runWithOpenGL(
        [&blue] {
            blue.emplace(Eigen::Vector3i(2, 2, 1), GL::InternalFormat::RGBA8);
            blue->clear<float>({0.0F, 0.0F, 1.0F, 1.0F});
        },
        true);
    const GL::StateGuard guard(GL::StateGuard::SaveFlags::All);
    GL::entryPoint<void (*)(GL::GLenum)>("glDisable")(0x0C11); // GL_SCISSOR_TEST
    const auto program = GL::Program::createVertexFragment("Ours/copy.vert", "Ours/copy.frag", {},
                                                           GL::Program::Compilation::ImmediateThrow);
    GL::Viewport{width / 2, 0, width - width / 2, height}.set();
    program->enable();
    program->setArgument("image", *blue);
    GL::FullscreenSquare::get()->drawFilled();
    // What no guard puts back; drawing with arrays in client memory needs it.
    program->unbindSamplers("image");
    GL::VertexBuffer::unbind();
    GL::entryPoint<void (*)(GL::GLenum)>("glActiveTexture")(0x84C0); // GL_TEXTURE0
    EXPECT_EQ(GL::Debug::check(), GL::Debug::Error::NoError);
}

/// Red, green and blue of a pixel of the current framebuffer as hexadecimal digits.
inline std::string pixel(int x, int y) {
    std::array<unsigned char, 4> rgba{};
    const auto read =
        GL::entryPoint<void (*)(int, int, int, int, GL::GLenum, GL::GLenum, void*)>("glReadPixels");
    read(x, y, 1, 1, 0x1908, 0x1401, rgba.data()); // GL_RGBA, GL_UNSIGNED_BYTE
    const auto digit = [](unsigned char value) { return value == 255 ? 'f' : '0'; };
    return {digit(rgba[0]), digit(rgba[1]), digit(rgba[2])};
}

} // namespace Veltrand::Testing
