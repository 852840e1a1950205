// SPDX-License-Identifier: BSD-3-Clause
#include "support/CallCounter.h"
#include "support/GLFixture.h"

#include <Veltrand/GL/Framebuffer.h>
#include <Veltrand/GL/Functions.h>
#include <Veltrand/GL/OffscreenRenderHelper.h>
#include <Veltrand/GL/OrderIndependentTransparency.h>
#include <Veltrand/GL/StateGuard.h>
#include <Veltrand/GL/Texture.h>

#include <Eigen/Core>
#include <array>
#include <glad/gl.h>
#include <gtest/gtest.h>
#include <optional>
#include <stdexcept>
#include <utility>
#include <vector>

namespace Veltrand::GL {

namespace {

using Eigen::Vector2i;
using Eigen::Vector3i;
using Eigen::Vector4f;
using Testing::CallCounter;
using Testing::LogLine;
using RenderBuffer = OffscreenRenderHelper::RenderBuffer;
using Processing = OffscreenRenderHelper::ColorPostProcessing;
using Config = OffscreenRenderHelper::BufferConfig;
using Depths = std::vector<float>;

constexpr std::string_view category = "GL.OffscreenRenderHelper";
constexpr auto color = InternalFormat::RGBA8;
constexpr auto depth = InternalFormat::DepthComponent32F;
const Vector2i size(6, 1);

// What would limit a clear.
void limitDrawing(bool limited) {
    const GLboolean written = limited ? GL_FALSE : GL_TRUE;
    (limited ? glEnable : glDisable)(GL_SCISSOR_TEST);
    glScissor(0, 0, 1, 1);
    glColorMask(written, written, written, written);
    glDepthMask(written);
    glStencilMask(limited ? 0U : 0xFFFFFFFF);
}

// Draws one pixel of the bound framebuffer: premultiplied colour, and depth unless it is 1.
void putPixel(int x, const Vector4f& premultiplied, float z) {
    glEnable(GL_SCISSOR_TEST);
    glScissor(x, 0, 1, 1);
    glClearBufferfv(GL_COLOR, 0, premultiplied.data());
    if (z < 1)
        glClearBufferfv(GL_DEPTH, 0, &z);
    glDisable(GL_SCISSOR_TEST);
}

class OffscreenRenderHelperGL : public Testing::GLFixture {
protected:
    RenderBuffer lend(const Vector2i& pixels = size) { return m_helper.create(pixels, color, depth); }
    // Framebuffer and width of the viewport.
    static std::array<GLuint, 2> target() {
        std::array<GLint, 4> viewport{};
        glGetIntegerv(GL_VIEWPORT, viewport.data());
        return {GLuint(getInt(GL_FRAMEBUFFER_BINDING)), GLuint(viewport[2])};
    }

