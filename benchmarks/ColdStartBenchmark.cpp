// SPDX-License-Identifier: BSD-3-Clause
#include "FirstLine.h"
#include "HandwrittenText.h"
#include "RatioReporter.h"
#include "RawContext.h"
#include "TextWork.h"

#include <Veltrand/GL/ContextManager.h>
#include <Veltrand/GL/Functions.h>
#include <Veltrand/GL/TextRenderer.h>
#include <Veltrand/GL/Viewport.h>

#include <Eigen/Core>
#include <glad/gl.h>
#include <thread>

namespace Veltrand::GL {

namespace {

// Into the hidden window.
constexpr int windowSize = 100;

// A main context and one that shares its objects and is current on a thread of its own.
void drawByHand() {
    const RawContext context;
    const RawContext background(&context);
    std::thread thread([&background] {
        background.makeCurrent();
        RawContext::clearCurrent();
    });
    context.makeCurrent();
    RawContext::loadEntryPoints();
    {
        HandwrittenText text(TextWork::fontPath(), TextWork::pixelSize);
        text.begin(windowSize, windowSize);
        text.drawLine(TextWork::lineOf(0, 0), 0, windowSize / 2);
        text.end();
        glFinish();
    }
    thread.join();
    RawContext::clearCurrent();
}
const FirstLine byHand("Floor", drawByHand);

void draw() {
    init();
    TextRenderer::get()->renderText({0, 0, windowSize, windowSize}, Eigen::Vector2d(0, windowSize / 2),
                                    TextWork::lineOf(0, 0), {}, TextRenderer::AlignmentH::Left,
                                    TextRenderer::AlignmentV::Baseline);
    finish();
}
const FirstLine ours("", draw);
const RatioLimit limit("coldStart", "coldStart/Floor", 1.15);

} // namespace

} // namespace Veltrand::GL
