// SPDX-License-Identifier: BSD-3-Clause
#include "support/GLFixture.h"
#include "support/MapRepository.h"
#include "support/ScopedEntryPoint.h"

#include <Veltrand/GL/Framebuffer.h>
#include <Veltrand/GL/Functions.h>
#include <Veltrand/GL/OrderIndependentTransparency.h>
#include <Veltrand/GL/Program.h>
#include <Veltrand/GL/StateGuard.h>
#include <Veltrand/GL/Texture.h>
#include <Veltrand/GL/VertexBuffer.h>

#include <Eigen/Core>
#include <algorithm>
#include <glad/gl.h>
#include <gtest/gtest.h>
#include <optional>
#include <random>
#include <utility>

namespace Veltrand::GL {

namespace {

using Eigen::Vector2i;
using Eigen::Vector3f;
using Eigen::Vector3i;
using Eigen::Vector4d;
using Eigen::Vector4f;
using Testing::LogLine;
using Testing::ScopedEntryPoint;
using Compilation = Program::Compilation;

constexpr std::string_view category = "GL.OrderIndependentTransparency";
const Vector2i size(64, 48);
constexpr std::size_t numPixels = std::size_t{64} * 48;

struct Triangle {
    std::array<Vector3f, 3> corners; // clip space
    Vector4f color;
};
using Scene = std::vector<Triangle>;
using Picture = std::vector<Vector4f>;

// A triangle that covers every pixel, at a window depth.
Triangle layer(float depth, const Vector4f& color) {
    const float z = 2 * depth - 1;
    return {{Vector3f(-1, -1, z), Vector3f(3, -1, z), Vector3f(-1, 3, z)}, color};
}

float largestDifference(const Picture& a, const Picture& b) {
    float largest = 0;
    for (std::size_t i = 0; i < a.size(); ++i)
        largest = std::max(largest, (a[i] - b[i]).cwiseAbs().maxCoeff());
    return largest;
}

class OrderIndependentTransparencyGL : public Testing::GLFixture {
protected:
    OrderIndependentTransparencyGL()
        : m_files("Oit", {{"draw.vert", "#version 330\n"
                                        "layout(location = 0) in vec3 position;\n"
                                        "layout(location = 1) in vec4 color;\n"
                                        "flat out vec4 v_color;\n"
                                        "void main() {\n"
                                        "    v_color = color;\n"
                                        "    gl_Position = vec4(position, 1);\n"
                                        "}\n"},
                          {"gather.frag", "#version 430\n"
                                          "#pragma include \"VeltrandGL/OrderIndependentTransparency.glh\"\n"
                                          "flat in vec4 v_color;\n"
                                          "void main() { oit_addFragment(v_color); }\n"},
                          {"depth.frag", "#version 330\n"
                                         "out float depth;\n"
                                         "void main() { depth = gl_FragCoord.z; }\n"}}) {}

    void SetUp() override {
        GLFixture::SetUp();
        if (!OrderIndependentTransparency::isSupported())
            GTEST_SKIP() << "needs OpenGL 4.4";
        m_gather = Program::createVertexFragment("Oit/draw.vert", "Oit/gather.frag", "",
                                                 Compilation::ImmediateThrow);
        m_color.emplace(Texture::Target::Texture2D, Vector3i(size.x(), size.y(), 1), InternalFormat::RGBA32F);
        m_depth.emplace(Texture::Target::Texture2D, Vector3i(size.x(), size.y(), 1),
                        InternalFormat::DepthComponent32F);
        m_target.emplace(Texture::Target::Texture2D, Vector3i(size.x(), size.y(), 1),
                         InternalFormat::RGBA32F);
        m_framebuffer.emplace();
        m_guard.emplace(StateGuard::SaveFlags::Framebuffer | StateGuard::SaveFlags::Viewport);
        attach(*m_target);
        glViewport(0, 0, size.x(), size.y());
        setBackground(Vector4f(0.25F, 0.5F, 0.75F, 0.5F), 1);
    }
    void TearDown() override {
        m_guard.reset();
        m_framebuffer.reset();
        m_gather.reset();
        GLFixture::TearDown();
    }

    void attach(Texture& texture) {
        m_framebuffer->bind();
        m_framebuffer->attach(texture, 0);
        m_framebuffer->setDrawBuffers();
    }

    void setBackground(const Vector4f& color, float depth) {
        m_color->upload(Picture(numPixels, color));
        m_depth->upload(std::vector<float>(numPixels, depth));
    }

