// SPDX-License-Identifier: BSD-3-Clause
#include "PickingScene.h"
#include "RatioReporter.h"

#include <Veltrand/GL/ContextManager.h>

#include <benchmark/benchmark.h>
#include <unordered_map>
#include <utility>
#include <vector>
#include <vtkActor.h>
#include <vtkCamera.h>
#include <vtkCellArray.h>
#include <vtkDataObject.h>
#include <vtkHardwareSelector.h>
#include <vtkIdTypeArray.h>
#include <vtkInformation.h>
#include <vtkNew.h>
#include <vtkPoints.h>
#include <vtkPolyData.h>
#include <vtkPolyDataMapper.h>
#include <vtkProperty.h>
#include <vtkRenderWindow.h>
#include <vtkRenderer.h>
#include <vtkSelection.h>
#include <vtkSelectionNode.h>
#include <vtkSmartPointer.h>

namespace Veltrand::GL {

namespace {

using PickingScene::height;
using PickingScene::Infos;
using PickingScene::width;

vtkNew<vtkActor> createActor(const PickingScene::Mesh& mesh) {
    const vtkNew<vtkPoints> points;
    // The camera keeps proportions and looks along -z.
    for (const Eigen::Vector3f& position : mesh)
        points->InsertNextPoint(static_cast<double>(position.x()) * width / height,
                                static_cast<double>(position.y()), -static_cast<double>(position.z()));
    const vtkNew<vtkCellArray> cells;
    for (const Eigen::Vector3i& triangle : PickingScene::makeTriangles())
        cells->InsertNextCell({triangle.x(), triangle.y(), triangle.z()});
    const vtkNew<vtkPolyData> data;
    data->SetPoints(points);
    data->SetPolys(cells);
    const vtkNew<vtkPolyDataMapper> mapper;
    mapper->SetInputData(data);
    mapper->StaticOn();
    vtkNew<vtkActor> actor;
    actor->SetMapper(mapper);
    actor->GetProperty()->LightingOff();
    return actor;
}

class Selector {
public:
    /// A prop, and one of its cells.
    using Hits = std::vector<std::pair<const vtkObjectBase*, vtkIdType>>;

    explicit Selector(bool onlyObjects) {
        m_window->SetOffScreenRendering(1);
        m_window->SetMultiSamples(0);
        m_window->SetSize(width, height);
        m_window->AddRenderer(m_renderer);
        for (const PickingScene::Mesh& mesh : PickingScene::makeMeshes()) {
            const vtkNew<vtkActor> actor = createActor(mesh);
            m_objectIds.emplace(actor.Get(), static_cast<unsigned>(m_objectIds.size()));
            m_renderer->AddActor(actor);
        }
        vtkCamera* const camera = m_renderer->GetActiveCamera();
        camera->ParallelProjectionOn();
        camera->SetParallelScale(1);
        camera->SetPosition(0, 0, 2);
        camera->SetFocalPoint(0, 0, 0);
        camera->SetClippingRange(0.99, 3.01);
        m_window->Render();
        m_selector->SetRenderer(m_renderer);
        m_selector->SetArea(0, 0, width - 1, height - 1);
        m_selector->SetFieldAssociation(vtkDataObject::FIELD_ASSOCIATION_CELLS);
        m_selector->SetActorPassOnly(onlyObjects);
    }

    /// Draws once for all positions, and makes a selection of one pixel for each.
    Hits pick() {
        m_selector->CaptureBuffers();
        Hits hits;
        for (const Eigen::Vector2i& position : m_positions) {
            const auto x = static_cast<unsigned>(position.x());
            const auto y = static_cast<unsigned>(position.y());
            const auto selection =
                vtkSmartPointer<vtkSelection>::Take(m_selector->GenerateSelection(x, y, x, y));
            for (unsigned i = 0; i < selection->GetNumberOfNodes(); ++i) {
                vtkSelectionNode* const node = selection->GetNode(i);
                const auto* const cells = vtkIdTypeArray::SafeDownCast(node->GetSelectionList());
                hits.emplace_back(node->GetProperties()->Get(vtkSelectionNode::PROP()), cells->GetValue(0));
            }
        }
        return hits;
    }

    [[nodiscard]] Infos translate(const Hits& hits) const {
        Infos infos;
        for (const auto& [prop, cell] : hits)
            infos.push_back({m_objectIds.at(prop), static_cast<unsigned>(cell)});
        PickingScene::normalize(infos);
        return infos;
    }

private:
    const vtkNew<vtkRenderer> m_renderer;
    const vtkNew<vtkRenderWindow> m_window;
    const vtkNew<vtkHardwareSelector> m_selector;
    std::unordered_map<const vtkObjectBase*, unsigned> m_objectIds;
    std::vector<Eigen::Vector2i> m_positions = PickingScene::makePositions();
};

// What is left where only the objects are asked for.
Infos withoutParts(Infos infos) {
    for (auto& info : infos)
        info.secondId = ObjectPicking::Nothing;
    PickingScene::normalize(infos);
    return infos;
}

template<bool onlyObjects>
void pickScene(benchmark::State& state) {
    {
        Selector selector(onlyObjects);
        const Infos parts = PickingScene::pickExactly();
        const Infos exact = onlyObjects ? withoutParts(parts) : parts;
        state.counters["found"] = static_cast<double>(exact.size());
        if (selector.translate(selector.pick()) != exact)
            state.SkipWithError("something else was picked");
        for (auto _ : state)
            benchmark::DoNotOptimize(selector.pick());
    }
    ContextManager::makeCurrent();
}
BENCHMARK(pickScene<false>)
    ->Name("pickScene/VTK")
    ->Unit(benchmark::kMillisecond)
    ->MeasureProcessCPUTime()
    ->UseRealTime();
const RatioLimit selectorLimit("pickScene", "pickScene/VTK", 1.0 / 8);

// A third of the passes and half of the answer.
BENCHMARK(pickScene<true>)
    ->Name("pickScene/VTKOnlyObjects")
    ->Unit(benchmark::kMillisecond)
    ->MeasureProcessCPUTime()
    ->UseRealTime();
const RatioLimit onlyObjectsLimit("pickScene", "pickScene/VTKOnlyObjects", 0);

} // namespace

} // namespace Veltrand::GL
