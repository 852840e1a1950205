// SPDX-License-Identifier: BSD-3-Clause
#include "support/GLTest.h"

#include <Veltrand/GL/Context.h>
#include <Veltrand/GL/FixedFunctionPipeline.h>
#include <Veltrand/GL/ImageProgram.h>
#include <Veltrand/GL/LineRenderer.h>
#include <Veltrand/GL/ObjectPicking.h>
#include <Veltrand/GL/OffscreenRenderHelper.h>
#include <Veltrand/GL/TextRenderer.h>

namespace Veltrand::GL {

namespace {

using Names = Testing::StateNames;
using Selection = FixedFunctionPipeline::ShaderSelection;

// What the renderers draw with; made before they are watched.
struct Tools {
    Testing::MapRepository files{
        "State",
        {{"one.frag", "#version 330\nout vec4 color;\nvoid main() { color = vec4(1); }\n"},
         {"pick.frag", "#version 330\n#pragma include \"VeltrandGL/ObjectPicking.glh\"\n"
                       "void main() { writePickingInfo(1u); }\n"}}};
    std::unique_ptr<Program> pickable = Program::createVertexFragment(
        "VeltrandGL/FixedFunctionPipeline.vert", "State/pick.frag", "", Program::Compilation::ImmediateThrow);
    VertexBuffer vertices{Buffer::Usage::StaticDraw};
    Texture image{Vector3i(8, 8, 1), InternalFormat::RGBA8};
    Texture depth{Vector3i(8, 8, 1), InternalFormat::DepthComponent32F};
    ViewState view{{0, 0, 8, 8}, Eigen::Matrix4d::Identity(), Eigen::Matrix4d::Identity()};
    Texture target{Vector3i(8, 8, 1), InternalFormat::RGBA8};
    Framebuffer framebuffer;

