// SPDX-License-Identifier: BSD-3-Clause
#include "support/GLTest.h"

#include <Veltrand/GL/FixedFunctionPipeline.h>
#include <Veltrand/GL/FullscreenSquare.h>
#include <Veltrand/GL/LineRenderer.h>
#include <Veltrand/GL/VertexArrayObject.h>

namespace Veltrand::GL {

namespace {

constexpr const char* category = "GL.OrderIndependentTransparency";
const Vector2i size(24, 16);
constexpr std::size_t numPixels = std::size_t{24} * 16;

// A rectangle over the first columns of pixels, at a window depth.
struct Layer {
    float depth;
    Vector4f color;
    int columns = size.x();
};
using Scene = std::vector<Layer>;
using Picture = std::vector<Vector4f>;

Texture makeTexture(InternalFormat format) {
    return {Texture::Target::Texture2D, Vector3i(size.x(), size.y(), 1), format};
}

float largestDifference(const Picture& a, const Picture& b) {
    float largest = 0;
    for (std::size_t i = 0; i < a.size(); ++i)
        largest = std::max(largest, (a[i] - b[i]).cwiseAbs().maxCoeff());
    return largest;
}

class OrderIndependentTransparencyGL : public Testing::GLFixture {
protected:
    OrderIndependentTransparencyGL() {
        attach(m_target);
        glViewport(0, 0, size.x(), size.y());
        setBackground(Vector4f(0.25F, 0.5F, 0.75F, 0.5F), 1);
        if (OrderIndependentTransparency::isSupported())
            m_gather = Program::createVertexFragment("Oit/draw.vert", "Oit/gather.frag", "",
                                                     Compilation::ImmediateThrow);
    }
    void SetUp() override {
        GLFixture::SetUp();
        if (!m_gather)
            GTEST_SKIP() << "needs OpenGL 4.4";
    }

    void attach(Texture& texture) {
        m_framebuffer.bind();
        m_framebuffer.attach(texture, 0);
        m_framebuffer.setDrawBuffers();
    }

    void setBackground(const Vector4f& color, float depth) {
        m_color.upload(Picture(numPixels, color));
        m_depth.upload(std::vector<float>(numPixels, depth));
    }

    void gather(const OrderIndependentTransparency& transparency, const Scene& scene) {
        std::vector<Vector3f> positions;
        std::vector<Vector4f> colors;
        for (const auto& [depth, color, columns] : scene) {
            const float right = 2 * float(columns) / float(size.x()) - 1;
            const float z = 2 * depth - 1;
            positions.insert(positions.end(), {{-1, -1, z}, {right, -1, z}, {right, 1, z}});
            positions.insert(positions.end(), {{-1, -1, z}, {right, 1, z}, {-1, 1, z}});
            colors.insert(colors.end(), 6, color);
        }
        VertexBuffer buffer(Buffer::Usage::StaticDraw);
        buffer.setData(positions, colors);
        m_gather->enable();
        transparency.setIncludeArguments(*m_gather);
        if (!scene.empty())
            buffer.draw(Primitive::Triangles);
        m_gather->disable();
    }

    Picture render(OrderIndependentTransparency& transparency, const Scene& scene) {
        transparency.reset(size, false);
        gather(transparency, scene);
        transparency.renderBlendedFragments(m_color, m_depth);
        return m_target.download<Vector4f>();
    }

    // With room for every fragment.
    Picture renderWithRoom(OrderIndependentTransparency& transparency, const Scene& scene) {
        (void)render(transparency, scene);
        return render(transparency, scene);
    }

    // Sorts and blends in double precision.
    Picture renderReference(Scene scene) {
        std::ranges::stable_sort(scene, std::ranges::greater(), &Layer::depth);
        Picture picture = m_color.download<Vector4f>();
        for (std::size_t pixel = 0; pixel < numPixels; ++pixel) {
            Vector4d result = picture[pixel].cast<double>();
            for (const auto& [depth, color, columns] : scene)
                if (static_cast<int>(pixel) % size.x() < columns) {
                    const double alpha{color.w()};
                    result = alpha * Vector4d(color.x(), color.y(), color.z(), 1) + (1 - alpha) * result;
                }
            picture[pixel] = result.cast<float>();
        }
        return picture;
    }

