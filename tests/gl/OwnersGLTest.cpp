// SPDX-License-Identifier: BSD-3-Clause
#include "support/Canvas.h"
#include "support/GLTest.h"

#include <Veltrand/Core/Resource.h>
#include <Veltrand/GL/AtomicCounterBuffer.h>
#include <Veltrand/GL/Blending.h>
#include <Veltrand/GL/FontAtlas.h>
#include <Veltrand/GL/Framebuffer.h>
#include <Veltrand/GL/ImageProgram.h>
#include <Veltrand/GL/IndexBuffer.h>
#include <Veltrand/GL/ObjectPicking.h>
#include <Veltrand/GL/OffscreenRenderHelper.h>
#include <Veltrand/GL/OrderIndependentTransparency.h>
#include <Veltrand/GL/ProgramCache.h>
#include <Veltrand/GL/ShaderStorageBuffer.h>
#include <Veltrand/GL/SyncObject.h>
#include <Veltrand/GL/VertexArrayObject.h>
#include <Veltrand/GL/VertexBuffer.h>

#include <concepts>

namespace Veltrand::GL {

namespace {

constexpr auto points = Primitive::Points;
constexpr auto usage = Buffer::Usage::StaticDraw;
const std::vector<Eigen::Vector2f> corners{{0.5F, 0.5F}, {1.5F, 0.5F}, {2.5F, 0.5F}};

using Contents = std::vector<std::int64_t>;

Contents contents(const Buffer& buffer) {
    buffer.bind();
    GLint stored = 0;
    glGetBufferParameteriv(static_cast<GLenum>(buffer.target()), GL_BUFFER_SIZE, &stored);
    return {buffer.id(), buffer.size(), stored};
}
Contents contents(const VertexBuffer& buffer) {
    Contents values = contents(static_cast<const Buffer&>(buffer));
    for (const auto& attribute : buffer.attributes())
        values.push_back(static_cast<std::int64_t>(attribute.count));
    return values;
}
Contents contents(const IndexBuffer& buffer) {
    Contents values = contents(static_cast<const Buffer&>(buffer));
    values.insert(values.end(), {buffer.numElements(), buffer.type(), buffer.primitiveRestartIndex()});
    return values;
}

} // namespace

class OwnersGL : public Testing::GLFixture {
protected:
    // A moved-from owner is used in every way while its heir is bound, if that can be.
    template<std::movable T, class Make, class Describe, class Use>
    void expectSafeMoves(const char* what, const Make& make, const Describe& describe, const Use& use) {
        SCOPED_TRACE(what);
        T owner = make();
        const auto full = describe(owner);
        T& self = owner;
        owner = std::move(self);
        EXPECT_EQ(describe(owner), full);
        T heir(std::move(owner));
        EXPECT_EQ(describe(heir), full);
        use(owner);
        owner = make();
        owner = std::move(heir);
        EXPECT_EQ(describe(owner), full);
        use(heir);
        EXPECT_EQ(describe(owner), full);
        EXPECT_EQ(glGetError(), GLenum{GL_NO_ERROR});
    }
    template<class T, class Make, class Use>
    void expectSafeMoves(const char* what, const Make& make, const Use& use) {
        expectSafeMoves<T>(
            what, make, [](const T& owner) { return owner.id(); },
            [&use](T& owner) {
                EXPECT_EQ(owner.id(), 0U);
                use(owner);
            });
    }