    Tools() {
        framebuffer.bind();
        framebuffer.attach(target, 0);
        vertices.setData(std::vector<Vector3f>{{-1, -1, 0}, {1, -1, 0}, {1, 1, 0}, {-1, 1, 0}});
    }
};

// What fragments are gathered in, or null.
using Transparency = const OrderIndependentTransparency*;

void drawFixedFunction(Tools& tools, Transparency lists) {
    auto& pipeline = *FixedFunctionPipeline::get();
    pipeline.enable(tools.view, Selection::Plain, lists);
    pipeline.enableTexturing(tools.image);
    pipeline.setDefaultColor(Eigen::Vector3d(1, 0, 0));
    tools.vertices.draw(Primitive::Points);
    pipeline.enable(tools.view, Selection::WideLinesAdjacency, lists);
    tools.vertices.draw(Primitive::LineStripAdjacency);
    pipeline.disable();
}

template<unsigned short pattern, Primitive primitive = Primitive::LineStrip>
void drawLines(Tools& tools, Transparency) {
    const LineRenderer::Options options(Eigen::Vector3d(1, 0, 0), 3, Eigen::Matrix4d::Identity(), pattern);
    const std::vector<Eigen::Vector3d> points{{-1, -1, 0}, {1, -1, 0}, {1, 1, 0}};
    if (primitive == Primitive::Lines)
        LineRenderer::get()->renderLines(points, options, tools.view);
    else
        LineRenderer::get()->renderLineStrip(points, options, tools.view);
}

void drawText(Tools& tools, Transparency) {
    TextRenderer::Font font;
    font.decorations = {TextRenderer::Decoration::Shadow, TextRenderer::Decoration::Underline};
    TextRenderer::get()->renderText(tools.view.viewport(), {1, 1}, "a\nb", font,
                                    TextRenderer::AlignmentH::Left, TextRenderer::AlignmentV::Baseline);
}

void pick(Tools& tools, Transparency) {
    ObjectPicking picking;
    picking.reset(tools.framebuffer, {8, 8}, {&tools});
    tools.pickable->enable();
    picking.enable(*tools.pickable, &tools);
    tools.vertices.draw(Primitive::Points);
    tools.pickable->disable();
    picking.disable();
    (void)picking.getPickingInfo({{1, 1}}, nullptr);
    (void)picking.getPickingInfoPerPosition({{1, 1}, {7, 7}}, nullptr);
}

void drawOffscreen(Tools&, Transparency lists) {
    using Processing = OffscreenRenderHelper::ColorPostProcessing;
    OffscreenRenderHelper helper;
    for (const auto processing : {Processing::WindowLevel, Processing::Outline}) {
        auto buffer = helper.create({8, 8}, InternalFormat::RGBA8, InternalFormat::DepthComponent24);
        buffer.blendToParent(processing, lists);
    }
}

void compute(Tools& tools, Transparency) {
    ImageProgram program("State/one.frag", "", true, ImageProgram::TexCoordMode::Output,
                         Program::Compilation::ImmediateThrow);
    program.compute(tools.image, {});
}

// What drawing a vertex buffer changes, and what renderers say that they change.
const Names drawing{"vertex array", "array buffer"};
const Names fixedFunction{"program",        "active texture", "texture unit 0", "texture unit 1",
                          "texture unit 2", "texture unit 3", "attribute 2",    "program point size"};
const Names line{"program", "vertex array", "array buffer", "attribute 3"};
const Names lengths{"storage buffer", "storage block 0", "storage block 1"};
const Names newTexture{"active texture", "texture unit 0"};
const Names transparency{"active texture", "texture unit 0", "texture unit 1", "texture unit 2",
                         "array buffer",   "storage buffer", "storage block 0"};
const Names offscreen{"read framebuffer", "array buffer", "texture unit 1", "texture unit 2",
                      "texture unit 3"};

// One line for each: a frame of it, and all that it may change.
struct Renderer {
    const char* name;
    void (*draw)(Tools& tools, Transparency);
    std::vector<Names> changes;
    bool withTransparency = false;
};

const Renderer renderers[] = {
    {"FixedFunctionPipeline", drawFixedFunction, {fixedFunction, drawing}},
    {"FixedFunctionPipeline, OIT", drawFixedFunction, {fixedFunction, drawing, transparency}, true},
    {"OIT alone", [](Tools&, Transparency) {}, {transparency}, true},
    {"ImageProgram", compute, {drawing, {"read framebuffer"}}},
    {"LineRenderer, solid", drawLines<0xFFFF>, {line}},
    {"LineRenderer, stippled", drawLines<0xF0F0>, {line, lengths}},
    {"LineRenderer, segments", drawLines<0xF0F0, Primitive::Lines>, {line}},
    {"TextRenderer", drawText, {drawing, newTexture, {"texture unit 1", "attribute 3"}}},
    {"ObjectPicking", pick, {drawing, newTexture, {"program"}}},
    {"OffscreenRenderHelper", drawOffscreen, {offscreen}},
    {"OffscreenRenderHelper, OIT", drawOffscreen, {offscreen, transparency}, true},
};

class RendererStateGL : public Testing::GLFixture {};

// In a context of its own, where the renderer is used for the first time, and which needs no tidying.
void expectNoOtherChanges(const Renderer& renderer, bool disturbed) {
    SCOPED_TRACE(std::string(renderer.name) + (disturbed ? " among other values" : " among defaults"));
    const auto context = Context::create({.version = {}, .compatibility = !ContextManager::useCoreContext()});
    ASSERT_TRUE(context);
    Tools tools;
    if (disturbed)
        Testing::disturbState();
    const auto before = Testing::takeStateSnapshot();
    if (renderer.withTransparency) {
        OrderIndependentTransparency lists;
        lists.reset({8, 8}, false);
        renderer.draw(tools, &lists);
        lists.renderBlendedFragments(tools.image, tools.depth);
    } else {
        renderer.draw(tools, nullptr);
    }
    Names changed = Testing::differences(before, Testing::takeStateSnapshot());
    for (const Names& allowed : renderer.changes)
        std::erase_if(changed, [&allowed](const std::string& name) { return allowed.contains(name); });
    EXPECT_EQ(changed, Names{});
    EXPECT_EQ(Debug::check(false), Debug::Error::NoError);
}

TEST_F(RendererStateGL, NothingChangesThatIsNotDocumented) {
    for (const Renderer& renderer : renderers) {
        if (renderer.withTransparency && !OrderIndependentTransparency::isSupported())
            continue;
        // Whatever is switched on or off for a draw differs from one of the two.
        for (const bool disturbed : {false, true}) {
            expectNoOtherChanges(renderer, disturbed);
            ASSERT_TRUE(ContextManager::makeCurrent());
        }
    }
}

} // namespace

} // namespace Veltrand::GL