    static void draw(const Scene& scene, std::size_t first, std::size_t count) {
        std::vector<Vector3f> positions;
        std::vector<Vector4f> colors;
        for (std::size_t i = first; i < first + count; ++i)
            for (const Vector3f& corner : scene[i].corners) {
                positions.push_back(corner);
                colors.push_back(scene[i].color);
            }
        VertexBuffer buffer(Buffer::Usage::StaticDraw);
        buffer.setData(positions, colors);
        buffer.draw(Primitive::Triangles);
    }

    void gather(const OrderIndependentTransparency& transparency, const Scene& scene) {
        m_gather->enable();
        transparency.setIncludeArguments(*m_gather);
        draw(scene, 0, scene.size());
        m_gather->disable();
    }

    Picture render(OrderIndependentTransparency& transparency, const Scene& scene) {
        transparency.reset(size, false);
        gather(transparency, scene);
        transparency.renderBlendedFragments(*m_color, *m_depth);
        return m_target->download<Vector4f>();
    }

    // With room for every fragment.
    Picture renderWithRoom(OrderIndependentTransparency& transparency, const Scene& scene) {
        (void)render(transparency, scene);
        return render(transparency, scene);
    }

    // Sorts and blends in double precision. The rasteriser says which pixels a triangle covers, and how deep.
    Picture renderReference(const Scene& scene) {
        struct Fragment {
            float depth;
            const Vector4f* color;
        };
        std::vector<std::vector<Fragment>> fragments(numPixels);
        const auto program =
            Program::createVertexFragment("Oit/draw.vert", "Oit/depth.frag", "", Compilation::ImmediateThrow);
        Texture depth(Texture::Target::Texture2D, Vector3i(size.x(), size.y(), 1), InternalFormat::R32F);
        attach(depth);
        program->enable();
        for (std::size_t i = 0; i < scene.size(); ++i) {
            clearColorBuffer(Vector4f::Constant(2));
            draw(scene, i, 1);
            const auto depths = depth.download<float>();
            for (std::size_t pixel = 0; pixel < numPixels; ++pixel)
                if (depths[pixel] < 1)
                    fragments[pixel].push_back({depths[pixel], &scene[i].color});
        }
        program->disable();
        attach(*m_target);
        clearColorBuffer(Vector4f::Zero());

        Picture picture = m_color->download<Vector4f>();
        for (std::size_t pixel = 0; pixel < numPixels; ++pixel) {
            std::ranges::stable_sort(fragments[pixel], std::ranges::greater(), &Fragment::depth);
            Vector4d result = picture[pixel].cast<double>();
            for (const Fragment& fragment : fragments[pixel]) {
                const Vector4d color = fragment.color->cast<double>();
                const double alpha = color.w();
                result.head<3>() = alpha * color.head<3>() + (1 - alpha) * result.head<3>();
                result.w() = alpha + (1 - alpha) * result.w();
            }
            picture[pixel] = result.cast<float>();
        }
        return picture;
    }

    // Makes the frame that is under way look as if it had asked for this many nodes.
    static void pretendDemand(GLuint nodes, const OrderIndependentTransparency& transparency,
                              Program& gather) {
        gather.enable();
        transparency.setIncludeArguments(gather);
        gather.disable();
        glBufferSubData(GL_ATOMIC_COUNTER_BUFFER, 0, sizeof nodes, &nodes);
    }

