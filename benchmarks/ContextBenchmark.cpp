// SPDX-License-Identifier: BSD-3-Clause
#include "RawContext.h"

#include <Veltrand/GL/Context.h>
#include <Veltrand/GL/ContextManager.h>

#include <benchmark/benchmark.h>
#include <condition_variable>
#include <glad/gl.h>
#include <mutex>
#include <thread>

namespace Veltrand::GL {

namespace {

void startUpFloor(benchmark::State& state) {
    for (auto _ : state) {
        const RawContext context;
        context.makeCurrent();
        benchmark::DoNotOptimize(glGetString(GL_VERSION));
        RawContext::clearCurrent();
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
