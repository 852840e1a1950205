// SPDX-License-Identifier: BSD-3-Clause
#include <Veltrand/Core/Log.h>
#include <Veltrand/GL/ContextManager.h>
#include <Veltrand/GL/Debug.h>
#include <Veltrand/GL/Functions.h>

#include <benchmark/benchmark.h>
#include <cstdio>
#include <exception>

// Each measurement of ours stands beside a floor of the same name with "Floor": the same work in plain
// OpenGL.
int main(int argc, char** argv) {
    using namespace Veltrand;
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 2;
    Log::setGlobalLevel(Log::Error);
    try {
        GL::init();
    } catch (const std::exception& exception) {
        std::fprintf(stderr, "The benchmarks need OpenGL: %s\n", exception.what());
        return 1;
    }
    benchmark::AddCustomContext("renderer", GL::platformInfo().rendererString);
    benchmark::AddCustomContext("version", GL::platformInfo().versionString);
    benchmark::RunSpecifiedBenchmarks();
    const bool clean = GL::Debug::check() == GL::Debug::Error::NoError;
    GL::deinit();
    benchmark::Shutdown();
    return clean ? 0 : 1;
}