    Testing::MapRepository m_files;
    std::unique_ptr<Program> m_gather;
    std::optional<Texture> m_color;
    std::optional<Texture> m_depth;
    std::optional<Texture> m_target;
    std::optional<Framebuffer> m_framebuffer;
    std::optional<StateGuard> m_guard;
    std::mt19937 m_random{7};
};

Scene randomScene(std::mt19937& random, int count) {
    std::uniform_real_distribution<float> position(-1.2F, 1.2F);
    std::uniform_real_distribution<float> depth(-0.99F, 0.99F);
    std::uniform_real_distribution<float> unit(0, 1);
    Scene scene(static_cast<std::size_t>(count));
    for (Triangle& triangle : scene) {
        for (Vector3f& corner : triangle.corners)
            corner = Vector3f(position(random), position(random), depth(random));
        triangle.color = Vector4f(unit(random), unit(random), unit(random), unit(random));
    }
    return scene;
}

TEST_F(OrderIndependentTransparencyGL, EqualsTheSortedFragmentsInAnyDrawingOrder) {
    OrderIndependentTransparency transparency;
    transparency.reset(Vector2i(100, 80), false); // the lists may be for a larger viewport
    Scene scene = randomScene(m_random, 1000);
    const Picture expected = renderReference(scene);
    const Picture picture = renderWithRoom(transparency, scene);
    EXPECT_LT(largestDifference(picture, expected), 0.5F / 255);

    for (int order = 0; order < 3; ++order) {
        std::ranges::shuffle(scene, m_random);
        EXPECT_EQ(render(transparency, scene), picture);
    }

    Texture bytes(Texture::Target::Texture2D, Vector3i(size.x(), size.y(), 1), InternalFormat::RGBA8);
    attach(bytes);
    (void)render(transparency, scene);
    EXPECT_LE(largestDifference(bytes.download<Vector4f>(), expected), 1.F / 255);
}

// Below, at and beyond the numbers of fragments for which the shader changes its way of sorting; with faint
// layers, through which the last one is still seen, and with opaque ones.
TEST_F(OrderIndependentTransparencyGL, SortsListsOfAnyLength) {
    OrderIndependentTransparency transparency;
    std::uniform_real_distribution<float> unit(0, 1);
    for (const int length : {0, 1, 2, 15, 16, 17, 63, 64, 65, 129, 200}) {
        for (const float opacity : {1.F / float(length + 1), 1.F}) {
            Scene scene;
            for (int i = 0; i < length; ++i)
                scene.push_back(layer(float(i + 1) / float(length + 2),
                                      Vector4f(unit(m_random), unit(m_random), unit(m_random), opacity)));
            const Picture expected = renderReference(scene);
            std::ranges::shuffle(scene, m_random);
            EXPECT_LT(largestDifference(renderWithRoom(transparency, scene), expected), 0.5F / 255)
                << length << " layers of " << opacity;
        }
    }
}

TEST_F(OrderIndependentTransparencyGL, OrdersEqualDepthsTheSameWayEveryTime) {
    OrderIndependentTransparency transparency;
    Scene scene;
    for (int i = 0; i < 150; ++i) // three of each kind, which differ in one channel only
        scene.push_back(layer(0.5F, Vector4f(i % 5 == 0 ? 1.F : 0, i % 5 == 1 ? 1.F : 0, i % 5 == 2 ? 1.F : 0,
                                             float(i % 50 + 1) / 500)));
    const Picture picture = renderWithRoom(transparency, scene);
    for (int order = 0; order < 5; ++order) {
        std::ranges::shuffle(scene, m_random);
        EXPECT_EQ(render(transparency, scene), picture);
    }
}

TEST_F(OrderIndependentTransparencyGL, HidesWhatTheOpaquePictureCovers) {
    OrderIndependentTransparency transparency;
    setBackground(Vector4f(0, 0, 0, 1), 0.5F);
    // Textures that are set up for something else: shadow comparison, and mipmaps that there are none of.
    m_depth->bind(0);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_COMPARE_MODE, GL_COMPARE_REF_TO_TEXTURE);
    m_color->bind(0);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR_MIPMAP_LINEAR);
    const Vector4f white = Vector4f::Ones();
    const Vector4f black(0, 0, 0, 1);
    EXPECT_EQ(render(transparency, {layer(0.6F, white), layer(0.5F, white)}), Picture(numPixels, black));
    EXPECT_EQ(render(transparency, {layer(0.6F, white), layer(0.4F, white)}), Picture(numPixels, white));
}

TEST_F(OrderIndependentTransparencyGL, AFrameThatOverflowsMakesRoomForTheNext) {
    OrderIndependentTransparency transparency;
    Scene scene;
    for (int i = 1; i <= 10; ++i)
        scene.push_back(layer(float(i) / 11, Vector4f(float(i) / 10, 0, 0, 0.5F)));
    const Picture expected = renderReference(scene);
    const Picture first = render(transparency, scene);
    EXPECT_EQ(transparency.numNodesTotal(), 4 * numPixels);
    EXPECT_GT(largestDifference(first, expected), 0.01F);
    EXPECT_TRUE(log().take(category).empty());
    const Picture second = render(transparency, scene);
    EXPECT_LT(largestDifference(second, expected), 0.5F / 255);
    EXPECT_EQ(transparency.numNodesTotal(), 11 * numPixels);
    EXPECT_EQ(
        log().take(category),
        (std::vector<LogLine>{{1, std::string(category), "Increasing node buffer size to 11 nodes/pixel"}}));
    // The lists start empty in each frame, and one frame may be blended twice.
    EXPECT_EQ(render(transparency, {}), m_color->download<Vector4f>());
    (void)render(transparency, scene);
    clearColorBuffer(Vector4f::Zero());
    transparency.renderBlendedFragments(*m_color, *m_depth);
    EXPECT_EQ(m_target->download<Vector4f>(), second);
}

