// SPDX-License-Identifier: BSD-3-Clause
#include "RatioReporter.h"
#include "VolumeWork.h"

#include <Veltrand/GL/ContextManager.h>

#include <array>
#include <benchmark/benchmark.h>
#include <string>
#include <vtkFloatArray.h>
#include <vtkImageConvolve.h>
#include <vtkImageData.h>
#include <vtkNew.h>
#include <vtkOpenGLImageAlgorithmHelper.h>
#include <vtkPointData.h>
#include <vtkRenderWindow.h>

namespace Veltrand::GL {

namespace {

using VolumeWork::edge;

constexpr int numThreads = 2;

// Uses memory of the caller.
void wrap(vtkImageData& image, std::vector<float>& voxels) {
    const vtkNew<vtkFloatArray> scalars;
    scalars->SetArray(voxels.data(), static_cast<vtkIdType>(voxels.size()), 1);
    image.SetDimensions(edge, edge, edge);
    image.GetPointData()->SetScalars(scalars);
}

void meanConvolve(benchmark::State& state) {
    std::vector<float> voxels = VolumeWork::makeVolume();
    const vtkNew<vtkImageData> input;
    wrap(*input, voxels);
    std::array<double, 27> kernel{};
    kernel.fill(1.0 / 27);
    const vtkNew<vtkImageConvolve> convolve;
    convolve->SetInputData(input);
    convolve->SetKernel3x3x3(kernel.data());
    convolve->SetNumberOfThreads(numThreads);
    convolve->Update();
    if (const char* const error = VolumeWork::findMeanError(
            voxels, static_cast<const float*>(convolve->GetOutput()->GetScalarPointer())))
        state.SkipWithError(error);
    for (auto _ : state) {
        convolve->Modified();
        convolve->Update();
    }
}
BENCHMARK(meanConvolve)->Name("meanHostToHost/VTKConvolve")->MeasureProcessCPUTime()->UseRealTime();
const RatioLimit convolveLimit("meanHostToHost/ThreePasses", "meanHostToHost/VTKConvolve", 1);

void runHelper(benchmark::State& state, const std::string& statements,
               const char* (*findError)(const std::vector<float>&, const float*)) {
    const std::string vertexShader = "//VTK::System::Dec\n"
                                     "attribute vec4 vertexMC;\n"
                                     "attribute vec2 tcoordMC;\n"
                                     "varying vec2 tcoordVSOutput;\n"
                                     "void main() {\n"
                                     "    tcoordVSOutput = tcoordMC;\n"
                                     "    gl_Position = vertexMC;\n"
                                     "}\n";
    const std::string fragmentShader = "//VTK::System::Dec\n"
                                       "varying vec2 tcoordVSOutput;\n"
                                       "uniform sampler3D inputTex1;\n"
                                       "#define volume inputTex1\n"
                                       "uniform float zPos;\n"
                                       "//VTK::Output::Dec\n"
                                       "void main() {\n"
                                       "ivec3 p = ivec3(vec3(tcoordVSOutput, zPos) * " +
                                       std::to_string(edge) + ".0);\n" + statements +
                                       "gl_FragData[0] = vec4(value, 0.0, 0.0, 1.0);\n"
                                       "}\n";
    std::vector<float> voxels = VolumeWork::makeVolume();
    const vtkNew<vtkImageData> input;
    wrap(*input, voxels);
    const vtkNew<vtkImageData> output;
    output->SetDimensions(edge, edge, edge);
    output->AllocateScalars(VTK_DOUBLE, 1); // the helper writes nothing else
    {
        const vtkNew<vtkRenderWindow> window;
        window->SetOffScreenRendering(1);
        window->SetSize(16, 16);
        window->Render();
        const vtkNew<vtkOpenGLImageAlgorithmHelper> helper;
        helper->SetRenderWindow(window);
        vtkOpenGLImageAlgorithmCallback callback;
        std::array<int, 6> extent{0, edge - 1, 0, edge - 1, 0, edge - 1};
        const auto run = [&] {
            helper->Execute(&callback, input, input->GetPointData()->GetScalars(), output, extent.data(),
                            vertexShader.c_str(), fragmentShader.c_str(), "");
        };
        run();
        const auto* const result = static_cast<const double*>(output->GetScalarPointer());
        if (const char* const error =
                findError(voxels, std::vector<float>(result, result + VolumeWork::numVoxels).data()))
            state.SkipWithError(error);
        for (auto _ : state)
            run();
    }
    ContextManager::makeCurrent();
}

void meanHelper(benchmark::State& state) {
    runHelper(state, VolumeWork::meanStatements, VolumeWork::findMeanError);
}
BENCHMARK(meanHelper)->Name("meanHostToHost/VTK")->MeasureProcessCPUTime()->UseRealTime();
const RatioLimit meanLimit("meanHostToHost", "meanHostToHost/VTK", 1 / 1.3);
const RatioLimit meanSeparableLimit("meanHostToHost/ThreePasses", "meanHostToHost/VTK", 1 / 1.3);
// How much of that the shader itself leaves to be gained.
const RatioLimit meanFloorComparison("meanHostToHost/Floor", "meanHostToHost/VTK", 0);

void thresholdHelper(benchmark::State& state) {
    runHelper(state, VolumeWork::thresholdStatements, VolumeWork::findThresholdError);
}
BENCHMARK(thresholdHelper)->Name("thresholdHostToHost/VTK")->MeasureProcessCPUTime()->UseRealTime();
const RatioLimit thresholdLimit("thresholdHostToHost", "thresholdHostToHost/VTK", 1 / 2.5);

} // namespace

} // namespace Veltrand::GL
