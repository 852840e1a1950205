// SPDX-License-Identifier: BSD-3-Clause
#include <Veltrand/GL/Context.h>
#include <Veltrand/GL/ContextManager.h>

#include <benchmark/benchmark.h>
#include <condition_variable>
#include <glad/gl.h>
#include <mutex>
#include <thread>

// Last: its macros break other headers.
#include <GL/glx.h>
#include <GL/glxext.h>

namespace Veltrand::GL {

namespace {

// A context with a hidden window and a connection of its own, and nothing more.
void startUpFloor(benchmark::State& state) {
    const auto create = reinterpret_cast<PFNGLXCREATECONTEXTATTRIBSARBPROC>(
        glXGetProcAddressARB(reinterpret_cast<const GLubyte*>("glXCreateContextAttribsARB")));
    for (auto _ : state) {
        Display* const display = XOpenDisplay(nullptr);
        constexpr int configAttributes[] = {GLX_RENDER_TYPE, GLX_RGBA_BIT, GLX_ALPHA_SIZE, 8, None};
        int count = 0;
        GLXFBConfig* const configs =
            glXChooseFBConfig(display, DefaultScreen(display), configAttributes, &count);
        XVisualInfo* const visual = glXGetVisualFromFBConfig(display, configs[0]);
        const Window root = RootWindow(display, visual->screen);
        XSetWindowAttributes attributes{};
        attributes.colormap = XCreateColormap(display, root, visual->visual, AllocNone);
        const Window window = XCreateWindow(display, root, 0, 0, 100, 100, 0, visual->depth, InputOutput,
                                            visual->visual, CWBorderPixel | CWColormap, &attributes);
        constexpr int contextAttributes[] = {GLX_CONTEXT_MAJOR_VERSION_ARB, 4, GLX_CONTEXT_MINOR_VERSION_ARB,
                                             5, None};
        const GLXContext context = create(display, configs[0], nullptr, True, contextAttributes);
        glXMakeCurrent(display, window, context);
        benchmark::DoNotOptimize(glGetString(GL_VERSION));

        glXMakeCurrent(display, None, nullptr);
        glXDestroyContext(display, context);
        XDestroyWindow(display, window);
        XFreeColormap(display, attributes.colormap);
        XFree(visual);
        XFree(configs);
        XCloseDisplay(display);
    }
    ContextManager::makeCurrent();
}
BENCHMARK(startUpFloor)->Name("createContext/Floor");

// A driver without 4.6 is asked twice.
void startUp(benchmark::State& state) {
    for (auto _ : state)
        benchmark::DoNotOptimize(Context::create({}));
    ContextManager::makeCurrent();
}
BENCHMARK(startUp)->Name("createContext");

// A hand-over to another thread and back with the means of the standard library, and the flush.
void roundTripFloor(benchmark::State& state) {
    std::mutex mutex;
    std::condition_variable signal;
    bool posted = false;
    bool stop = false;
    std::thread server([&] {
        ContextManager::get().ensureLocalContext();
        std::unique_lock lock(mutex);
        while (!stop) {
            if (posted) {
                glFlush();
                posted = false;
                signal.notify_all();
            }
            signal.wait(lock, [&] { return posted || stop; });
        }
    });
    for (auto _ : state) {
        std::unique_lock lock(mutex);
        posted = true;
        signal.notify_all();
        signal.wait(lock, [&] { return !posted; });
    }
    {
        const std::lock_guard lock(mutex);
        stop = true;
    }
    signal.notify_all();
    server.join();
}
BENCHMARK(roundTripFloor)->Name("runWithOpenGL/Floor")->MeasureProcessCPUTime()->UseRealTime();

void roundTrip(benchmark::State& state) {
    int calls = 0;
    for (auto _ : state)
        ContextManager::get().runWithOpenGL([&calls] { ++calls; }, true);
    if (calls != state.iterations())
        state.SkipWithError("calls were lost");
}
BENCHMARK(roundTrip)->Name("runWithOpenGL")->MeasureProcessCPUTime()->UseRealTime();

} // namespace

} // namespace Veltrand::GL
