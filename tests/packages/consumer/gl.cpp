// SPDX-License-Identifier: BSD-3-Clause
// Both libraries: a letter in a built-in font, drawn by built-in shaders, as a picture of characters.
#include <Veltrand/GL/ContextManager.h>
#include <Veltrand/GL/Framebuffer.h>
#include <Veltrand/GL/Functions.h>
#include <Veltrand/GL/TextRenderer.h>
#include <Veltrand/GL/Texture.h>
#include <Veltrand/GL/Viewport.h>

#include <iostream>

namespace GL = Veltrand::GL;

// Whatever CPU a user compiles for, structures are laid out as the library has them.
static_assert(alignof(GL::TextRenderer::Font) == 16);

namespace {

constexpr int size = 16;

void drawLetter() {
    GL::clearColorBuffer({0.0F, 0.0F, 0.0F, 1.0F});
    const GL::Viewport viewport{0, 0, size, size};
    GL::TextRenderer::get()->renderText(viewport, {size / 2, size / 2}, "V", GL::TextRenderer::Font(),
                                        GL::TextRenderer::AlignmentH::Center,
                                        GL::TextRenderer::AlignmentV::Center);
}

} // namespace

int main() {
    GL::init();
    {
        GL::Texture image({size, size, 1}, GL::InternalFormat::RGBA8);
        GL::Framebuffer framebuffer;
        const auto guard = framebuffer.guardedBind();
        framebuffer.attach(image, GL::Framebuffer::Attachment::Color0);
        framebuffer.setDrawBuffers();
        drawLetter();

        const auto pixels = image.download<Eigen::Vector4f>();
        for (int row = size - 1; row >= 0; --row) {
            for (int column = 0; column < size; ++column)
                std::cout << (pixels[static_cast<std::size_t>(row * size + column)].x() > 0.5F ? '#' : '.');
            std::cout << '\n';
        }
    }
    GL::deinit();
}
