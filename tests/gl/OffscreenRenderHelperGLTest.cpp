// SPDX-License-Identifier: BSD-3-Clause
#include "support/GLTest.h"

#include <Veltrand/GL/OffscreenRenderHelper.h>

namespace Veltrand::GL {

namespace {

using RenderBuffer = OffscreenRenderHelper::RenderBuffer;
using Processing = OffscreenRenderHelper::ColorPostProcessing;
using Config = OffscreenRenderHelper::BufferConfig;
using Depths = std::vector<float>;

constexpr const char* category = "GL.OffscreenRenderHelper";
constexpr auto color = InternalFormat::RGBA8;
constexpr auto depth = InternalFormat::DepthComponent32F;
const Vector2i size(7, 1);

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
    Texture foreign({7, 1, 1}, InternalFormat::RGBA8);
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
    const Testing::StateNames limits{"scissor test", "scissor box", "color mask", "depth mask",
                                     "stencil mask"};
    Testing::setState(limits, true);
    CallCounter<glad_glGenTextures> textures;
    CallCounter<glad_glGenFramebuffers> framebuffers;
    {
        const RenderBuffer again = m_helper.create(size, color, packed);
        EXPECT_EQ(target(), (std::array<GLuint, 2>{name, 7}));
        EXPECT_EQ(textures.take() + framebuffers.take(), 0);
        EXPECT_TRUE(again.framebuffer().isComplete());
        EXPECT_EQ(again.framebuffer().colorAttachments().size(), 1U);
        EXPECT_EQ(again.colorTexture().download<Vector4f>(), std::vector<Vector4f>(7, Vector4f::Zero()));
        std::array<unsigned, 7> texels{};
        again.depthTexture().downloadTo(PixelFormat::DepthStencil, PixelType::UInt248,
                                        std::as_writable_bytes(std::span(texels)));
        EXPECT_EQ(texels[6], 0xFFFFFF00);
    }
    Testing::setState(limits, false);
    EXPECT_EQ(OffscreenRenderHelper::BufferConfigHasher()(
                  {512, 256, InternalFormat::RGBA8, InternalFormat::DepthComponent24}),
              0x96bc047e6e93145aU);
}

TEST_F(OffscreenRenderHelperGL, LendsBuffersWithTheirOwnAttachments) {
    Texture colors(Texture::Target::Texture2D, {7, 1, 1}, color);
    Texture depths(Texture::Target::Texture2D, {7, 1, 1}, depth);
    const std::function<void(Framebuffer&)> changes[]{
        [&](Framebuffer& framebuffer) { framebuffer.attach(colors, 0); },
        [&](Framebuffer& framebuffer) { framebuffer.attach(depths, 0); },
        [](Framebuffer& framebuffer) { framebuffer.clearDrawBuffers(); },
    };
    for (const auto& change : changes) {
        change(lend().framebuffer());
        const RenderBuffer again = lend();
        putPixel(3, Vector4f::Ones(), 0.25F);
        EXPECT_EQ(again.colorTexture().download<Vector4f>()[3], Vector4f::Ones());
        EXPECT_EQ(again.depthTexture().download<float>()[3], 0.25F);
    }
}

// Lends of two helpers, one in the other; between them the caller may have bound a framebuffer of its own.
// The list moves its buffers as it grows, and over each other as it shrinks.
TEST_F(OffscreenRenderHelperGL, ReturnsInAnyOrderRestoreWhatWasThereBeforeTheFirst) {
    const auto before = target();
    Framebuffer own;
    OffscreenRenderHelper other;
    other.setCacheSize(0); // its framebuffers end as they come back
    for (const bool binds : {false, true}) {
        std::array<int, 4> order{1, 2, 3, 4}; // widths
        do {
            SCOPED_TRACE(testing::PrintToString(order) + (binds ? " with one of the caller's" : ""));
            std::vector<RenderBuffer> lent;
            for (const int width : {1, 2, 3, 4}) {
                if (binds && width == 3)
                    own.bind();
                lent.push_back((width % 2 == 0 ? m_helper : other).create({width, 1}, color, depth));
            }
            for (const int width : order) {
                const auto hasWidth = [width](const RenderBuffer& b) {
                    return b.colorTexture().width() == width;
                };
                const bool innermost = hasWidth(lent.back());
                lent.erase(std::ranges::find_if(lent, hasWidth));
                EXPECT_TRUE(innermost || target()[1] == GLuint(lent.back().colorTexture().width()));
            }
            EXPECT_EQ(target(), before);
        } while (std::ranges::next_permutation(order).found);
    }
    RenderBuffer outer = lend();
    RenderBuffer inner = lend();
    inner = std::move(outer);
    EXPECT_TRUE(outer.isEmpty()); // NOLINT(bugprone-use-after-move)
    EXPECT_EQ(target()[0], inner.framebuffer().id());
}

TEST_F(OffscreenRenderHelperGL, EvictsTheLeastRecentlyUsedAndNeverTakesThemBack) {
    std::vector<Config> evicted;
    m_helper.evictionSignal().connect([&](const Config& config) { evicted.push_back(config); });
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
    m_helper.evictionSignal().connect([](const Config&) { throw std::runtime_error("no"); });
    (void)lend();
    expectLine(4, category, "A slot of the eviction signal has thrown as a buffer came back: no");
}

TEST_F(OffscreenRenderHelperGL, WhatCannotBeLentIsLoggedAndEmpty) {
    const int most = getInt(GL_MAX_TEXTURE_SIZE);
    const auto before = target();
    CallCounter<glad_glGenTextures> made;
    CallCounter<glad_glDeleteTextures> deleted;
    for (const Config& config :
         {Config{0, 5, color, depth}, Config{5, 1 << 20, color, depth}, Config{5, 5, depth, depth},
          Config{most, most, InternalFormat::RGBA32F, InternalFormat::DepthComponent16}}) {
        RenderBuffer buffer =
            m_helper.create({config.width, config.height}, config.colorFormat, config.depthFormat);
        EXPECT_TRUE(buffer.isEmpty());
        EXPECT_EQ(target(), before);
        buffer.blendToParent();
    }
    EXPECT_EQ(made.take(), deleted.take());
    std::string texts;
    for (const LogLine& line : log().take(category))
        texts += std::to_string(line.level) + line.text + '\n';
    const std::string limit = std::to_string(most);
    EXPECT_EQ(
        texts,
        "4Cannot lend a buffer of 0 x 5 pixels: each side can have 1 to " + limit + ".\n" +
            "4Cannot lend a buffer of 5 x 1048576 pixels: each side can have 1 to " + limit + ".\n" +
            "4Cannot lend a buffer with color in format \"DepthComponent32F\" and depth in format "
            "\"DepthComponent32F\".\n" +
            "4Cannot lend a buffer of " + limit + " x " + limit +
            " pixels in the formats \"RGBA32F\" and \"DepthComponent16\": the driver does not provide it.\n");
    (void)log().take("GL.Debug"); // the driver's refusal
}

// A blue parent with depth, and a second buffer that must stay as it is.
class OffscreenBlendGL : public OffscreenRenderHelperGL {
protected:
    OffscreenBlendGL() {
        m_framebuffer.bind();
        m_framebuffer.attach(m_color, 0);
        m_framebuffer.attach(m_other, 1);
        m_framebuffer.attach(m_depth, 0);
        m_framebuffer.setDrawBuffers();
        glViewport(0, 0, size.x(), size.y());
        m_other.clear<unsigned>(Eigen::Matrix<unsigned, 4, 1>::Constant(9));
        clearParent();
    }
    void TearDown() override {
        EXPECT_EQ(m_other.download<unsigned>(), std::vector<unsigned>(7, 9));
        GLFixture::TearDown();
    }
    void clearParent() {
        m_color.clear<float>(Vector4f(0, 0, 1, 1));
        m_depth.clear<float>(Vector4f(0.5F, 0, 0, 0));
    }
    RenderBuffer lendPainted() {
        RenderBuffer buffer = lend();
        putPixel(0, Vector4f(0, 1, 0, 1), 0.25F);
        putPixel(1, Vector4f(1, 0, 0, 1), 0.75F);
        putPixel(2, Vector4f(0.5F, 0, 0, 0.5F), 0.25F);
        putPixel(3, Vector4f(0.5F, 0, 0, 0.5F), 1);
        putPixel(4, Vector4f(0.5F, 0.5F, 0.5F, 1), 1);
        putPixel(6, Vector4f(0, 1, 0, 1), 0.25F);
        return buffer;
    }
    // Red, green and blue of each pixel, in quarters.
    [[nodiscard]] std::string colors() const {
        std::string digits;
        for (const Vector4f& texel : m_color.download<Vector4f>())
            for (const int channel : {0, 1, 2, 3})
                digits += channel < 3 ? char('0' + std::lround(4 * texel[channel])) : ' ';
        return digits;
    }
    static Texture row(InternalFormat format) {
        return {Texture::Target::Texture2D, Vector3i(size.x(), size.y(), 1), format};
    }