// The allocations of storage blocks, in bytes.
std::vector<GLsizeiptr>& storageAllocations() {
    static std::vector<GLsizeiptr> list;
    return list;
}
PFNGLBUFFERDATAPROC realBufferData = nullptr;
void recordBufferData(GLenum target, GLsizeiptr bytes, const void* data, GLenum usage) {
    if (target == GL_SHADER_STORAGE_BUFFER) {
        EXPECT_EQ(usage, GLenum{GL_DYNAMIC_COPY});
        storageAllocations().push_back(bytes);
    }
    realBufferData(target, bytes, data, usage);
}

TEST_F(OrderIndependentTransparencyGL, AllocatesForTheLargestSizeAndDemand) {
    const ScopedEntryPoint recording(glad_glBufferData, &recordBufferData);
    realBufferData = recording.original();
    const auto takeAllocations = [] { return std::exchange(storageAllocations(), {}); };
    using Sizes = std::vector<GLsizeiptr>;
    OrderIndependentTransparency transparency;
    EXPECT_EQ(transparency.numNodesTotal(), 0U);

    transparency.reset(Vector2i(800, 600), false);
    EXPECT_EQ(takeAllocations(), Sizes{800L * 600 * 4 * 12});
    transparency.reset(Vector2i(800, 600), true); // an unchanged size is never allocated anew
    transparency.reset(Vector2i(80, 60), false);
    EXPECT_EQ(takeAllocations(), Sizes{});
    EXPECT_EQ(transparency.numNodesTotal(), 800U * 600 * 4);
    transparency.reset(Vector2i(800, 600), true);
    EXPECT_EQ(takeAllocations(), Sizes{800L * 600 * 4 * 12});

    pretendDemand(5'000'000, transparency, *m_gather);
    transparency.reset(Vector2i(800, 600), false);
    EXPECT_EQ(takeAllocations(), Sizes{800L * 600 * 12 * 12});
    EXPECT_TRUE(log().takeLine({1, std::string(category), "Increasing node buffer size to 12 nodes/pixel"}));
    transparency.reset(Vector2i(801, 10), false); // the new image is as small as the size
    EXPECT_EQ(takeAllocations(), Sizes{801L * 10 * 12 * 12});
}

TEST_F(OrderIndependentTransparencyGL, TheDriversLimitStopsGrowthWithOneWarningPerSize) {
    OrderIndependentTransparency transparency;
    const auto countWarnings = [this] {
        const auto lines = log().take(category);
        return std::ranges::count(lines, 3, &LogLine::level);
    };
    GLint64 blockSize = 0;
    glGetInteger64v(GL_MAX_SHADER_STORAGE_BLOCK_SIZE, &blockSize);
    if (blockSize > 1 << 28)
        GTEST_SKIP() << "the driver has room for more than a test should allocate";
    const auto affordable = static_cast<unsigned>(blockSize / 12 / (800L * 600));
    for (const Vector2i& viewport : {Vector2i(800, 600), Vector2i(799, 600)}) {
        transparency.reset(viewport, false);
        EXPECT_EQ(countWarnings(), 0);
        for (int frame = 0; frame < 3; ++frame) {
            pretendDemand(0xFFFFFFFF, transparency, *m_gather);
            transparency.reset(viewport, false);
            EXPECT_EQ(transparency.numNodesTotal(), affordable * 800 * 600);
            EXPECT_EQ(countWarnings(), frame == 0 ? 1 : 0) << "frame " << frame;
        }
    }
}

TEST_F(OrderIndependentTransparencyGL, ASizeWithoutPixelsTakesNoFragments) {
    OrderIndependentTransparency transparency;
    const Scene scene = {layer(0.5F, Vector4f::Ones())};
    for (const Vector2i& empty : {Vector2i(0, 0), Vector2i(0, 5), Vector2i(-3, 5), Vector2i(0, 5)}) {
        transparency.reset(empty, true);
        gather(transparency, scene);
        pretendDemand(7, transparency, *m_gather);
        transparency.renderBlendedFragments(*m_color, *m_depth);
        EXPECT_EQ(m_target->download<Vector4f>(), m_color->download<Vector4f>());
    }
    EXPECT_EQ(render(transparency, scene), Picture(numPixels, Vector4f::Ones()));
}