    OffscreenRenderHelper m_helper;
};

TEST_F(OffscreenRenderHelperGL, LendsDistinctBuffersAndTheCachedOneCleared) {
    const InternalFormat packed = InternalFormat::Depth24Stencil8;
    GLuint name = 0;
    Texture foreign({6, 1, 1}, InternalFormat::RGBA8);
    {
        const RenderBuffer one = m_helper.create(size, color, packed);
        const RenderBuffer two = m_helper.create(size, color, packed);
        name = one.framebuffer().id();
        EXPECT_NE(two.framebuffer().id(), name);
        EXPECT_NE(two.colorTexture().id(), one.colorTexture().id());
        one.framebuffer().bind();
        one.framebuffer().attach(foreign, 1);
        one.framebuffer().detach(Framebuffer::Attachment::DepthStencil);
        clearColorBuffer(Vector4f::Ones());
    }
    limitDrawing(true);
    CallCounter<glad_glGenTextures> textures;
    CallCounter<glad_glGenFramebuffers> framebuffers;
    {
        const RenderBuffer again = m_helper.create(size, color, packed);
        EXPECT_EQ(target(), (std::array<GLuint, 2>{name, 6}));
        EXPECT_EQ(textures.take() + framebuffers.take(), 0);
        EXPECT_TRUE(again.framebuffer().isComplete());
        EXPECT_EQ(again.framebuffer().colorAttachments().size(), 1U);
        EXPECT_EQ(again.colorTexture().download<Vector4f>(), std::vector<Vector4f>(6, Vector4f::Zero()));
        std::array<unsigned, 12> texels{};
        again.depthTexture().downloadTo(PixelFormat::DepthStencil, PixelType::UInt248,
                                        std::as_writable_bytes(std::span(texels).first<6>()));
        EXPECT_EQ(texels[5], 0xFFFFFF00);
    }
    GLint mask = 1;
    glGetIntegerv(GL_COLOR_WRITEMASK, &mask);
    EXPECT_EQ(mask, 0);
    EXPECT_TRUE(getBool(GL_SCISSOR_TEST));
    EXPECT_FALSE(getBool(GL_DEPTH_WRITEMASK));
    limitDrawing(false);
    EXPECT_EQ(OffscreenRenderHelper::BufferConfigHasher()(
                  {512, 256, InternalFormat::RGBA8, InternalFormat::DepthComponent24}),
              0x96bc047e6e93145aU);
}

TEST_F(OffscreenRenderHelperGL, MovesKeepTheOrderInWhichTargetsComeBack) {
    const auto parent = target();
    const auto of = [](const RenderBuffer& buffer) {
        return std::array<GLuint, 2>{buffer.framebuffer().id(), GLuint(buffer.colorTexture().width())};
    };
    RenderBuffer held = lend();
    {
        RenderBuffer source = lend({3, 1});
        RenderBuffer moved = std::move(source);
        EXPECT_TRUE(source.isEmpty()); // NOLINT(bugprone-use-after-move)
        source = RenderBuffer();
        EXPECT_EQ(target(), of(moved));
    }
    EXPECT_EQ(target(), of(held));
    held = lend({4, 1}); // lent while the one before is its parent
    EXPECT_EQ(of(held)[1], 4U);
    EXPECT_EQ(target(), of(held));
    RenderBuffer inner = lend({5, 1});
    inner = std::move(held); // the other way round
    EXPECT_EQ(target(), of(inner));
    RenderBuffer& self = inner;
    inner = std::move(self);
    EXPECT_FALSE(inner.isEmpty());
    inner = RenderBuffer();
    EXPECT_EQ(target(), parent);
}

TEST_F(OffscreenRenderHelperGL, EvictsTheLeastRecentlyUsedAndNeverTakesThemBack) {
    std::vector<Config> evicted;
    m_helper.evictionSignal().connect([&](const Config& config) { evicted.push_back(config); });
    EXPECT_EQ(m_helper.cacheSize(), 10);
    m_helper.setCacheSize(2);
    CallCounter<glad_glDeleteFramebuffers> deleted;
    for (const int width : {1, 2, 1, 3})
        (void)lend({width, 1});
    EXPECT_EQ(evicted, (std::vector<Config>{{2, 1, color, depth}}));
    EXPECT_EQ(deleted.take(), 1);
    {
        const RenderBuffer out = lend({4, 1});
        m_helper.setCacheSize(0);
        EXPECT_EQ(deleted.take(), 2);
        EXPECT_EQ(target()[0], out.framebuffer().id());
    }
    EXPECT_EQ(deleted.take(), 1);
    EXPECT_EQ(evicted.size(), 4U);
    m_helper.setCacheSize(-1);
    EXPECT_EQ(m_helper.cacheSize(), 0);

    m_helper.evictionSignal().connect([](const Config&) { throw std::runtime_error("no"); });
    (void)lend();
    EXPECT_EQ(log().take(category),
              (std::vector<LogLine>{{4, std::string(category),
                                     "A slot of the eviction signal has thrown as a buffer came back: no"}}));
}

TEST_F(OffscreenRenderHelperGL, WhatCannotBeLentIsLoggedAndEmpty) {
    const std::string limit = std::to_string(getInt(GL_MAX_TEXTURE_SIZE));
    const int most = getInt(GL_MAX_TEXTURE_SIZE);
    const struct {
        Vector2i size;
        InternalFormat color;
        InternalFormat depth;
        std::string text;
    } cases[]{
        {{0, 5},
         color,
         depth,
         "Cannot lend a buffer of 0 x 5 pixels: each side can have 1 to " + limit + "."},
        {{5, most + 1},
         color,
         depth,
         "Cannot lend a buffer of 5 x " + std::to_string(most + 1) + " pixels: each side can have 1 to " +
             limit + "."},
        {size, depth, depth,
         "Cannot lend a buffer with color in format \"DepthComponent32F\" and depth in format "
         "\"DepthComponent32F\"."},
        {size, color, color,
         "Cannot lend a buffer with color in format \"RGBA8\" and depth in format \"RGBA8\"."},
        {{most, most},
         InternalFormat::RGBA32F,
         depth,
         "Cannot lend a buffer of " + limit + " x " + limit +
             " pixels in the formats \"RGBA32F\" and \"DepthComponent32F\": the driver does not provide it."},
    };
    const auto before = target();
    CallCounter<glad_glGenTextures> made;
    CallCounter<glad_glDeleteTextures> deleted;
    for (const auto& refused : cases) {
        RenderBuffer buffer = m_helper.create(refused.size, refused.color, refused.depth);
        EXPECT_TRUE(buffer.isEmpty()) << refused.text;
        EXPECT_EQ(target(), before);
        EXPECT_TRUE(log().takeLine({4, std::string(category), refused.text})) << refused.text;
        buffer.blendToParent();
    }
    EXPECT_EQ(made.take(), deleted.take());
    for (const LogLine& line : log().take()) // the driver's refusal
        EXPECT_TRUE(line.text.starts_with("OpenGL ")) << line;
}

// A parent of six pixels with a colour each and depth, behind which a second buffer must stay as it is.
class OffscreenBlendGL : public OffscreenRenderHelperGL {
protected:
    void SetUp() override {
        OffscreenRenderHelperGL::SetUp();
        m_guard.emplace(StateGuard::SaveFlags::Framebuffer | StateGuard::SaveFlags::Viewport);
        m_framebuffer.bind();
        m_framebuffer.attach(m_color, 0);
        m_framebuffer.attach(m_other, 1);
        m_framebuffer.attach(m_depth, 0);
        m_framebuffer.setDrawBuffers();
        glViewport(0, 0, size.x(), size.y());
        clearParent();
    }
    void TearDown() override {
        EXPECT_EQ(m_other.download<unsigned>(), std::vector<unsigned>(6, 9));
        m_guard.reset();
        GLFixture::TearDown();
    }
    void clearParent() {
        m_color.clear<float>(Vector4f(0, 0, 1, 1));
        m_depth.clear<float>(Vector4f(0.5F, 0, 0, 0));
        m_other.clear<unsigned>(Eigen::Matrix<unsigned, 4, 1>::Constant(9));
    }
    static Texture row(InternalFormat format) {
        return {Texture::Target::Texture2D, Vector3i(size.x(), size.y(), 1), format};
    }