    Testing::Canvas m_canvas{4, 1};
};

TEST_F(OwnersGL, MovedFromBuffersAreEmpty) {
    const auto filled = [](auto buffer, const auto& data) {
        buffer.setData(data);
        return buffer;
    };
    const auto describe = [](const auto& buffer) { return contents(buffer); };
    VertexBuffer vertices = filled(VertexBuffer(usage), corners);
    const IndexBuffer indices = filled(IndexBuffer(usage), std::vector<unsigned char>{0, 1, 2});
    expectSafeMoves<VertexBuffer>(
        "vertices", [&] { return filled(VertexBuffer(usage), corners); }, describe,
        [&](VertexBuffer& buffer) {
            buffer.setData(corners);
            buffer.allocateBuffer(8);
            EXPECT_EQ(buffer.size() + static_cast<std::int64_t>(buffer.numVertices()), 0);
            buffer.draw(points);
            buffer.drawInstanced(points, 2, indices);
            buffer.drawMultiRestart(points, {1});
        });
    expectSafeMoves<IndexBuffer>(
        "indices",
        [&] {
            auto buffer = filled(IndexBuffer(usage), std::vector<unsigned short>{0, 1, 2});
            buffer.setPrimitiveRestartIndex(9);
            return buffer;
        },
        describe,
        [&](IndexBuffer& buffer) {
            buffer.setData(std::vector<unsigned>{1});
            vertices.draw(points, buffer);
            VertexArrayObject array;
            array.setAttributes(vertices, &buffer);
            array.draw(points);
            VertexArrayObject::unbind();
            EXPECT_EQ(buffer.numElements() + buffer.primitiveRestartIndex(), 0);
        });
    expectSafeMoves<VertexArrayObject>(
        "array", [] { return VertexArrayObject(); },
        [&](VertexArrayObject& array) {
            VertexArrayObject::unbind();
            array.setAttributes(vertices, &indices);
            array.bindAttribs(vertices, {});
            array.drawInstanced(points, 1);
        });
    if (hasVersion(4, 3)) {
        expectSafeMoves<ShaderStorageBuffer>(
            "storage", [] { return ShaderStorageBuffer(usage); }, [](auto& buffer) { buffer.bindBase(0); });
        expectSafeMoves<AtomicCounterBuffer>(
            "counters", [] { return AtomicCounterBuffer(3, usage); }, describe,
            [](AtomicCounterBuffer& buffer) {
                buffer.reset(7);
                EXPECT_TRUE(buffer.getData().empty());
            });
    }
    EXPECT_EQ(m_canvas.row(0), "0000");
    IndexBuffer::unbind();
}

TEST_F(OwnersGL, MovedFromTexturesAndFramebuffersAreEmpty) {
    Texture image({4, 4, 1}, InternalFormat::R8);
    image.bind(0);
    expectSafeMoves<Texture>(
        "texture",
        [] {
            return Texture({4, 4, 1}, InternalFormat::R8);
        },
        [](Texture& texture) {
            EXPECT_TRUE(texture.download<float>().empty());
            EXPECT_TRUE(texture.upload(std::vector<float>{}));
            texture.setFiltering(Sampler::MinFilter::Linear, Sampler::MagFilter::Linear);
            texture.setWrapping(Sampler::Wrap::Repeat);
            texture.setBorderColor({1, 1, 1, 1});
            texture.generateMipmaps();
            texture.clear<float>({1, 1, 1, 1});
        });
    expectSafeMoves<Framebuffer>(
        "framebuffer", [] { return Framebuffer(); },
        [&](Framebuffer& framebuffer) {
            Framebuffer heir;
            const StateGuard bound = heir.guardedBind();
            const Texture taken(std::move(image));
            heir.attach(image, 0); // nothing
            EXPECT_EQ(heir.colorAttachments(), std::vector<GLenum>{GL_NONE});
            image = Texture({4, 4, 1}, InternalFormat::R8);
            framebuffer.attach(image, 0);
            framebuffer.attachLayer(image, Framebuffer::Attachment::Depth, 0);
            framebuffer.detach(Framebuffer::Attachment::Color0);
            framebuffer.setDrawBuffers();
            EXPECT_TRUE(framebuffer.colorAttachments().empty());
            framebuffer.bind();
            EXPECT_FALSE(framebuffer.isBound() || framebuffer.isComplete());
        });
    expectSafeMoves<Sampler>(
        "sampler", [] { return Sampler(); },
        [](Sampler& sampler) {
            sampler.setFiltering(Sampler::MinFilter::Linear, Sampler::MagFilter::Linear);
            sampler.setWrapping(Sampler::Wrap::Repeat);
            sampler.setCompareMode(Sampler::CompareMode::Off, Sampler::CompareFunc::Less);
            sampler.setLOD(0, 1, 0);
            sampler.setBorderColor({1, 1, 1, 1});
        });
    expectSafeMoves<SyncObject>(
        "fence", [] { return SyncObject(); },
        [](const SyncObject& sync) {
            return sync.waitClient(std::chrono::seconds(1)) == SyncObject::WaitResult::WaitFailed;
        },
        [](const SyncObject& sync) { sync.wait(); });
    expectSafeMoves<Blending>(
        "blending", [] { return Blending(Blending::Preset::Off); }, [](const Blending&) { return 0; },
        [](Blending& blending) {
            blending.setPreset(Blending::Preset::Alpha);
            blending.setBlendColor({1, 1, 1, 1});
            EXPECT_FALSE(glIsEnabled(GL_BLEND));
        });
}

TEST_F(OwnersGL, MovedFromProgramsAndRenderersDoNothing) {
    const Testing::MapRepository files(
        "T", {{"f.frag", "#version 330\nout vec4 color;\nvoid main() { color = vec4(1.0); }\n"}});
    const auto makeProgram = [] {
        return Program({{Program::Stage::Vertex, "VeltrandGL/ImageProgram.vert"},
                        {Program::Stage::Fragment, "T/f.frag"}},
                       "", Program::Compilation::ImmediateThrow);
    };
    Texture output({4, 1, 1}, InternalFormat::R8);
    const auto useProgram = [&](Program& program) {
        EXPECT_FALSE(program.compile(Program::Compilation::Immediate) || program.reload());
        EXPECT_EQ(program.clone({}, Program::Compilation::Immediate), nullptr);
        EXPECT_EQ(program.loc("u"), -1);
        program.setArgument("u", 1);
        program.setArgument("u", std::vector<const Texture*>{&output});
        program.dispatchCompute(1, 1, 1);
        program.unbindImages(true);
    };
    expectSafeMoves<Program>("program", makeProgram, useProgram);
    expectSafeMoves<ImageProgram>(
        "image program", [] { return ImageProgram("T/f.frag", "", false); },
        [&](ImageProgram& program) {
            useProgram(program);
            program.compute(output, {});
            program.computeReduceZ(output, 0, 1, {});
            EXPECT_EQ(program.fbo(), nullptr);
        });
    expectSafeMoves<ProgramCache>(
        "cache", [&] { return ProgramCache(std::make_unique<Program>(makeProgram()), 2); },
        [](ProgramCache& cache) { return cache.getProgram(""); },
        [](ProgramCache& cache) { EXPECT_THROW((void)cache.getProgram(""), std::runtime_error); });
    const ByteBuffer font = Resource::query("VeltrandGLFonts", "DejaVuSans-Regular.ttf").value();
    expectSafeMoves<FontAtlas>(
        "atlas", [&] { return FontAtlas(font, 20); },
        [](FontAtlas& atlas) { return atlas.bounds("Va").max().x(); },
        [](FontAtlas& atlas) {
            EXPECT_EQ(atlas.glyph('V').advance.x() + atlas.glyph(1).advance.x(), 0.F);
            EXPECT_EQ(atlas.kerning({'V', 'a'}).x() + atlas.bounds("Va").max().x(), 0.F);
            atlas.renderLine("Va", Eigen::Matrix4d::Identity(), {0, 0, 0}, {1, 1, 1, 1}, true);
            EXPECT_THROW(atlas.init(), std::runtime_error);
        });
    Framebuffer framebuffer;
    expectSafeMoves<ObjectPicking>(
        "picking", [] { return ObjectPicking(); },
        [](const ObjectPicking& picking) { return picking.pickingTexture()->id(); },
        [&](ObjectPicking& picking) {
            EXPECT_TRUE(picking.getPickingInfo({{0, 0}}, nullptr).empty());
            picking.reset(framebuffer, {2, 2}, {}); // starts anew
            EXPECT_NE(picking.pickingTexture(), nullptr);
            ObjectPicking gone(std::move(picking));
        });
    if (OrderIndependentTransparency::isSupported())
        expectSafeMoves<OrderIndependentTransparency>(
            "transparency",
            [] {
                OrderIndependentTransparency lists;
                lists.reset({4, 4}, false);
                return lists;
            },
            [](const OrderIndependentTransparency& lists) { return lists.numNodesTotal(); },
            [&](OrderIndependentTransparency& lists) {
                lists.reset({4, 1}, false);
                lists.renderBlendedFragments(output, output);
                EXPECT_EQ(lists.numNodesTotal(), 0U);
            });
    OffscreenRenderHelper helper;
    using RenderBuffer = OffscreenRenderHelper::RenderBuffer;
    expectSafeMoves<RenderBuffer>(
        "lend",
        [&] {
            return helper.create({4, 1}, InternalFormat::RGBA8, InternalFormat::DepthComponent24);
        },
        [](const RenderBuffer& buffer) { return buffer.framebuffer().isBound(); },
        [](RenderBuffer& buffer) {
            EXPECT_TRUE(buffer.isEmpty());
            buffer.blendToParent();
        });
    EXPECT_EQ(m_canvas.row(0), "0000");
}

} // namespace Veltrand::GL
