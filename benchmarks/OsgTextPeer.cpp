// SPDX-License-Identifier: BSD-3-Clause
#include "RatioReporter.h"
#include "TextWork.h"

#include <Veltrand/GL/ContextManager.h>

#include <benchmark/benchmark.h>
#include <osg/Geode>
#include <osg/GraphicsContext>
#include <osgText/Text>
#include <osgViewer/Viewer>
#include <vector>

namespace Veltrand::GL {

namespace {

using namespace TextWork;

// Waits for the driver at the end of each frame.
class Finish : public osg::Camera::DrawCallback {
public:
    void operator()(osg::RenderInfo&) const override { glFinish(); }
};

osg::ref_ptr<osg::GraphicsContext> createContext() {
    osg::ref_ptr<osg::GraphicsContext::Traits> traits = new osg::GraphicsContext::Traits;
    traits->readDISPLAY();
    traits->width = width;
    traits->height = height;
    traits->pbuffer = true;
    traits->alpha = 8;
    return osg::GraphicsContext::createGraphicsContext(traits);
}

void text(benchmark::State& state) {
    {
        osgViewer::Viewer viewer;
        viewer.setThreadingModel(osgViewer::ViewerBase::SingleThreaded);
        osg::Camera& camera = *viewer.getCamera();
        camera.setGraphicsContext(createContext());
        if (camera.getGraphicsContext() == nullptr) {
            state.SkipWithError("there is no graphics context");
            return;
        }
        camera.setViewport(0, 0, width, height);
        camera.setProjectionMatrixAsOrtho2D(0, width, 0, height);
        camera.setViewMatrix(osg::Matrix::identity());
        camera.setClearColor({0, 0, 0, 1});
        camera.setFinalDrawCallback(new Finish);
        const osg::ref_ptr<osgText::Font> font = osgText::readRefFontFile(fontPath());
        const osg::ref_ptr<osg::Geode> node = new osg::Geode;
        std::vector<osg::ref_ptr<osgText::Text>> lines;
        for (int line = 0; line < numLines; ++line) {
            const osg::ref_ptr<osgText::Text> item = new osgText::Text;
            item->setFont(font);
            item->setFontResolution(pixelSize, pixelSize);
            item->setCharacterSize(pixelSize);
            item->setDataVariance(osg::Object::DYNAMIC);
            const auto [x, y] = positionOf(line);
            item->setPosition(osg::Vec3(static_cast<float>(x), static_cast<float>(y), 0));
            node->addDrawable(item);
            lines.push_back(item);
        }
        viewer.setSceneData(node);
        viewer.realize();
        const auto run = [&](int frame) {
            for (int line = 0; line < numLines; ++line)
                lines[static_cast<std::size_t>(line)]->setText(lineOf(frame, line));
            viewer.frame();
        };
        run(nextFrame());
        for (auto _ : state)
            run(nextFrame());
    }
    ContextManager::makeCurrent();
}
BENCHMARK(text)->Name("text/osgText")->MeasureProcessCPUTime()->UseRealTime();
const RatioLimit textLimit("text", "text/osgText", 1 / 7.0);

} // namespace

} // namespace Veltrand::GL