    Texture m_color = row(InternalFormat::RGBA32F);
    Texture m_other = row(InternalFormat::R32UI);
    Texture m_depth = row(InternalFormat::DepthComponent32F);
    Framebuffer m_framebuffer;
    std::optional<StateGuard> m_guard;
};

TEST_F(OffscreenBlendGL, LaysThePictureOverTheParentAsItsDepthTestSays) {
    const Vector4f blue(0, 0, 1, 1);
    const Vector4f red(1, 0, 0, 1);
    const Vector4f half(0.5F, 0, 0, 0.5F); // premultiplied
    const Vector4f mixed(0.5F, 0, 0.5F, 1);
    const struct {
        bool test;
        GLboolean mask;
        std::vector<Vector4f> colors;
        Depths depths;
    } cases[]{
        {false, GL_TRUE, {red, red, mixed, mixed, red, blue}, {0.25F, 0.75F, 0.25F, 0.5F, 0.5F, 0.5F}},
        {true, GL_TRUE, {red, blue, mixed, mixed, red, blue}, {0.25F, 0.5F, 0.25F, 0.5F, 0.5F, 0.5F}},
        {true, GL_FALSE, {red, blue, mixed, mixed, red, blue}, Depths(6, 0.5F)},
    };
    // All of this would spoil a plain full-screen square.
    glEnable(GL_CULL_FACE);
    glCullFace(GL_FRONT);
    glEnable(GL_COLOR_LOGIC_OP);
    glPolygonMode(GL_FRONT_AND_BACK, GL_LINE);
    glBlendEquation(GL_MAX);
    for (const auto& expected : cases) {
        clearParent();
        {
            RenderBuffer buffer = lend();
            putPixel(0, red, 0.25F);
            putPixel(1, red, 0.75F);
            putPixel(2, half, 0.25F);
            putPixel(3, half, 1);
            putPixel(4, red, 1);
            (expected.test ? glEnable : glDisable)(GL_DEPTH_TEST);
            glDepthMask(expected.mask);
            buffer.blendToParent();
        }
        EXPECT_EQ(getBool(GL_DEPTH_TEST), expected.test);
        EXPECT_EQ(m_depth.download<float>(), expected.depths);
        const auto colors = m_color.download<Vector4f>();
        for (std::size_t x = 0; x < 6; ++x)
            EXPECT_TRUE(colors[x].isApprox(expected.colors[x], 0.01F)) << x << ": " << colors[x].transpose();
    }
    EXPECT_EQ(getInt(GL_BLEND_EQUATION_RGB), GL_MAX);
    EXPECT_TRUE(getBool(GL_CULL_FACE) && getBool(GL_COLOR_LOGIC_OP));
    EXPECT_EQ(getInt(GL_POLYGON_MODE), GL_LINE);
    glDisable(GL_DEPTH_TEST);
    glDepthMask(GL_TRUE);
    glDisable(GL_CULL_FACE);
    glCullFace(GL_BACK);
    glDisable(GL_COLOR_LOGIC_OP);
    glPolygonMode(GL_FRONT_AND_BACK, GL_FILL);
    glBlendEquation(GL_FUNC_ADD);
}

TEST_F(OffscreenBlendGL, ProcessesColors) {
    m_helper.setWindowLevel(0.4F, 0.5F);
    m_helper.setColorRamp({Vector4f(0, 0, 0, 1), Vector4f(1, 0, 0, 1), Vector4f(1, 1, 0, 0.5F)});
    m_helper.setOutline(Vector4f(0, 1, 0, 0.5F), 0); // at least one pixel wide
    const Vector4f blue(0, 0, 1, 1);
    const Vector4f grey(0.5F, 0.5F, 0.5F, 1);
    const Vector4f line(0, 0.5F, 0.5F, 1);
    const struct {
        Processing processing;
        std::vector<Vector4f> colors;
    } cases[]{
        {Processing::Grey,
         {Vector4f(0.7152F, 0.7152F, 0.7152F, 1), Vector4f(0.106F, 0.106F, 0.606F, 1), blue, blue, grey,
          blue}},
        // Green lies above the window, half-transparent red below it, and grey in its middle.
        {Processing::WindowLevel,
         {Vector4f(0.5F, 0.5F, 0.5F, 1), Vector4f(0, 0, 0.5F, 1), blue, blue, Vector4f(1, 0, 0, 1), blue}},
        {Processing::Outline,
         {Vector4f(0, 1, 0, 1), Vector4f(0.5F, 0.25F, 0.25F, 1), Vector4f(0, 0.25F, 0.75F, 1), line, grey,
          line}},
        {Processing(77), {Vector4f(0, 1, 0, 1), Vector4f(0.5F, 0, 0.5F, 1), blue, blue, grey, blue}},
    };
    for (const auto& expected : cases) {
        clearParent();
        {
            RenderBuffer buffer = lend();
            putPixel(0, Vector4f(0, 1, 0, 1), 0.25F);
            putPixel(1, Vector4f(0.5F, 0, 0, 0.5F), 0.25F);
            putPixel(4, grey, 0.25F);
            buffer.blendToParent(expected.processing);
        }
        const auto colors = m_color.download<Vector4f>();
        for (std::size_t x = 0; x < 6; ++x)
            EXPECT_TRUE(colors[x].isApprox(expected.colors[x], 0.02F))
                << int(expected.processing) << ", pixel " << x << ": " << colors[x].transpose();
        if (expected.processing == Processing::Outline) { // which is as deep as what it surrounds
            EXPECT_EQ(m_depth.download<float>(), Depths(6, 0.25F));
        }
    }
    RenderBuffer integers = m_helper.create(size, InternalFormat::RGBA8UI, depth);
    integers.blendToParent();
    EXPECT_TRUE(log().takeLine({4, std::string(category), "Cannot blend a buffer of format \"RGBA8UI\"."}));
}

TEST_F(OffscreenBlendGL, GoesIntoTheListsOfTransparency) {
    if (!OrderIndependentTransparency::isSupported())
        GTEST_SKIP() << "needs OpenGL 4.4";
    OrderIndependentTransparency transparency;
    transparency.reset(size, false);
    {
        RenderBuffer buffer = lend();
        putPixel(0, Vector4f(0.5F, 0, 0, 0.5F), 0.25F);
        putPixel(1, Vector4f(0.5F, 0, 0, 0.5F), 0.75F);
        putPixel(2, Vector4f(0.5F, 0, 0, 0.5F), 1);
        buffer.blendToParent(Processing::Unchanged, &transparency);
    }
    EXPECT_EQ(m_color.download<Vector4f>(), std::vector<Vector4f>(6, Vector4f(0, 0, 1, 1)));
    EXPECT_EQ(m_depth.download<float>(), Depths(6, 0.5F));
    Texture background = row(InternalFormat::RGBA8);
    background.clear<float>(Vector4f(0, 0, 1, 1));
    Texture backgroundDepth = row(InternalFormat::DepthComponent32F);
    backgroundDepth.clear<float>(Vector4f(0.5F, 0, 0, 0));
    transparency.renderBlendedFragments(background, backgroundDepth);
    const auto colors = m_color.download<Vector4f>();
    for (std::size_t x = 0; x < 6; ++x)
        EXPECT_NEAR(colors[x].x(), x == 0 || x == 2 ? 0.5F : 0, 0.01F) << x;
}

} // namespace

} // namespace Veltrand::GL
