// SPDX-License-Identifier: BSD-3-Clause
#include "FirstLine.h"
#include "RatioReporter.h"

#include <Veltrand/Core/Log.h>
#include <Veltrand/GL/ContextManager.h>
#include <Veltrand/GL/Debug.h>
#include <Veltrand/GL/Functions.h>

#include <benchmark/benchmark.h>
#include <cstdio>
#include <exception>
#include <vector>

// Each measurement of ours stands beside a floor of the same name with "/Floor": the same work in plain
// OpenGL. All are repeated in mixed order, so that what else the machine does falls on all alike; arguments
// of the caller come later and win.
int main(int argc, char** argv) {
    using namespace Veltrand;
    Log::setGlobalLevel(Log::Error);
    GL::FirstLine::runIfAsked(argc, argv);
    std::vector<char*> arguments(argv, argv + argc);
    char repetitions[] = "--benchmark_repetitions=5";
    char mixed[] = "--benchmark_enable_random_interleaving=true";
    char time[] = "--benchmark_min_time=0.1";
    arguments.insert(arguments.begin() + 1, {repetitions, mixed, time});
    arguments.push_back(nullptr);
    argc += 3;
    argv = arguments.data();
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 2;
    try {
        GL::init();
    } catch (const std::exception& exception) {
        std::fprintf(stderr, "The benchmarks need OpenGL: %s\n", exception.what());
        return 1;
    }
    benchmark::AddCustomContext("renderer", GL::platformInfo().rendererString);
    benchmark::AddCustomContext("version", GL::platformInfo().versionString);
    GL::RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    const bool clean = GL::Debug::check() == GL::Debug::Error::NoError;
    GL::deinit();
    benchmark::Shutdown();
    return clean ? 0 : 1;
}
