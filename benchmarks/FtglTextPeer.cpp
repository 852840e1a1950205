// SPDX-License-Identifier: BSD-3-Clause
#include "RatioReporter.h"
#include "TextWork.h"

#include <Veltrand/GL/ContextManager.h>

#include <FTGL/ftgl.h>
#include <array>
#include <benchmark/benchmark.h>
#include <vector>

// Last: its macros break other headers.
#include <GL/glx.h>

namespace Veltrand::GL {

namespace {

using namespace TextWork;

// A hidden window with a context that has the fixed-function pipeline, which FTGL draws with.
class LegacyContext {
public:
    LegacyContext()
        : m_display(XOpenDisplay(nullptr)) {
        std::array<int, 4> attributes{GLX_RGBA, GLX_DOUBLEBUFFER, None};
        XVisualInfo* const visual = glXChooseVisual(m_display, DefaultScreen(m_display), attributes.data());
        const Window root = RootWindow(m_display, visual->screen);
        XSetWindowAttributes window{};
        window.colormap = m_colormap = XCreateColormap(m_display, root, visual->visual, AllocNone);
        m_window = XCreateWindow(m_display, root, 0, 0, width, height, 0, visual->depth, InputOutput,
                                 visual->visual, CWBorderPixel | CWColormap, &window);
        m_context = glXCreateContext(m_display, visual, nullptr, True);
        XFree(visual);
        glXMakeCurrent(m_display, m_window, m_context);
    }
    ~LegacyContext() {
        glXMakeCurrent(m_display, None, nullptr);
        glXDestroyContext(m_display, m_context);
        XDestroyWindow(m_display, m_window);
        XFreeColormap(m_display, m_colormap);
        XCloseDisplay(m_display);
        ContextManager::makeCurrent();
    }
    LegacyContext(const LegacyContext&) = delete;
    LegacyContext& operator=(const LegacyContext&) = delete;

private:
    Display* m_display;
    Colormap m_colormap = 0;
    Window m_window = 0;
    GLXContext m_context = nullptr;
};

void text(benchmark::State& state) {
    const LegacyContext context;
    {
        FTTextureFont font(fontPath().c_str());
        font.FaceSize(pixelSize);
        glViewport(0, 0, width, height);
        glMatrixMode(GL_PROJECTION);
        glOrtho(0, width, 0, height, -1, 1);
        glMatrixMode(GL_MODELVIEW);
        glColor4f(1, 1, 1, 1);
        glEnable(GL_BLEND);
        glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
        const auto run = [&font](int frame) {
            glClear(GL_COLOR_BUFFER_BIT);
            for (int line = 0; line < numLines; ++line) {
                const auto [x, y] = positionOf(line);
                font.Render(lineOf(frame, line).c_str(), -1, FTPoint(x, y));
            }
            glFinish();
        };
        run(nextFrame());
        std::vector<unsigned char> pixels(std::size_t{width} * height);
        glReadPixels(0, 0, width, height, GL_RED, GL_UNSIGNED_BYTE, pixels.data());
        int inked = 0;
        for (const unsigned char pixel : pixels)
            inked += pixel > 127 ? 1 : 0;
        if (inked <= width * height / 10)
            state.SkipWithError("there is no text");
        for (auto _ : state)
            run(nextFrame());
    }
}
BENCHMARK(text)->Name("text/FTGL")->MeasureProcessCPUTime()->UseRealTime();
const RatioLimit textLimit("text", "text/FTGL", 1.3);

} // namespace

} // namespace Veltrand::GL
