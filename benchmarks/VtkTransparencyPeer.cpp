// SPDX-License-Identifier: BSD-3-Clause
#include "RatioReporter.h"
#include "TransparencyScene.h"

#include <Veltrand/GL/ContextManager.h>

#include <benchmark/benchmark.h>
#include <cmath>
#include <vtkActor.h>
#include <vtkCamera.h>
#include <vtkCameraPass.h>
#include <vtkCellArray.h>
#include <vtkDualDepthPeelingPass.h>
#include <vtkLightsPass.h>
#include <vtkNew.h>
#include <vtkPointData.h>
#include <vtkPoints.h>
#include <vtkPolyData.h>
#include <vtkPolyDataMapper.h>
#include <vtkProperty.h>
#include <vtkRenderPassCollection.h>
#include <vtkRenderWindow.h>
#include <vtkRenderer.h>
#include <vtkSequencePass.h>
#include <vtkTranslucentPass.h>
#include <vtkUnsignedCharArray.h>

namespace Veltrand::GL {

namespace {

using namespace TransparencyScene;

constexpr int maximumPeels = 1000;

vtkNew<vtkActor> createActor(const Triangles& triangles) {
    const vtkNew<vtkPoints> points;
    const vtkNew<vtkCellArray> cells;
    const vtkNew<vtkUnsignedCharArray> colors;
    colors->SetNumberOfComponents(4);
    for (std::size_t i = 0; i < triangles.positions.size(); ++i) {
        const Eigen::Vector3f& position = triangles.positions[i];
        // The camera keeps proportions and looks along -z.
        points->InsertNextPoint(static_cast<double>(position.x()) * width / height,
                                static_cast<double>(position.y()), -static_cast<double>(position.z()));
        for (const float channel : triangles.colors[i])
            colors->InsertNextValue(static_cast<unsigned char>(std::lround(channel * 255)));
        if (i % 3 == 0)
            cells->InsertNextCell(3);
        cells->InsertCellPoint(static_cast<vtkIdType>(i));
    }
    const vtkNew<vtkPolyData> data;
    data->SetPoints(points);
    data->SetPolys(cells);
    data->GetPointData()->SetScalars(colors);
    const vtkNew<vtkPolyDataMapper> mapper;
    mapper->SetInputData(data);
    vtkNew<vtkActor> actor;
    actor->SetMapper(mapper);
    actor->GetProperty()->LightingOff();
    actor->ForceTranslucentOn();
    return actor;
}

// Peels until nothing is left, which is exact.
vtkNew<vtkCameraPass> createPasses() {
    const vtkNew<vtkTranslucentPass> translucent;
    const vtkNew<vtkDualDepthPeelingPass> peeling;
    peeling->SetTranslucentPass(translucent);
    peeling->SetMaximumNumberOfPeels(maximumPeels);
    peeling->SetOcclusionRatio(0);
    const vtkNew<vtkLightsPass> lights;
    const vtkNew<vtkRenderPassCollection> passes;
    passes->AddItem(lights);
    passes->AddItem(peeling);
    const vtkNew<vtkSequencePass> sequence;
    sequence->SetPasses(passes);
    vtkNew<vtkCameraPass> camera;
    camera->SetDelegatePass(sequence);
    return camera;
}

Picture readPixels(vtkRenderWindow& window) {
    const vtkNew<vtkUnsignedCharArray> bytes;
    window.GetPixelData(0, 0, width - 1, height - 1, 0, bytes);
    Picture picture;
    for (vtkIdType i = 0; i < bytes->GetNumberOfValues(); i += 3)
        picture.emplace_back(static_cast<float>(bytes->GetValue(i)) / 255,
                             static_cast<float>(bytes->GetValue(i + 1)) / 255,
                             static_cast<float>(bytes->GetValue(i + 2)) / 255, 1.F);
    return picture;
}

void transparency(benchmark::State& state) {
    const std::vector<Quad> quads = makeQuads(1000);
    {
        const vtkNew<vtkRenderer> renderer;
        const vtkNew<vtkRenderWindow> window;
        window->SetOffScreenRendering(1);
        window->SetMultiSamples(0);
        window->SetAlphaBitPlanes(1);
        window->SetSize(width, height);
        window->AddRenderer(renderer);
        renderer->AddActor(createActor(makeTriangles(quads)));
        renderer->SetBackground(0, 0, 0);
        renderer->SetPass(createPasses());
        vtkCamera* const camera = renderer->GetActiveCamera();
        camera->ParallelProjectionOn();
        camera->SetParallelScale(1);
        camera->SetPosition(0, 0, 2);
        camera->SetFocalPoint(0, 0, 0);
        camera->SetClippingRange(0.99, 3.01);
        window->Render();
        const Error error = compare(readPixels(*window), renderExactly(quads));
        state.counters["byte largest/255"] = error.largest;
        state.counters["byte mean/255"] = error.mean;
        for (auto _ : state) {
            window->Render();
            window->WaitForCompletion();
        }
    }
    ContextManager::makeCurrent();
}
BENCHMARK(transparency)->Name("transparency/VTK")->MeasureProcessCPUTime()->UseRealTime();
const RatioLimit transparencyLimit("transparency", "transparency/VTK", 1 / 2.5);

} // namespace

} // namespace Veltrand::GL