    // Makes the frame that is under way look as if it had asked for this many nodes.
    void pretendDemand(GLuint nodes, const OrderIndependentTransparency& transparency) {
        gather(transparency, {});
        glBufferSubData(GL_ATOMIC_COUNTER_BUFFER, 0, sizeof nodes, &nodes);
    }

    Testing::MapRepository m_files{"Oit",
                                   {{"draw.vert", R"(#version 330
layout(location = 0) in vec3 position;
layout(location = 1) in vec4 color;
flat out vec4 v_color;
void main() { v_color = color; gl_Position = vec4(position, 1); }
)"},
                                    {"gather.frag", R"(#version 430
#pragma include "VeltrandGL/OrderIndependentTransparency.glh"
flat in vec4 v_color;
void main() { oit_addFragment(v_color); discard; }
)"},
                                    {"depthOnly.frag", "#version 330\nvoid main() {}\n"}}};
    std::unique_ptr<Program> m_gather;
    StateGuard m_guard{StateGuard::SaveFlags::Framebuffer | StateGuard::SaveFlags::Viewport};
    Texture m_color = makeTexture(InternalFormat::RGBA32F);
    Texture m_depth = makeTexture(InternalFormat::DepthComponent32F);
    Texture m_target = makeTexture(InternalFormat::RGBA32F);
    Framebuffer m_framebuffer;
    std::mt19937 m_random{7};
};

Scene randomScene(std::mt19937& random, int count) {
    std::uniform_real_distribution<float> unit(0, 1);
    Scene scene;
    for (int i = 0; i < count; ++i)
        scene.push_back({unit(random), Vector4f(unit(random), unit(random), unit(random), unit(random)),
                         1 + i % size.x()});
    return scene;
}

TEST_F(OrderIndependentTransparencyGL, EqualsTheSortedFragmentsInAnyDrawingOrder) {
    OrderIndependentTransparency transparency;
    transparency.reset(Vector2i(100, 80), false); // the lists may be for a larger viewport
    Scene scene = randomScene(m_random, 300);
    const Picture expected = renderReference(scene);
    const Picture picture = renderWithRoom(transparency, scene);
    EXPECT_LT(largestDifference(picture, expected), 0.5F / 255);

    std::ranges::shuffle(scene, m_random);
    EXPECT_EQ(render(transparency, scene), picture);

    // Equal depths are blended in the order of their colours: three of each kind, which differ in one
    // channel.
    Scene equal;
    for (int i = 0; i < 150; ++i)
        equal.push_back({0.5F, Vector4f(i % 5 == 0, i % 5 == 1, i % 5 == 2, float(i % 50 + 1) / 500)});
    const Picture once = renderWithRoom(transparency, equal);
    std::ranges::shuffle(equal, m_random);
    EXPECT_EQ(render(transparency, equal), once);

    Texture bytes = makeTexture(InternalFormat::RGBA8);
    attach(bytes);
    (void)render(transparency, scene);
    EXPECT_LE(largestDifference(bytes.download<Vector4f>(), expected), 1.F / 255);
}

// Below, at and beyond the numbers of fragments for which the shader changes its way of sorting; with faint
// layers, through which the last one is still seen, and with opaque ones.
TEST_F(OrderIndependentTransparencyGL, SortsListsOfAnyLength) {
    OrderIndependentTransparency transparency;
    std::uniform_real_distribution<float> unit(0, 1);
    for (const int length : {0, 1, 16, 17, 64, 65, 200, 1000}) {
        for (const float opacity : {1.F / float(length + 1), 1.F}) {
            Scene scene;
            for (int i = 0; i < length; ++i)
                scene.push_back({float(i + 1) / float(length + 2),
                                 Vector4f(unit(m_random), unit(m_random), unit(m_random), opacity)});
            const Picture expected = renderReference(scene);
            const Picture picture = renderWithRoom(transparency, scene);
            EXPECT_LT(largestDifference(picture, expected), 0.5F / 255) << length << " layers of " << opacity;
            std::ranges::reverse(scene);
            EXPECT_EQ(render(transparency, scene), picture) << length << " layers, farthest first";
            std::ranges::shuffle(scene, m_random);
            EXPECT_EQ(render(transparency, scene), picture) << length << " layers in any order";
            transparency.renderBlendedFragments(m_color, m_depth);
            EXPECT_EQ(m_target.download<Vector4f>(), picture) << length << " layers, blended twice";
        }
    }
    // Some drivers end long loops.
    Scene scene;
    for (int i = 0; i < 6000; ++i)
        scene.push_back({float(i) / 6000, Vector4f(unit(m_random), 0, 0, 1.F / 6000), 1});
    const Picture picture = renderWithRoom(transparency, scene);
    (void)render(transparency, {});
    EXPECT_NE(largestDifference(picture, renderReference(scene)) < 3.F / 255,
              log().takeLine({3, category,
                              "16 pixels have more transparent fragments than the driver lets a shader sort; "
                              "they lack some."}));
}

// A slope from the near to the far plane and its copy, which is moved by steps of the depth format.
TEST_F(OrderIndependentTransparencyGL, ComparesDepthsAsTheOpaquePictureRoundsThem) {
    OrderIndependentTransparency transparency;
    VertexBuffer slope(Buffer::Usage::StaticDraw);
    slope.setData(std::vector<Vector3f>{{-1, -1, -1}, {1, -1, 0.7F}, {-1, 1, -0.7F}, {1, 1, 1}},
                  std::vector<Vector4f>(4, Vector4f::Ones()));
    const auto depthOnly =
        Program::createVertexFragment("Oit/draw.vert", "Oit/depthOnly.frag", "", Compilation::ImmediateThrow);
    for (const InternalFormat format : {InternalFormat::DepthComponent16, InternalFormat::DepthComponent24,
                                        InternalFormat::DepthComponent32, InternalFormat::DepthComponent32F,
                                        InternalFormat::Depth24Stencil8, InternalFormat::Depth32FStencil8,
                                        InternalFormat::DepthComponent}) {
        Texture depth = makeTexture(format);
        Framebuffer opaque;
        opaque.bind();
        opaque.attach(depth, 0);
        opaque.setDrawBuffers();
        clearDepthBuffer(1);
        glEnable(GL_DEPTH_TEST);
        depthOnly->enable();
        slope.draw(Primitive::TriangleStrip);
        glDisable(GL_DEPTH_TEST);
        for (const float offset : {1.F, 0.F, -1.F}) {
            if (offset < 0 && format == InternalFormat::DepthComponent32)
                continue;  // finer than a shader sees
            opaque.bind(); // whose format gives the unit of offsets
            glEnable(GL_POLYGON_OFFSET_FILL);
            glPolygonOffset(0, offset);
            transparency.reset(size, false);
            m_gather->enable();
            transparency.setIncludeArguments(*m_gather);
            slope.draw(Primitive::TriangleStrip);
            m_gather->disable();
            glPolygonOffset(0, 0);
            glDisable(GL_POLYGON_OFFSET_FILL);
            m_framebuffer.bind();
            transparency.renderBlendedFragments(m_color, depth);
            const Picture picture = m_target.download<Vector4f>();
            EXPECT_EQ(std::ranges::count(picture, Vector4f(Vector4f::Ones())), offset < 0 ? numPixels : 0)
                << format.toString() << " and an offset of " << offset;
        }
    }
}

// Into the framebuffer that holds the opaque picture, and maybe a picking texture.
TEST_F(OrderIndependentTransparencyGL, RecordingLeavesEveryColorBufferAlone) {
    using Selection = FixedFunctionPipeline::ShaderSelection;
    using Ids = Eigen::Matrix<unsigned, 2, 1>;
    OrderIndependentTransparency transparency;
    Texture ids = makeTexture(InternalFormat::RG32UI);
    m_framebuffer.attach(ids, 1);
    m_framebuffer.setDrawBuffers();
    const ViewState view({0, 0, size.x(), size.y()}, Eigen::Matrix4d::Identity(),
                         Eigen::Matrix4d::Identity());
    const auto useFixedFunction = [&](Selection selection, Primitive primitive) {
        FixedFunctionPipeline& pipeline = *FixedFunctionPipeline::get();
        pipeline.enable(view, selection, &transparency);
        FullscreenSquare::get()->draw(primitive);
        pipeline.disable();
    };
    const std::pair<const char*, std::function<void()>> recorders[] = {
        {"a shader that discards",
         [&] {
             gather(transparency, {{0.5F, Vector4f::Ones()}});
         }},
        {"polygons", [&] { useFixedFunction(Selection::Plain, Primitive::TriangleFan); }},
        {"lines", [&] { useFixedFunction(Selection::WideLines, Primitive::LineLoop); }},
        {"joined lines", [&] { useFixedFunction(Selection::WideLinesAdjacency, Primitive::LinesAdjacency); }},
        {"LineRenderer", [&] {
             LineRenderer::get()->renderLineStrip({{-1, -1, 0}, {1, 1, 0}}, {}, view, &transparency);
         }}};
    const Picture opaque(numPixels, Vector4f(0.125F, 0.25F, 0.5F, 1));
    for (const auto& [name, record] : recorders) {
        m_target.clear(opaque.front());
        ids.clear<unsigned>({7, 9, 0, 0});
        transparency.reset(size, false);
        record();
        EXPECT_EQ(m_target.download<Vector4f>(), opaque) << name;
        EXPECT_EQ(ids.download<Ids>(), std::vector<Ids>(numPixels, Ids(7, 9))) << name;
        transparency.renderBlendedFragments(m_color, m_depth);
        EXPECT_NE(m_target.download<Vector4f>(), m_color.download<Vector4f>()) << name;
    }
}

TEST_F(OrderIndependentTransparencyGL, TrianglesThatShareAnEdgeHaveNoSeamInMultisampledTargets) {
    OrderIndependentTransparency transparency;
    Framebuffer samples;
    GLuint buffer = 0;
    glGenRenderbuffers(1, &buffer);
    glBindRenderbuffer(GL_RENDERBUFFER, buffer);
    glRenderbufferStorageMultisample(GL_RENDERBUFFER, 4, GL_RGBA8, size.x(), size.y());
    samples.bind();
    glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_RENDERBUFFER, buffer);
    transparency.reset(size, false);
    gather(transparency, {{0.5F, Vector4f(1, 1, 1, 0.5F)}});
    m_framebuffer.bind();
    transparency.renderBlendedFragments(m_color, m_depth);
    const Picture picture = m_target.download<Vector4f>();
    EXPECT_EQ(picture, render(transparency, {{0.5F, Vector4f(1, 1, 1, 0.5F)}}));
    glBindRenderbuffer(GL_RENDERBUFFER, 0);
    glDeleteRenderbuffers(1, &buffer);
}

TEST_F(OrderIndependentTransparencyGL, HidesWhatTheOpaquePictureCovers) {
    OrderIndependentTransparency transparency;
    setBackground(Vector4f(0, 0, 0, 1), 0.5F);
    // Textures that are set up for something else: shadow comparison, and mipmaps that there are none of.
    m_depth.bind(0);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_COMPARE_MODE, GL_COMPARE_REF_TO_TEXTURE);
    m_color.bind(0);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR_MIPMAP_LINEAR);
    const Vector4f white = Vector4f::Ones();
    const Vector4f black(0, 0, 0, 1);
    EXPECT_EQ(render(transparency, {{0.6F, white}, {0.5F, white}}), Picture(numPixels, black));
    EXPECT_EQ(render(transparency, {{0.6F, white}, {0.4F, white}}), Picture(numPixels, white));
}