TEST_F(OrderIndependentTransparencyGL, FragmentsOutsideTheListsAreLeftOut) {
    OrderIndependentTransparency transparency;
    transparency.reset(Vector2i(size.x() / 2, size.y()), false);
    gather(transparency, {layer(0.5F, Vector4f::Ones())});
    transparency.renderBlendedFragments(*m_color, *m_depth);
    const Picture picture = m_target->download<Vector4f>();
    EXPECT_EQ(picture.front(), Vector4f::Ones());
    EXPECT_EQ(picture.back(), m_color->download<Vector4f>().back());
}

TEST_F(OrderIndependentTransparencyGL, OneProgramServesSeveralObjectsInTurn) {
    OrderIndependentTransparency first;
    OrderIndependentTransparency second;
    const Vector4f red(1, 0, 0, 1);
    const Vector4f green(0, 1, 0, 1);
    for (int frame = 0; frame < 2; ++frame) {
        first.reset(size, false);
        second.reset(size, false);
        gather(first, {layer(0.5F, red)});
        gather(second, {layer(0.5F, green)});
        first.renderBlendedFragments(*m_color, *m_depth);
        EXPECT_EQ(m_target->download<Vector4f>(), Picture(numPixels, red));
        second.renderBlendedFragments(*m_color, *m_depth);
        EXPECT_EQ(m_target->download<Vector4f>(), Picture(numPixels, green));
    }
    OrderIndependentTransparency moved(std::move(first));
    second = std::move(moved);
    EXPECT_EQ(render(second, {layer(0.5F, red)}), Picture(numPixels, red));
}

constexpr GLenum switches[] = {
    GL_BLEND,          GL_DEPTH_TEST,          GL_SCISSOR_TEST,       GL_STENCIL_TEST,   GL_CULL_FACE,
    GL_COLOR_LOGIC_OP, GL_POLYGON_SMOOTH,      GL_RASTERIZER_DISCARD, GL_CLIP_DISTANCE0, GL_CLIP_DISTANCE7,
    GL_SAMPLE_MASK,    GL_POLYGON_OFFSET_FILL, GL_DEPTH_CLAMP,        GL_DITHER};

// Everything that could keep the pass from drawing, or alter what it draws.
void setAdverseState() {
    for (const GLenum capability : switches)
        glEnable(capability);
    glBlendFuncSeparate(GL_ZERO, GL_ONE_MINUS_SRC_COLOR, GL_ZERO, GL_ONE);
    glBlendEquation(GL_FUNC_REVERSE_SUBTRACT);
    glDepthFunc(GL_NEVER);
    glScissor(3, 3, 5, 5);
    glStencilFunc(GL_NEVER, 1, 0xFF);
    glCullFace(GL_FRONT_AND_BACK);
    glFrontFace(GL_CW);
    glLogicOp(GL_INVERT);
    glPolygonMode(GL_FRONT_AND_BACK, GL_POINT);
    glColorMask(GL_FALSE, GL_TRUE, GL_FALSE, GL_FALSE);
    glSampleMaski(0, 0);
    glActiveTexture(GL_TEXTURE5);
}

void setDefaultState() {
    for (const GLenum capability : switches)
        if (capability != GL_DITHER)
            glDisable(capability);
    glBlendFunc(GL_ONE, GL_ZERO);
    glBlendEquation(GL_FUNC_ADD);
    glDepthFunc(GL_LESS);
    glStencilFunc(GL_ALWAYS, 0, 0xFFFFFFFF);
    glCullFace(GL_BACK);
    glFrontFace(GL_CCW);
    glLogicOp(GL_COPY);
    glPolygonMode(GL_FRONT_AND_BACK, GL_FILL);
    glColorMask(GL_TRUE, GL_TRUE, GL_TRUE, GL_TRUE);
    glSampleMaski(0, 0xFFFFFFFF);
    glActiveTexture(GL_TEXTURE0);
}

