// SPDX-License-Identifier: BSD-3-Clause
#include "support/GLFixture.h"
#include "support/MapRepository.h"
#include "support/StateSnapshot.h"

#include <Veltrand/GL/Context.h>
#include <Veltrand/GL/ContextManager.h>
#include <Veltrand/GL/Debug.h>
#include <Veltrand/GL/FixedFunctionPipeline.h>
#include <Veltrand/GL/ImageProgram.h>
#include <Veltrand/GL/OrderIndependentTransparency.h>
#include <Veltrand/GL/Texture.h>
#include <Veltrand/GL/VertexBuffer.h>
#include <Veltrand/GL/ViewState.h>

#include <Eigen/Core>
#include <gtest/gtest.h>

namespace Veltrand::GL {

namespace {

using Eigen::Vector3f;
using Eigen::Vector3i;
using Names = std::set<std::string>;
using Selection = FixedFunctionPipeline::ShaderSelection;

// What the renderers draw with; made before they are watched.
struct Tools {
    Testing::MapRepository files{
        "State", {{"one.frag", "#version 330\nout vec4 color;\nvoid main() { color = vec4(1); }\n"}}};
    VertexBuffer vertices{Buffer::Usage::StaticDraw};
    Texture image{Vector3i(8, 8, 1), InternalFormat::RGBA8};
    Texture depth{Vector3i(8, 8, 1), InternalFormat::DepthComponent32F};
    ViewState view{{0, 0, 8, 8}, Eigen::Matrix4d::Identity(), Eigen::Matrix4d::Identity()};

    Tools() { vertices.setData(std::vector<Vector3f>{{-1, -1, 0}, {1, -1, 0}, {1, 1, 0}, {-1, 1, 0}}); }
};

void drawFixedFunction(const Tools& tools, const OrderIndependentTransparency* transparency) {
    auto& pipeline = *FixedFunctionPipeline::get();
    pipeline.enable(tools.view, Selection::Plain, transparency);
    pipeline.enableTexturing(tools.image);
    pipeline.setDefaultColor(Eigen::Vector3d(1, 0, 0));
    tools.vertices.draw(Primitive::Points);
    pipeline.enable(tools.view, Selection::WideLinesAdjacency, transparency);
    tools.vertices.draw(Primitive::LineStripAdjacency);
    pipeline.disable();
}

// What drawing a vertex buffer changes, and what a renderer says that it changes.
const Names drawing{"vertex array", "array buffer"};
const Names fixedFunction{"program",  "active texture", "texture unit 0",    "texture units",
                          "samplers", "attribute 2",    "program point size"};
const Names blending{"texture unit 0", "texture units", "samplers", "active texture"};

// One line for each: a frame of it, and all that it may change.
struct Renderer {
    const char* name;
    void (*draw)(Tools& tools);
    std::vector<Names> changes;
    bool (*isSupported)() = [] { return true; };
};

const Renderer renderers[] = {
    {"FixedFunctionPipeline", [](Tools& t) { drawFixedFunction(t, nullptr); }, {fixedFunction, drawing}},
    {"FixedFunctionPipeline with transparency",
     [](Tools& t) {
         OrderIndependentTransparency transparency;
         transparency.reset({8, 8}, false);
         drawFixedFunction(t, &transparency);
     },
     {fixedFunction, drawing},
     &OrderIndependentTransparency::isSupported},
    {"ImageProgram",
     [](Tools& t) {
         ImageProgram program("State/one.frag", "", true, ImageProgram::TexCoordMode::Output,
                              Program::Compilation::ImmediateThrow);
         program.compute(t.image, {});
     },
     {drawing, {"read framebuffer"}}},
    {"OrderIndependentTransparency",
     [](Tools& t) {
         OrderIndependentTransparency transparency;
         transparency.reset({8, 8}, false);
         transparency.renderBlendedFragments(t.image, t.depth);
     },
     {drawing, blending},
     &OrderIndependentTransparency::isSupported},
};

class RendererStateGL : public Testing::GLFixture {};

TEST_F(RendererStateGL, NothingChangesThatIsNotDocumented) {
    for (const Renderer& renderer : renderers) {
        if (!renderer.isSupported())
            continue;
        // A context of its own, where each renderer is used for the first time, and which needs no tidying.
        auto context = Context::create({.version = {}, .compatibility = !ContextManager::useCoreContext()});
        ASSERT_TRUE(context);
        {
            Tools tools;
            Testing::disturbState();
            const auto before = Testing::takeStateSnapshot();
            EXPECT_EQ(before.size(), 40U);
            renderer.draw(tools);
            Names changed = Testing::differences(before, Testing::takeStateSnapshot());
            for (const Names& allowed : renderer.changes)
                std::erase_if(changed,
                              [&allowed](const std::string& name) { return allowed.contains(name); });
            EXPECT_EQ(changed, Names{}) << renderer.name;
            EXPECT_EQ(Debug::check(false), Debug::Error::NoError) << renderer.name;
        }
        context.reset();
        ASSERT_TRUE(ContextManager::makeCurrent());
    }
}

} // namespace

} // namespace Veltrand::GL