TEST_F(OrderIndependentTransparencyGL, AFrameThatOverflowsMakesRoomForTheNext) {
    OrderIndependentTransparency transparency;
    Scene scene;
    for (int i = 1; i <= 10; ++i)
        scene.push_back({float(i) / 11, Vector4f(float(i) / 10, 0, 0, 0.5F)});
    const Picture expected = renderReference(scene);
    const Picture first = render(transparency, scene);
    EXPECT_EQ(transparency.numNodesTotal(), 4 * numPixels);
    EXPECT_NE(first, expected);
    const Picture second = render(transparency, scene);
    EXPECT_LT(largestDifference(second, expected), 0.5F / 255);
    EXPECT_EQ(transparency.numNodesTotal(), 11 * numPixels);
    expectLine(1, category, "Increasing node buffer size to 11 nodes/pixel");
    // The lists start empty in each frame, and one frame may be blended twice.
    EXPECT_EQ(render(transparency, {}), m_color.download<Vector4f>());
    (void)render(transparency, scene);
    clearColorBuffer(Vector4f::Zero());
    transparency.renderBlendedFragments(m_color, m_depth);
    EXPECT_EQ(m_target.download<Vector4f>(), second);
    transparency.reset(size / 2, true); // no word of dropped fragments, for the frame had room for them
}