std::vector<int> readPipeline() {
    std::vector<int> state;
    for (const GLenum capability : switches)
        state.push_back(glIsEnabled(capability));
    for (const int name :
         {GL_BLEND_SRC_RGB, GL_BLEND_DST_RGB, GL_BLEND_SRC_ALPHA, GL_BLEND_DST_ALPHA, GL_BLEND_EQUATION_RGB,
          GL_DEPTH_FUNC, GL_DEPTH_WRITEMASK, GL_STENCIL_FUNC, GL_CULL_FACE_MODE, GL_FRONT_FACE,
          GL_LOGIC_OP_MODE, GL_ACTIVE_TEXTURE, GL_CURRENT_PROGRAM, GL_VERTEX_ARRAY_BINDING,
          GL_DRAW_FRAMEBUFFER_BINDING, GL_READ_FRAMEBUFFER_BINDING})
        state.push_back(getInt(GLenum(name)));
    std::array<GLint, 4> values{};
    for (const int name : {GL_SCISSOR_BOX, GL_VIEWPORT, GL_POLYGON_MODE, GL_COLOR_WRITEMASK}) {
        glGetIntegerv(GLenum(name), values.data());
        state.insert(state.end(), values.begin(), values.end());
    }
    return state;
}

TEST_F(OrderIndependentTransparencyGL, TheCallersStateNeitherMattersNorChanges) {
    OrderIndependentTransparency transparency;
    const Scene scene = randomScene(m_random, 20);
    const Picture expected = render(transparency, scene);
    Texture depth(Texture::Target::Texture2D, Vector3i(size.x(), size.y(), 1),
                  InternalFormat::Depth24Stencil8);
    Texture second(Texture::Target::Texture2D, Vector3i(size.x(), size.y(), 1), InternalFormat::RGBA32F);
    m_framebuffer->attach(depth, 0);
    m_framebuffer->attach(second, 1);
    m_framebuffer->setDrawBuffers();
    clearDepthBuffer(0.25);
    clearColorBuffer(Vector4f(9, 9, 9, 9));
    second.clear(Vector4f(1, 2, 3, 4));
    GLuint vertexArray = 0;
    glGenVertexArrays(1, &vertexArray);
    glBindVertexArray(vertexArray);
    m_gather->enable();
    setAdverseState();
    const std::vector<int> before = readPipeline();
    transparency.renderBlendedFragments(*m_color, *m_depth);
    EXPECT_EQ(readPipeline(), before);
    setDefaultState();
    m_gather->disable();
    glBindVertexArray(0);
    glDeleteVertexArrays(1, &vertexArray);

    EXPECT_EQ(m_target->download<Vector4f>(), expected);
    EXPECT_EQ(second.download<Vector4f>(), Picture(numPixels, Vector4f(1, 2, 3, 4)));
    float depthAfter = 0;
    glReadPixels(1, 1, 1, 1, GL_DEPTH_COMPONENT, GL_FLOAT, &depthAfter);
    EXPECT_NEAR(depthAfter, 0.25F, 1e-6F);
    m_framebuffer->detachAll();
    attach(*m_target);
}

// Blending, the scissor test and the colour mask can be set for each draw buffer and viewport.
TEST_F(OrderIndependentTransparencyGL, PutsIndexedStateBack) {
    OrderIndependentTransparency transparency;
    glEnablei(GL_BLEND, 1);
    glEnablei(GL_SCISSOR_TEST, 1);
    glColorMaski(1, GL_TRUE, GL_FALSE, GL_TRUE, GL_FALSE);
    (void)render(transparency, {});
    EXPECT_TRUE(glIsEnabledi(GL_BLEND, 1));
    EXPECT_FALSE(glIsEnabledi(GL_BLEND, 0));
    EXPECT_TRUE(glIsEnabledi(GL_SCISSOR_TEST, 1));
    EXPECT_FALSE(glIsEnabledi(GL_SCISSOR_TEST, 0));
    std::array<GLboolean, 4> mask{};
    glGetBooleani_v(GL_COLOR_WRITEMASK, 1, mask.data());
    EXPECT_EQ(mask, (std::array<GLboolean, 4>{GL_TRUE, GL_FALSE, GL_TRUE, GL_FALSE}));
    glDisable(GL_BLEND);
    glDisablei(GL_SCISSOR_TEST, 1);
    glColorMask(GL_TRUE, GL_TRUE, GL_TRUE, GL_TRUE);
}

std::string constructionFailure() {
    try {
        const OrderIndependentTransparency transparency;
        return "";
    } catch (const std::runtime_error& error) {
        return error.what();
    }
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
    const auto lines = log().take(category);
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_EQ(lines[0].level, 3);
    (void)log().take("GL.Program"); // what the shaders were said to lack
    EXPECT_FALSE(OrderIndependentTransparency::isSupported());
    EXPECT_EQ(constructionFailure(), "GL::OrderIndependentTransparency requires OpenGL 4.4");
}

} // namespace

} // namespace Veltrand::GL
