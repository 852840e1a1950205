// SPDX-License-Identifier: BSD-3-Clause
#include "support/GLTest.h"

#include <Veltrand/Core/Resource.h>
#include <Veltrand/GL/AtomicCounterBuffer.h>
#include <Veltrand/GL/Blending.h>
#include <Veltrand/GL/FontAtlas.h>
#include <Veltrand/GL/ImageProgram.h>
#include <Veltrand/GL/IndexBuffer.h>
#include <Veltrand/GL/ObjectPicking.h>
#include <Veltrand/GL/OffscreenRenderHelper.h>
#include <Veltrand/GL/ProgramCache.h>
#include <Veltrand/GL/SyncObject.h>
#include <Veltrand/GL/VertexArrayObject.h>

namespace Veltrand::GL {

namespace {

constexpr auto points = Primitive::Points;
constexpr auto usage = Buffer::Usage::StaticDraw;
using Elements = std::vector<Eigen::Vector2f>;
using Indices = std::vector<unsigned char>;
using RenderBuffer = OffscreenRenderHelper::RenderBuffer;

template<class T, class Data>
T filled(const Data& data) {
    T buffer(usage);
    buffer.setData(data);
    return buffer;
}

// Every name that is taken over a scope is given back once.
template<auto& take, auto& giveBack>
struct Balance {
    ~Balance() { EXPECT_EQ(taken.take(), givenBack.take()) << typeid(*this).name(); }
    Testing::CallCounter<take> taken;
    Testing::CallCounter<giveBack> givenBack;
};

// An owner is moved onto itself, out and back; in between it is used in every way while its heir is bound.
template<class T, class Make, class Describe, class Use>
void expectSafeMoves(const Make& make, const Describe& describe, const Use& use) {
    SCOPED_TRACE(typeid(T).name());
    T owner = make();
    const auto full = describe(owner);
    T& self = owner;
    owner = std::move(self);
    EXPECT_EQ(describe(owner), full);
    T heir(std::move(owner));
    EXPECT_EQ(describe(heir), full);
    use(owner); // NOLINT(bugprone-use-after-move)
    owner = make();
    owner = std::move(heir);
    use(heir); // NOLINT(bugprone-use-after-move)
    EXPECT_EQ(describe(owner), full);
    EXPECT_EQ(glGetError(), GLenum{GL_NO_ERROR});
}

template<class T>
T make() {
    return T();
}

const auto idOf = [](const auto& owner) { return owner.id(); };
const auto storageOf = [](const auto& buffer) {
    buffer.bind();
    GLint stored = 0;
    glGetBufferParameteriv(static_cast<GLenum>(buffer.target()), GL_BUFFER_SIZE, &stored);
    if constexpr (requires { buffer.numVertices(); })
        return std::tuple(buffer.id(), buffer.size(), stored, buffer.numVertices());
    else if constexpr (requires { buffer.numElements(); })
        return std::tuple(buffer.id(), buffer.size(), stored, buffer.numElements());
    else
        return std::tuple(buffer.id(), buffer.size(), stored);
};

class OwnersGL : public Testing::GLFixture {
protected:
    void TearDown() override {
        EXPECT_EQ(m_canvas.row(0), "0000");
        GLFixture::TearDown();
    }
    Testing::Canvas m_canvas{4, 1};
    Texture m_image{{4, 1, 1}, InternalFormat::R8};
};

} // namespace

TEST_F(OwnersGL, MovedFromObjectsAreEmptyAndInert) {
    const Balance<glad_glGenBuffers, glad_glDeleteBuffers> buffers;
    const Balance<glad_glGenFramebuffers, glad_glDeleteFramebuffers> framebuffers;
    const Balance<glad_glGenSamplers, glad_glDeleteSamplers> samplers;
    const Balance<glad_glGenTextures, glad_glDeleteTextures> textures;
    const Balance<glad_glGenVertexArrays, glad_glDeleteVertexArrays> arrays;
    const Balance<glad_glFenceSync, glad_glDeleteSync> fences;
    const Elements elements(3, {1, 0});
    const auto makeVertices = [&] { return filled<VertexBuffer>(elements); };
    const auto makeIndices = [] { return filled<IndexBuffer>(Indices{0, 1, 2}); };
    const auto makeTexture = [] { return Texture(Eigen::Vector3i(4, 4, 1), InternalFormat::R8); };
    const auto vertices = makeVertices();
    const auto indices = makeIndices();
    expectSafeMoves<VertexBuffer>(makeVertices, storageOf, [&](VertexBuffer& buffer) {
        buffer.setData(Elements(1));
        buffer.draw(points);
        buffer.drawInstanced(points, 2, indices);
        buffer.drawMultiRestart(points, {1});
    });
    expectSafeMoves<IndexBuffer>(makeIndices, storageOf, [&](IndexBuffer& buffer) {
        buffer.setData(Indices{1});
        vertices.draw(points, buffer);
    });
    expectSafeMoves<VertexArrayObject>(make<VertexArrayObject>, idOf, [&](VertexArrayObject& array) {
        VertexArrayObject::unbind();
        array.setAttributes(vertices, &indices);
        array.draw(points);
    });
    if (hasVersion(4, 2))
        expectSafeMoves<AtomicCounterBuffer>([] { return AtomicCounterBuffer(3, usage); }, storageOf,
                                             [](AtomicCounterBuffer& buffer) { buffer.reset(7); });
    const auto set = [](auto& owner) {
        owner.setFiltering(Sampler::MinFilter::Linear, Sampler::MagFilter::Linear);
        owner.setWrapping(Sampler::Wrap::Repeat);
        owner.setBorderColor({1, 1, 1, 1});
    };
    expectSafeMoves<Sampler>(make<Sampler>, idOf, set);
    const auto describeTexture = [](const Texture& texture) {
        return std::tuple(texture.id(), texture.width(), texture.internalFormat());
    };
    expectSafeMoves<Texture>(makeTexture, describeTexture, [&](Texture& texture) {
        set(texture);
        EXPECT_TRUE(texture.download<float>().empty());
        texture.generateMipmaps();
        texture.clear<float>({1, 1, 1, 1});
    });
    expectSafeMoves<Framebuffer>(make<Framebuffer>, idOf, [&](Framebuffer& framebuffer) {
        Framebuffer heir;
        const StateGuard bound = heir.guardedBind();
        framebuffer.attach(m_image, 0);
        framebuffer.setDrawBuffers();
        const Texture taken(std::move(m_image));
        heir.attach(m_image, 0); // nothing
        m_image = makeTexture();
        EXPECT_EQ(heir.colorAttachments(), std::vector<GLenum>{GL_NONE});
        framebuffer.bind();
        EXPECT_FALSE(framebuffer.isBound() || framebuffer.isComplete());
    });
    const auto hasFailed = [](const SyncObject& sync) {
        return sync.waitClient(std::chrono::seconds(1)) == SyncObject::WaitResult::WaitFailed;
    };
    expectSafeMoves<SyncObject>(make<SyncObject>, hasFailed, [](const SyncObject& sync) { sync.wait(); });
    const auto makeBlending = [] { return Blending(Blending::Preset::Off); };
    expectSafeMoves<Blending>(
        makeBlending, [](const Blending&) { return 0; },
        [](Blending& blending) {
            blending.setPreset(Blending::Preset::Alpha);
            EXPECT_FALSE(glIsEnabled(GL_BLEND));
        });
}

TEST_F(OwnersGL, NamesThatTheDriverDoesNotGiveAreThrown) {
    const auto none = [](GLsizei, GLuint* names) { *names = 0; };
    const Testing::ScopedEntryPoint buffers(glad_glGenBuffers, none);
    const Testing::ScopedEntryPoint framebuffers(glad_glGenFramebuffers, none);
    const Testing::ScopedEntryPoint samplers(glad_glGenSamplers, none);
    const Testing::ScopedEntryPoint textures(glad_glGenTextures, none);
    Testing::CallCounter<glad_glDeleteBuffers> deletedBuffers;
    Testing::CallCounter<glad_glDeleteTextures> deletedTextures;
    const std::pair<void (*)(), const char*> cases[] = {
        {[] { const VertexBuffer buffer(usage); }, "Could not generate Buffer."},
        {[] { const Framebuffer framebuffer; }, "Could not create OpenGL Framebuffer object"},
        {[] { const Sampler sampler; }, "Could not create OpenGL Sampler object"},
        {[] { const Texture texture(Eigen::Vector3i::Ones(), InternalFormat::R8); },
         "Could not generate Texture ID."},
    };
    for (const auto& [construct, text] : cases)
        EXPECT_EQ(Testing::thrown(construct), text);
    EXPECT_EQ(deletedBuffers.take() + deletedTextures.take(), 0);
}

TEST_F(OwnersGL, MovedFromProgramsAndRenderersDoNothing) {
    const Testing::MapRepository files(
        "T", {{"f.frag", "#version 330\nout vec4 color;\nvoid main() { color = vec4(1.0); }\n"}});
    const auto makeProgram = [] {
        return Program({{Program::Stage::Vertex, "VeltrandGL/ImageProgram.vert"},
                        {Program::Stage::Fragment, "T/f.frag"}},
                       "", Program::Compilation::ImmediateThrow);
    };
    const auto useProgram = [&](Program& program) {
        EXPECT_FALSE(program.compile(Program::Compilation::Immediate) || program.reload());
        EXPECT_EQ(program.clone({}, Program::Compilation::Immediate), nullptr);
        program.setArgument("u", std::vector<const Texture*>{&m_image});
        program.setArgument("u", program.loc("u"));
    };
    {
        const Balance<glad_glCreateProgram, glad_glDeleteProgram> programs;
        const Balance<glad_glCreateShader, glad_glDeleteShader> shaders;
        expectSafeMoves<Program>(makeProgram, idOf, useProgram);
    }
    const auto makeImageProgram = [] { return ImageProgram("T/f.frag", "", false); };
    expectSafeMoves<ImageProgram>(makeImageProgram, idOf, [&](ImageProgram& program) {
        useProgram(program);
        program.compute(m_image, {});
        program.computeReduceZ(m_image, 0, 1, {});
    });
    expectSafeMoves<ProgramCache>(
        [&] { return ProgramCache(std::make_unique<Program>(makeProgram()), 2); },
        [](ProgramCache& cache) { return cache.getProgram(""); },
        [](ProgramCache& cache) { EXPECT_THROW((void)cache.getProgram(""), std::runtime_error); });
    const ByteBuffer font = Resource::query("VeltrandGLFonts", "DejaVuSans-Regular.ttf").value();
    const auto makeAtlas = [&] { return FontAtlas(font, 20); };
    const auto widthOf = [](FontAtlas& atlas) { return atlas.bounds("Va").max().x(); };
    expectSafeMoves<FontAtlas>(makeAtlas, widthOf, [](FontAtlas& atlas) {
        EXPECT_TRUE(atlas.glyph('V').advance.isZero());
        EXPECT_TRUE(atlas.kerning({'V', 'a'}).isZero());
        atlas.renderLine("Va", Eigen::Matrix4d::Identity(), {0, 0, 0}, {1, 1, 1, 1}, true);
        EXPECT_THROW(atlas.init(), std::runtime_error);
    });
    expectSafeMoves<ObjectPicking>(
        make<ObjectPicking>, [](const ObjectPicking& picking) { return picking.pickingTexture()->id(); },
        [](ObjectPicking& picking) {
            EXPECT_TRUE(picking.getPickingInfo({{0, 0}}, nullptr).empty());
        });
    using Lists = OrderIndependentTransparency;
    const auto numNodes = [](const Lists& lists) { return lists.numNodesTotal(); };
    if (Lists::isSupported())
        expectSafeMoves<Lists>(make<Lists>, numNodes, [&](Lists& lists) {
            lists.reset({4, 1}, false);
            lists.renderBlendedFragments(m_image, m_image);
        });
    OffscreenRenderHelper helper;
    const Eigen::Vector2i size(4, 1);
    expectSafeMoves<RenderBuffer>(
        [&] { return helper.create(size, InternalFormat::RGBA8, InternalFormat::DepthComponent24); },
        [](const RenderBuffer& buffer) { return buffer.isEmpty(); },
        [](RenderBuffer& buffer) { buffer.blendToParent(); });
}

} // namespace Veltrand::GL
