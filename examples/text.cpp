// SPDX-License-Identifier: BSD-3-Clause
// Text in a picture: measured, then drawn at its baseline, as a picture of letters.
#include "LetterPicture.h"
#include <Eigen/Core>
#include <Veltrand/GL/ContextManager.h>
#include <Veltrand/GL/OffscreenRenderHelper.h>
#include <Veltrand/GL/TextRenderer.h>
#include <Veltrand/GL/Viewport.h>
#include <iostream>

namespace GL = Veltrand::GL;
using GL::TextRenderer;

int main() {
    GL::init();
    {
        const TextRenderer& renderer = *TextRenderer::get();
        TextRenderer::Font font;
        font.size = 12; // points
        font.style = TextRenderer::Style::Bold;
        font.decorations = TextRenderer::Decoration::Underline;
        const std::string text = "Größe";
        const Eigen::Vector2i extent = renderer.textSize(text, font);
        std::cout << extent.x() << " x " << extent.y() << " pixels\n";

        const GL::Viewport viewport{0, 0, extent.x() + 4, extent.y() + 8};
        GL::OffscreenRenderHelper helper;
        const auto target = helper.create({viewport.width, viewport.height}, GL::InternalFormat::RGBA8,
                                          GL::InternalFormat::DepthComponent24);
        renderer.renderText(viewport, {2, 6}, text, font, TextRenderer::AlignmentH::Left,
                            TextRenderer::AlignmentV::Baseline);
        printLetters(target.colorTexture());
    }
    GL::deinit();
}
