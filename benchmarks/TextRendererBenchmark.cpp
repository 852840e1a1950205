// SPDX-License-Identifier: BSD-3-Clause
#include "HandwrittenText.h"
#include "RatioReporter.h"
#include "TextWork.h"

#include <Veltrand/GL/Framebuffer.h>
#include <Veltrand/GL/Functions.h>
#include <Veltrand/GL/StateGuard.h>
#include <Veltrand/GL/TextRenderer.h>
#include <Veltrand/GL/Texture.h>
#include <Veltrand/GL/Viewport.h>

#include <Eigen/Core>
#include <algorithm>
#include <benchmark/benchmark.h>
#include <glad/gl.h>
#include <string>

namespace Veltrand::GL {

namespace {

using namespace TextWork;

class Canvas {
public:
    Canvas()
        : m_guard(StateGuard::SaveFlags::Framebuffer | StateGuard::SaveFlags::Viewport)
        , m_color(Texture::Target::Texture2D, {width, height, 1}, InternalFormat::RGBA8) {
        m_framebuffer.bind();
        m_framebuffer.attach(m_color, 0);
        m_framebuffer.setDrawBuffers();
        glViewport(0, 0, width, height);
    }

    // A tenth of the pixels, at least, has some ink.
    [[nodiscard]] const char* findError() const {
        int inked = 0;
        for (const auto& pixel : m_color.download<Eigen::Vector4f>())
            inked += pixel.x() > 0.5F ? 1 : 0;
        return inked > width * height / 10 ? nullptr : "there is no text";
    }

private:
    StateGuard m_guard;
    Texture m_color;
    Framebuffer m_framebuffer;
};

template<class DrawFrame>
void timeFrames(benchmark::State& state, DrawFrame&& drawFrame) {
    const Canvas canvas;
    const auto run = [&drawFrame](int frame) {
        glClear(GL_COLOR_BUFFER_BIT);
        drawFrame(frame);
        finish();
    };
    run(nextFrame());
    if (const char* const error = canvas.findError())
        state.SkipWithError(error);
    for (auto _ : state)
        run(nextFrame());
}

void textFloor(benchmark::State& state) {
    HandwrittenText text(fontPath(), pixelSize);
    timeFrames(state, [&text](int frame) {
        text.begin(width, height);
        for (int line = 0; line < numLines; ++line) {
            const auto [x, y] = positionOf(line);
            text.drawLine(lineOf(frame, line), x, y);
        }
        text.end();
    });
}
BENCHMARK(textFloor)->Name("text/Floor")->MeasureProcessCPUTime()->UseRealTime();

constexpr Viewport viewport{0, 0, width, height};

void drawText(int line, const std::string& text, const TextRenderer::Font& font) {
    const auto [x, y] = positionOf(line);
    TextRenderer::get()->renderText(viewport, Eigen::Vector2d(x, y), text, font,
                                    TextRenderer::AlignmentH::Left, TextRenderer::AlignmentV::Baseline);
}

// Each line is a call of its own, which puts the program, the texture and the vertex array object back that
// the floor leaves bound from line to line.
void lines(benchmark::State& state, bool shadow) {
    TextRenderer::Font font;
    if (shadow)
        font.decorations = TextRenderer::Decoration::Shadow;
    timeFrames(state, [&font](int frame) {
        for (int line = 0; line < numLines; ++line)
            drawText(line, lineOf(frame, line), font);
    });
}
BENCHMARK_CAPTURE(lines, plain, false)->Name("text")->MeasureProcessCPUTime()->UseRealTime();
const RatioLimit textLimit("text", "text/Floor", 1.15);
BENCHMARK_CAPTURE(lines, shadow, true)->Name("text/Shadow")->MeasureProcessCPUTime()->UseRealTime();
const RatioLimit shadowComparison("text/Shadow", "text", 0);

// The same lines as texts of many lines, each column of the picture from its first row down.
void columns(benchmark::State& state) {
    const TextRenderer::Font font;
    timeFrames(state, [&font](int frame) {
        for (int first = 0; first < numLines; first += numRows) {
            std::string text;
            for (int line = first; line < std::min(first + numRows, numLines); ++line)
                text += (text.empty() ? "" : "\n") + lineOf(frame, line);
            // The lines of a column are every other one, counted from below.
            drawText(first / numRows % 2 + 2 * (numRows - 1), text, font);
        }
    });
}
BENCHMARK(columns)->Name("text/Columns")->MeasureProcessCPUTime()->UseRealTime();
const RatioLimit columnsLimit("text/Columns", "text/Floor", 1.15);

} // namespace

} // namespace Veltrand::GL