TEST_F(OrderIndependentTransparencyGL, TheDriversLimitStopsGrowthWithOneWarningPerSize) {
    OrderIndependentTransparency transparency;
    const auto countWarnings = [this] {
        return std::ranges::count(log().take(category), 3, &LogLine::level);
    };
    GLint64 blockSize = 0;
    glGetInteger64v(GL_MAX_SHADER_STORAGE_BLOCK_SIZE, &blockSize);
    if (blockSize > 1 << 28)
        GTEST_SKIP() << "the driver has room for more than a test should allocate";
    const auto affordable = static_cast<unsigned>(blockSize / 12 / (800L * 600));
    for (const Vector2i& viewport : {Vector2i(800, 600), Vector2i(799, 600)}) {
        transparency.reset(viewport, false);
        for (int frame = 0; frame < 2; ++frame) {
            pretendDemand(0xFFFFFFFF, transparency);
            transparency.reset(viewport, false);
            EXPECT_EQ(transparency.numNodesTotal(), affordable * 800 * 600);
            EXPECT_EQ(countWarnings(), frame == 0 ? 1 : 0) << "frame " << frame;
        }
    }
}

TEST_F(OrderIndependentTransparencyGL, ASizeWithoutPixelsTakesNoFragments) {
    OrderIndependentTransparency transparency;
    const Scene scene = {{0.5F, Vector4f::Ones()}};
    for (const Vector2i& empty : {Vector2i(0, 5), Vector2i(-3, 5)}) {
        transparency.reset(empty, true);
        gather(transparency, scene);
        pretendDemand(7, transparency);
        transparency.renderBlendedFragments(m_color, m_depth);
        EXPECT_EQ(m_target.download<Vector4f>(), m_color.download<Vector4f>());
    }
    // Fragments outside of the lists are left out.
    transparency.reset(Vector2i(size.x() / 2, size.y()), false);
    gather(transparency, scene);
    transparency.renderBlendedFragments(m_color, m_depth);
    const Picture picture = m_target.download<Vector4f>();
    EXPECT_EQ(picture.front(), Vector4f::Ones());
    EXPECT_EQ(picture.back(), m_color.download<Vector4f>().back());
}

