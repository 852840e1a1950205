// SPDX-License-Identifier: BSD-3-Clause
#include "support/AllocationCounter.h"
#include "support/CallCounter.h"
#include "support/Canvas.h"
#include "support/GLFixture.h"

#include <Veltrand/Core/Resource.h>
#include <Veltrand/GL/FontAtlas.h>
#include <Veltrand/GL/Functions.h>
#include <Veltrand/GL/TextRenderer.h>
#include <Veltrand/GL/ViewState.h>
#include <Veltrand/GL/Viewport.h>

#include <cmath>
#include <glad/gl.h>
#include <gtest/gtest.h>

namespace Veltrand::GL {

namespace {

using Eigen::Vector2d;
using Eigen::Vector2i;
using Eigen::Vector3d;
using Testing::LogLine;
using AlignmentH = TextRenderer::AlignmentH;
using AlignmentV = TextRenderer::AlignmentV;
using Decoration = TextRenderer::Decoration;
using Font = TextRenderer::Font;
using Style = TextRenderer::Style;

constexpr std::string_view category = "GL.TextRenderer";
constexpr int edge = 128;
const Viewport viewport{0, 0, edge, edge};

class TextRendererGL : public Testing::GLFixture {
protected:
    void SetUp() override {
        glUseProgram(0); // the canvas's own
        GLFixture::SetUp();
    }

    /// The rectangle of pixels that are not dark, and how many they are.
    struct Ink {
        Vector2i min{edge, edge};
        Vector2i max{0, 0}; ///< the first pixel beyond
        int count = 0;
    };
    Ink ink() {
        Ink result;
        const auto pixels = m_canvas.texture().download<Eigen::Vector<unsigned char, 4>>();
        for (int i = 0; i < edge * edge; ++i)
            if (pixels[static_cast<std::size_t>(i)][0] > 63) {
                const Vector2i pixel(i % edge, i / edge);
                result.min = result.min.cwiseMin(pixel);
                result.max = result.max.cwiseMax(pixel + Vector2i::Ones());
                ++result.count;
            }
        return result;
    }
    Ink draw(const std::string& text, const Font& font, const Vector2d& position,
             AlignmentH alignH = AlignmentH::Left, AlignmentV alignV = AlignmentV::Baseline) {
        m_canvas.clear();
        m_renderer.renderText(viewport, position, text, font, alignH, alignV);
        return ink();
    }