    StateGuard m_guard{StateGuard::SaveFlags::Framebuffer | StateGuard::SaveFlags::Viewport};
    Texture m_color = row(InternalFormat::RGBA8);
    Texture m_other = row(InternalFormat::R32UI);
    Texture m_depth = row(InternalFormat::DepthComponent32F);
    Framebuffer m_framebuffer;
};

TEST_F(OffscreenBlendGL, LaysTheProcessedPictureOverTheParentAsItsDepthTestSays) {
    m_helper.setWindowLevel(0.4F, 0.5F);
    m_helper.setColorRamp({Vector4f(0, 0, 0, 1), Vector4f(1, 0, 0, 1), Vector4f(1, 1, 0, 0.5F)});
    m_helper.setOutline(Vector4f(1, 1, 1, 0.5F), 0); // at least one pixel wide
    const Depths covered{0.25F, 0.75F, 0.25F, 0.5F, 0.5F, 0.5F, 0.25F};
    const Depths nearer{0.25F, 0.5F, 0.25F, 0.5F, 0.5F, 0.5F, 0.25F};
    const Depths outlined{0.25F, 0.75F, 0.25F, 0.5F, 0.5F, 0.25F, 0.25F};
    const struct {
        Processing processing;
        bool test;
        GLboolean mask;
        const char* colors;
        Depths depths;
    } cases[]{
        {Processing::Unchanged, false, GL_TRUE, "040 400 202 202 222 004 040 ", covered},
        {Processing::Unchanged, true, GL_TRUE, "040 004 202 202 222 004 040 ", nearer},
        {Processing(77), true, GL_FALSE, "040 004 202 202 222 004 040 ", Depths(7, 0.5F)},
        {Processing::Grey, false, GL_TRUE, "333 111 002 002 222 004 333 ", covered},
        // Green lies above the window and red below it.
        {Processing::WindowLevel, false, GL_TRUE, "222 000 002 002 400 004 222 ", covered},
        {Processing::Outline, false, GL_TRUE, "040 400 312 312 222 224 040 ", outlined},
    };
    glBlendEquation(GL_MAX);
    for (const auto& expected : cases) {
        SCOPED_TRACE(std::to_string(int(expected.processing)) + (expected.test ? " tested" : ""));
        clearParent();
        RenderBuffer buffer = lendPainted();
        (expected.test ? glEnable : glDisable)(GL_DEPTH_TEST);
        glDepthMask(expected.mask);
        buffer.blendToParent(expected.processing);
        glDepthMask(GL_TRUE);
        EXPECT_EQ(m_depth.download<float>(), expected.depths);
        EXPECT_EQ(colors(), expected.colors);
    }
    glBlendEquation(GL_FUNC_ADD);

    RenderBuffer integers = m_helper.create(size, InternalFormat::RGBA8UI, depth);
    integers.blendToParent();
    expectLine(4, category, "Cannot blend a buffer of format \"RGBA8UI\".");
}

TEST_F(OffscreenBlendGL, GoesOntoTheParentOfAParentThatIsBack) {
    const auto before = target();
    std::optional<RenderBuffer> outer = lend();
    std::optional<RenderBuffer> inner = lendPainted();
    outer.reset();
    inner->blendToParent();
    EXPECT_EQ(colors(), "040 400 202 202 222 004 040 ");
    EXPECT_EQ(target(), before);
    inner->framebuffer().bind(); // behind its back
    inner.reset();
    EXPECT_EQ(target(), before);
}

TEST_F(OffscreenBlendGL, GoesIntoTheListsOfTransparency) {
    if (!OrderIndependentTransparency::isSupported())
        GTEST_SKIP() << "needs OpenGL 4.4";
    OrderIndependentTransparency transparency;
    transparency.reset(size, false);
    lendPainted().blendToParent(Processing::Unchanged, &transparency);
    EXPECT_EQ(colors(), "004 004 004 004 004 004 004 ");
    EXPECT_EQ(m_depth.download<float>(), Depths(7, 0.5F));
    Texture background = row(InternalFormat::RGBA8);
    background.clear<float>(Vector4f(0, 0, 1, 1));
    Texture half = row(InternalFormat::R32F);
    half.clear<float>(Vector4f::Constant(0.5F));
    transparency.renderBlendedFragments(background, half);
    EXPECT_EQ(colors(), "040 004 202 202 222 004 040 ");
}

} // namespace

} // namespace Veltrand::GL