TEST_F(OrderIndependentTransparencyGL, OneProgramServesSeveralObjectsInTurn) {
    OrderIndependentTransparency first;
    OrderIndependentTransparency second;
    const Vector4f red(1, 0, 0, 1);
    const Vector4f green(0, 1, 0, 1);
    first.reset(size, false);
    second.reset(size, false);
    gather(first, {{0.5F, red}});
    gather(second, {{0.5F, green}});
    first.renderBlendedFragments(m_color, m_depth);
    EXPECT_EQ(m_target.download<Vector4f>(), Picture(numPixels, red));
    second.renderBlendedFragments(m_color, m_depth);
    EXPECT_EQ(m_target.download<Vector4f>(), Picture(numPixels, green));
    // Objects take up no binding points for good.
    std::vector<OrderIndependentTransparency> objects(
        static_cast<std::size_t>(getInt(GL_MAX_SHADER_STORAGE_BUFFER_BINDINGS)));
    for (const OrderIndependentTransparency& object : objects)
        gather(object, {});
    EXPECT_EQ(render(objects.back(), {{0.5F, green}}), Picture(numPixels, green));
}

TEST_F(OrderIndependentTransparencyGL, TheCallersStateNeitherMattersNorChanges) {
    OrderIndependentTransparency transparency;
    const Picture expected = render(transparency, randomScene(m_random, 20));
    Texture depth = makeTexture(InternalFormat::Depth24Stencil8);
    Texture second = makeTexture(InternalFormat::RGBA32F);
    m_framebuffer.attach(depth, 0);
    m_framebuffer.attach(second, 1);
    m_framebuffer.setDrawBuffers();
    clearDepthBuffer(0.25);
    clearColorBuffer(Vector4f(9, 9, 9, 9));
    second.clear(Vector4f(1, 2, 3, 4));
    const VertexArrayObject bound;
    m_gather->enable();
    {
        const Testing::AdverseState adverse;
        glDisablei(GL_BLEND, 1); // can be set for each draw buffer
        transparency.renderBlendedFragments(m_color, m_depth);
        EXPECT_FALSE(glIsEnabledi(GL_BLEND, 1));
        glEnablei(GL_BLEND, 1);
    }
    m_gather->disable();
    EXPECT_EQ(m_target.download<Vector4f>(), expected);
    EXPECT_EQ(second.download<Vector4f>(), Picture(numPixels, Vector4f(1, 2, 3, 4)));
    float depthAfter = 0;
    glReadPixels(1, 1, 1, 1, GL_DEPTH_COMPONENT, GL_FLOAT, &depthAfter);
    EXPECT_NEAR(depthAfter, 0.25F, 1e-6F);
}