    TextRenderer& m_renderer = *TextRenderer::get();
    Testing::Canvas m_canvas{edge, edge};
};

const ByteBuffer& fontFile(const char* style) {
    static std::map<std::string, ByteBuffer> files;
    ByteBuffer& file = files[style];
    if (file.empty())
        file = Resource::query("VeltrandGLFonts", std::string("DejaVuSans-") + style + ".ttf").value();
    return file;
}

} // namespace

TEST_F(TextRendererGL, SharesGlyphsBetweenFontsThatLookDifferent) {
    const Font plain;
    FontAtlas* const atlas = m_renderer.getFont(plain);
    ASSERT_TRUE(atlas);
    Font other;
    for (int i = 0; i < 1000; ++i) {
        other.color = Eigen::Vector4d(i, 0, 0, i % 7 == 0 ? NAN : 1);
        other.decorations = Flags<Decoration>::fromValue(static_cast<unsigned>(i % 8));
        ASSERT_EQ(m_renderer.getFont(other), atlas);
    }
    other.style = Style::Bold;
    EXPECT_NE(m_renderer.getFont(other), atlas);
    other.style = static_cast<Style>(17);
    EXPECT_EQ(m_renderer.getFont(other), atlas);
    other.size = 12; // points, which are the 16 pixels of the default
    EXPECT_EQ(m_renderer.getFont(other), atlas);
    setDpiScale(2);
    EXPECT_EQ(m_renderer.getFont(plain), atlas);
    EXPECT_EQ(m_renderer.lineHeightPx(other), 32 * 1.2);
    setDpiScale(1);
}

TEST_F(TextRendererGL, WarnsOncePerFontOfAnUnknownFamily) {
    Font font;
    FontAtlas* const builtIn = m_renderer.getFont(font);
    font.family = "Nobody's";
    const LogLine warning{3, std::string(category),
                          "Could not find requested font family 'Nobody's', using 'DejaVu Sans' instead."};
    for (const int size : {-1, 20})
        for (const bool warned : {true, false}) {
            font.size = size;
            EXPECT_EQ(m_renderer.getFont(font) == builtIn, size == -1);
            EXPECT_EQ(log().takeLine(warning), warned);
        }
}

TEST_F(TextRendererGL, KeepsTheFilesOfFontsInUse) {
    Font font;
    font.family = "Replaced";
    TextRenderer::registerFontFamily("Replaced", fontFile("Bold"), {}, {}, fontFile("Italic"));
    FontAtlas* const before = m_renderer.getFont(font);
    const float boldWidth = before->glyph('M').advance.x();
    font.style = Style::BoldItalic; // there is none
    EXPECT_EQ(m_renderer.getFont(font), before);
    font.style = Style::Italic;
    EXPECT_NE(m_renderer.getFont(font), before);

    TextRenderer::registerFontFamily("Replaced", fontFile("Regular"), {}, {}, {});
    EXPECT_GT(before->glyph('W').advance.x(), 0); // read from the old file
    font.style = Style::Regular;
    font.color = {0, 1, 0, 1};
    EXPECT_LT(m_renderer.getFont(font)->glyph('M').advance.x(), boldWidth);

    TextRenderer::registerFontFamily("Replaced", {}, {}, {}, {});
    font.size = 30;
    EXPECT_EQ(draw("x", font, {10, 10}).count, 0);
    EXPECT_EQ(
        log().take(),
        (std::vector<LogLine>{{4, "GL.FontAtlas", "Could not create font from buffer."},
                              {4, std::string(category), "Could not create font from buffer"},
                              {1, std::string(category), "Could not create font atlas for font Replaced"}}));
    EXPECT_EQ(m_renderer.textSize("x", font), Vector2i(0, 0));
    EXPECT_EQ(m_renderer.lineHeightPx(font), 0);
    EXPECT_EQ(log().take().size(), 4U);
}

TEST_F(TextRendererGL, MeasuresLines) {
    const Font font;
    FontAtlas& atlas = *m_renderer.getFont(font);
    EXPECT_EQ(TextRenderer::splitLines("a\n\nb"), (std::vector<std::string>{"a", "", "b"}));
    EXPECT_EQ(m_renderer.textSize("", font), Vector2i(0, 0));
    const Eigen::Vector2f wide = atlas.bounds("wide").size();
    const Eigen::Vector2f last = atlas.bounds("g").size();
    EXPECT_EQ(m_renderer.textSize("wide\n\ng", font),
              Vector2i(static_cast<int>(wide.x()), 2 * 20 + static_cast<int>(last.y())));
}

TEST_F(TextRendererGL, AlignsAroundTheAnchor) {
    const Font font;
    FontAtlas& atlas = *m_renderer.getFont(font);
    const FontAtlas::Box box = atlas.bounds("Tj");
    const double lineHeight = std::ceil(atlas.lineHeightPx());
    const Vector2d anchor(64, 70);
    for (const AlignmentH alignH : {AlignmentH::Left, AlignmentH::Center, AlignmentH::Right})
        for (const AlignmentV alignV :
             {AlignmentV::Top, AlignmentV::Center, AlignmentV::Baseline, AlignmentV::Bottom}) {
            const Ink drawn = draw("Tj\n\nTj", font, anchor, alignH, alignV);
            const double x = static_cast<int>(alignH) * -0.5 * double{box.max().x()};
            const double y[] = {-double{box.max().y()},
                                (2 * lineHeight - double{box.max().y()} - double{box.min().y()}) / 2, 0,
                                2 * lineHeight - double{box.min().y()}};
            const double baseline = y[static_cast<std::size_t>(alignV)];
            // The outlines' box is that of control points in whole pixels, and faint edges do not count as
            // ink.
            EXPECT_NEAR(drawn.max.x(), anchor.x() + x + double{box.max().x()}, 1.5);
            EXPECT_NEAR(drawn.max.y(), anchor.y() + baseline + double{box.max().y()}, 1.5);
            EXPECT_NEAR(drawn.min.y(), anchor.y() + baseline - 2 * lineHeight + double{box.min().y()}, 1.5);
        }
}

TEST_F(TextRendererGL, DrawsLinesUnderAndThroughText) {
    Font font;
    font.size = 24; // 32 pixels, lines of 3 pixels
    const Vector2d pen(20, 60);
    const Ink plain = draw("xxx", font, pen);
    const FontAtlas::Box reference = m_renderer.getFont(font)->bounds("Tj");
    font.decorations = Decoration::Underline;
    const Ink underlined = draw("xxx\n", font, pen);
    EXPECT_NEAR(underlined.min.y(), 60 + 0.75 * double{reference.min().y()} - 1, 1);
    EXPECT_EQ(underlined.max.y(), plain.max.y());
    EXPECT_EQ(underlined.min.x(), 20);
    font.decorations = Decoration::StrikeThrough;
    const Ink struck = draw("xxx", font, pen);
    EXPECT_EQ(struck.min.y(), plain.min.y());
    EXPECT_EQ(struck.max.y(), plain.max.y());
    EXPECT_GT(struck.count, plain.count + 30);
}

TEST_F(TextRendererGL, PlacesTextInTheScene) {
    Texture depth(Texture::Target::Texture2D, {edge, edge, 1}, InternalFormat::DepthComponent24);
    glFramebufferTexture2D(GL_FRAMEBUFFER, GL_DEPTH_ATTACHMENT, GL_TEXTURE_2D, depth.id(), 0);
    depth.clear<float>(Eigen::Vector4f::Constant(0.5F));
    const ViewState view(viewport, createOrtho(-1, 1, -1, 1, 0, 10), Eigen::Matrix4d::Identity());
    const struct {
        double z;
        bool useDepth;
        bool visible;
    } cases[] = {{-4.9, true, true}, {-5.1, true, false}, {-5.1, false, true},
                 {0.1, true, false}, {0.1, false, true},  {-10.1, true, false}};
    glDepthMask(GL_FALSE);
    for (const auto& [z, useDepth, visible] : cases) {
        m_canvas.clear();
        m_renderer.renderTextWorld(view, {0.5, 0.25, z}, "W", Font(), AlignmentH::Left, AlignmentV::Baseline,
                                   useDepth);
        const Ink drawn = ink();
        EXPECT_EQ(drawn.count > 0, visible) << z << ' ' << useDepth;
        if (visible) {
            EXPECT_EQ(drawn.min, Vector2i(96, 80));
        }
    }
    glDepthMask(GL_TRUE);
    const ViewState perspective(viewport, createPerspective(1, 1, 1, 10), Eigen::Matrix4d::Identity());
    m_canvas.clear();
    m_renderer.renderTextWorld(perspective, {0, 0, 0}, "W", Font(), AlignmentH::Left, AlignmentV::Baseline,
                               false);
    EXPECT_EQ(ink().count, 0);
}

TEST_F(TextRendererGL, StaysInTheViewportAndLeavesTheState) {
    glViewport(1, 2, 3, 4);
    glEnable(GL_SCISSOR_TEST);
    glScissor(5, 6, 7, 8);
    glBlendFuncSeparate(GL_DST_COLOR, GL_ONE, GL_ZERO, GL_DST_ALPHA);
    glDepthFunc(GL_GREATER);
    const Testing::State before = Testing::readState(
        {GL_VIEWPORT, GL_SCISSOR_TEST, GL_SCISSOR_BOX, GL_BLEND, GL_BLEND_SRC_RGB, GL_BLEND_SRC_ALPHA,
         GL_BLEND_DST_RGB, GL_BLEND_DST_ALPHA, GL_DEPTH_TEST, GL_DEPTH_FUNC, GL_CURRENT_PROGRAM});
    Font font;
    font.decorations = {Decoration::Shadow, Decoration::Underline, Decoration::StrikeThrough};
    m_renderer.renderText({10, 20, 30, 40}, {-5, -3}, "wwwwwwww\nwww", font, AlignmentH::Left,
                          AlignmentV::Baseline);
    Testing::expectUnchanged(before);
    glScissor(0, 0, edge, edge);
    glDisable(GL_SCISSOR_TEST);
    glViewport(0, 0, edge, edge);
    glBlendFunc(GL_ONE, GL_ZERO);
    glDepthFunc(GL_LESS);
    const Ink drawn = ink();
    EXPECT_EQ(drawn.min, Vector2i(10, 20));
    EXPECT_EQ(drawn.max.x(), 40);
}

TEST_F(TextRendererGL, TakesTheSameStepsForAnyNumberOfGlyphs) {
    const auto steps = [this](int length) {
        std::string text;
        for (int line = 0; line < 1000; ++line)
            (text += std::string(static_cast<std::size_t>(length), static_cast<char>('a' + line % 26))) +=
                '\n';
        (void)draw(text, Font(), {0, 0}); // rasterises, and makes room
        Testing::CallCounter<glad_glDrawArrays> draws;
        Testing::CallCounter<glad_glBufferSubData> uploads;
        Testing::CallCounter<glad_glTexSubImage2D> glyphs;
        m_canvas.clear();
        const std::size_t before = Testing::numAllocations();
        m_renderer.renderText(viewport, {0, 0}, text, Font(), AlignmentH::Left, AlignmentV::Baseline);
        const std::size_t allocations = Testing::numAllocations() - before;
        EXPECT_LE(draws.take(), 1000);
        EXPECT_LE(uploads.take(), 2000);
        EXPECT_EQ(glyphs.take(), 0);
        return allocations;
    };
    EXPECT_EQ(steps(40), steps(80));
}

} // namespace Veltrand::GL
