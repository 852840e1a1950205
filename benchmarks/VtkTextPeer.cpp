// SPDX-License-Identifier: BSD-3-Clause
#include "FirstLine.h"
#include "RatioReporter.h"
#include "TextWork.h"

#include <Veltrand/GL/ContextManager.h>

#include <benchmark/benchmark.h>
#include <vector>
#include <vtkNew.h>
#include <vtkRenderWindow.h>
#include <vtkRenderer.h>
#include <vtkSmartPointer.h>
#include <vtkTextActor.h>
#include <vtkTextProperty.h>

namespace Veltrand::GL {

namespace {

using namespace TextWork;

void text(benchmark::State& state) {
    {
        const vtkNew<vtkRenderer> renderer;
        const vtkNew<vtkRenderWindow> window;
        window->SetOffScreenRendering(1);
        window->SetMultiSamples(0);
        window->SetSize(width, height);
        window->AddRenderer(renderer);
        std::vector<vtkSmartPointer<vtkTextActor>> actors;
        for (int line = 0; line < numLines; ++line) {
            const vtkNew<vtkTextActor> actor;
            vtkTextProperty* const property = actor->GetTextProperty();
            property->SetFontFamily(VTK_FONT_FILE);
            property->SetFontFile(fontPath().c_str());
            property->SetFontSize(pixelSize * 72 / 96); // points at VTK's default of 72 dpi are pixels
            property->SetColor(1, 1, 1);
            const auto [x, y] = positionOf(line);
            actor->SetDisplayPosition(x, y);
            renderer->AddActor2D(actor);
            actors.emplace_back(actor);
        }
        const auto run = [&](int frame) {
            for (int line = 0; line < numLines; ++line)
                actors[static_cast<std::size_t>(line)]->SetInput(lineOf(frame, line).c_str());
            window->Render();
            window->WaitForCompletion();
        };
        run(nextFrame());
        for (auto _ : state)
            run(nextFrame());
    }
    ContextManager::makeCurrent();
}
BENCHMARK(text)->Name("text/VTK")->MeasureProcessCPUTime()->UseRealTime();
const RatioLimit textLimit("text", "text/VTK", 1 / 8.0);

// The first line of text in a new process.
void drawFirstLine() {
    const vtkNew<vtkRenderer> renderer;
    const vtkNew<vtkRenderWindow> window;
    window->SetOffScreenRendering(1);
    window->SetSize(100, 100);
    window->AddRenderer(renderer);
    const vtkNew<vtkTextActor> actor;
    actor->SetInput(lineOf(0, 0).c_str());
    actor->SetDisplayPosition(0, 50);
    renderer->AddActor2D(actor);
    window->Render();
    window->WaitForCompletion();
}
const FirstLine firstLine("VTK", drawFirstLine);
const RatioLimit firstLineLimit("coldStart", "coldStart/VTK", 1);

} // namespace

} // namespace Veltrand::GL