std::string constructionFailure() {
    return Testing::thrown([] { const OrderIndependentTransparency transparency; });
}

class TransparencySupportGL : public Testing::GLFixture {};

TEST_F(TransparencySupportGL, NeedsOpenGL44) {
    EXPECT_EQ(OrderIndependentTransparency::isSupported(), hasVersion(4, 4));
    const ScopedEntryPoint older(GLAD_GL_VERSION_4_4, 0);
    EXPECT_FALSE(OrderIndependentTransparency::isSupported());
    EXPECT_EQ(constructionFailure(), "GL::OrderIndependentTransparency requires OpenGL 4.4");
}

// Runs in a process of its own, where it is off afterwards.
class TransparencyDriverFailureGL : public Testing::GLFixture {};

TEST_F(TransparencyDriverFailureGL, DisablesTheClassForGood) {
    if (!OrderIndependentTransparency::isSupported())
        GTEST_SKIP() << "needs OpenGL 4.4";
    {
        const ScopedEntryPoint broken(glad_glCompileShader, [](GLuint) {});
        EXPECT_EQ(constructionFailure(),
                  "Order-independent transparency functionality disabled due to driver issues.");
    }
    EXPECT_EQ(log().take(category).at(0).level, 3);
    (void)log().take("GL.Program"); // what the shaders were said to lack
    EXPECT_FALSE(OrderIndependentTransparency::isSupported());
    EXPECT_EQ(constructionFailure(), "GL::OrderIndependentTransparency requires OpenGL 4.4");
}

} // namespace

} // namespace Veltrand::GL
