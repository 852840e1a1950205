// SPDX-License-Identifier: BSD-3-Clause
// Text as a whole: glyph atlases and the renderer that uses them.
#include "support/AllocationCounter.h"
#include "support/GLTest.h"

#include <Veltrand/GL/Blending.h>
#include <Veltrand/GL/FontAtlas.h>
#include <Veltrand/GL/TextRenderer.h>

#include <ft2build.h>
#include FT_FREETYPE_H
#include FT_OUTLINE_H

namespace Veltrand::GL {

namespace {

using AlignH = TextRenderer::AlignmentH;
using AlignV = TextRenderer::AlignmentV;
using Decoration = TextRenderer::Decoration;
using Font = TextRenderer::Font;
using Style = TextRenderer::Style;
using Pixels = std::vector<int>; // one channel

constexpr int width = 600;
constexpr int height = 160;
const Viewport viewport{0, 0, width, height};

ByteBuffer fontFile(const std::string& style) {
    return Resource::query("VeltrandGLFonts", "DejaVuSans-" + style + ".ttf").value();
}

std::size_t indexOf(long x, long y) {
    return static_cast<std::size_t>(y * width + x);
}

/// What FreeType alone makes of a line: pixels that add up, and the box of the outlines.
std::pair<Pixels, FontAtlas::Box> reference(const ByteBuffer& file, int size,
                                            const std::vector<unsigned>& text, const Vector3d& position) {
    Pixels pixels(indexOf(0, height));
    FontAtlas::Box bounds(Vector2f::Zero(), Vector2f::Zero());
    FT_Library library = nullptr;
    FT_Face face = nullptr;
    FT_Init_FreeType(&library);
    FT_New_Memory_Face(library, reinterpret_cast<const FT_Byte*>(file.data()),
                       static_cast<FT_Long>(file.size()), 0, &face);
    FT_Set_Pixel_Sizes(face, 0, static_cast<FT_UInt>(size));
    float pen = 0;
    FT_UInt previous = 0;
    for (const unsigned c : text) {
        const FT_UInt index = FT_Get_Char_Index(face, c);
        FT_Vector kerning{0, 0};
        if (previous != 0)
            FT_Get_Kerning(face, previous, index, FT_KERNING_UNFITTED, &kerning);
        pen += static_cast<float>(kerning.x) / 64;
        FT_Load_Glyph(face, index, FT_LOAD_RENDER);
        const FT_Bitmap& bitmap = face->glyph->bitmap;
        const auto left = std::lround(position.x() + double{pen} + face->glyph->bitmap_left);
        const auto top = std::lround(position.y() + face->glyph->bitmap_top);
        for (unsigned i = 0; i < bitmap.width * bitmap.rows; ++i) {
            int& pixel = pixels[indexOf(left + i % bitmap.width, top - 1 - i / bitmap.width)];
            pixel = std::min(255, pixel + bitmap.buffer[i]);
        }
        FT_BBox box;
        FT_Outline_Get_CBox(&face->glyph->outline, &box);
        const Eigen::Array4f edges =
            Eigen::Array<FT_Pos, 4, 1>(box.xMin, box.yMin, box.xMax, box.yMax).cast<float>() / 64;
        bounds.extend(Vector2f((edges.head<2>() + Eigen::Array2f(pen, 0)).floor()));
        bounds.extend(Vector2f((edges.tail<2>() + Eigen::Array2f(pen, 0)).ceil()));
        pen += static_cast<float>(face->glyph->advance.x >> 6);
        previous = index;
    }
    FT_Done_FreeType(library);
    return {pixels, bounds};
}

class TextRendererGL : public Testing::GLFixture {
protected:
    void SetUp() override {
        glUseProgram(0); // the canvas's own
        GLFixture::SetUp();
    }

    Pixels pixels(int channel = 0) {
        Pixels result;
        for (const auto& pixel : m_canvas.texture().download<Eigen::Vector<unsigned char, 4>>())
            result.push_back(pixel[channel]);
        return result;
    }
    /// Draws white text on black with an atlas; in the alpha channel, where quads overlap, they add up.
    Pixels line(FontAtlas& atlas, const std::string& text, const Vector3d& position = {10, 10, 0}) {
        m_canvas.clear();
        const Blending add(Blending::Function::One, Blending::Function::One);
        atlas.renderLine(text, createOrtho2d(width, height), position, Vector4d::Ones(), false);
        return pixels(3);
    }
    /// The pixels that differ from the background.
    Eigen::AlignedBox2i ink(int background = 0) {
        Eigen::AlignedBox2i box;
        const Pixels drawn = pixels();
        for (int i = 0; i < width * height; ++i)
            if (std::abs(drawn[indexOf(i, 0)] - background) > 63)
                box.extend(Vector2i(i % width, i / width));
        return box;
    }
    Eigen::AlignedBox2i draw(const std::string& text, const Font& font, AlignH alignH = AlignH::Left,
                             AlignV alignV = AlignV::Baseline) {
        m_canvas.clear();
        m_text.renderText(viewport, Eigen::Vector2d(100, 80), text, font, alignH, alignV);
        return ink();
    }

    TextRenderer& m_text = *TextRenderer::get();
    Testing::Canvas m_canvas{width, height};
};

} // namespace

TEST_F(TextRendererGL, DrawsFreeTypesPixels) {
    const struct {
        const char* style;
        int size;
        const char* text;
        Vector3d position;
    } cases[] = {{"Regular", 8, "The quick brown fox", {3, 40, 0}},
                 {"Bold", 16, "LT Yo, ΩЖ 𝔸", {20.5, 31.25, 0}},
                 {"Italic", 96, "AVjgÅ", {30, 40, 0}}};
    for (const auto& [style, size, text, position] : cases) {
        Testing::setState({"unpack layout"}, true); // of the caller, not of the glyphs
        const ByteBuffer file = fontFile(style);
        FontAtlas atlas(file, size);
        const auto expected = reference(file, size, atlas.convertUtf8(text), position);
        EXPECT_EQ(line(atlas, text, position), expected.first) << text;
        EXPECT_EQ(atlas.bounds(text), expected.second) << text;
        Testing::setState({"unpack layout"}, false);
    }
}

TEST_F(TextRendererGL, SetsTextOffByAShadowInItsMargin) {
    for (const float level : {0.0F, 1.0F}) { // of the text and of what is below it
        clearColorBuffer(Eigen::Vector4f::Constant(level));
        Font font;
        font.decorations = Decoration::Shadow;
        font.color = Vector4d(double{level}, double{level}, double{level}, 1);
        m_text.renderText(viewport, Eigen::Vector2d(100, 80), "l", font, AlignH::Left, AlignV::Baseline);
        const FontAtlas::Glyph& glyph = m_text.getFont(font)->glyph('l');
        const Vector2i corner = Vector2i(100, 80) + glyph.bearing.cast<int>();
        const Vector2i margin =
            corner + Vector2i(static_cast<int>(glyph.size.x()), -1 - static_cast<int>(glyph.size.y()));
        EXPECT_GE(ink(static_cast<int>(255 * level)).min().y(), margin.y());
        EXPECT_EQ(ink(static_cast<int>(255 * level)).max().x(), margin.x());
    }
}

// Whether texels lie on pixels decides, not the form of the matrix.
TEST_F(TextRendererGL, ScaledTextHasTheEdgesOfTurnedText) {
    const ByteBuffer file = fontFile("Regular");
    FontAtlas atlas(file, 16);
    const auto draw = [&](double scale, double turn, double w, bool shadowing) {
        Eigen::Affine3d placed = Eigen::Affine3d::Identity();
        placed.translate(Vector3d(20, 30, 0)).rotate(Eigen::AngleAxisd(turn, Vector3d::UnitZ()));
        placed.scale(Vector3d(scale, scale, 1));
        clearColorBuffer(Eigen::Vector4f::Constant(0.5F));
        const Blending blending(Blending::Function::SrcAlpha, Blending::Function::OneMinusSrcAlpha);
        atlas.renderLine("lHg", w * createOrtho2d(width, height) * placed.matrix(), Vector3d::Zero(),
                         Vector4d::Ones(), shadowing);
        return pixels();
    };
    for (const double scale : {0.6, 1.0, 1.25, 6.0})
        for (const bool shadowing : {false, true}) {
            const Pixels turned = draw(scale, 2e-5, 1, shadowing);
            for (const double w : {1.0, 2.5}) {
                const Pixels upright = draw(scale, 0, w, shadowing);
                for (std::size_t i = 0; i < turned.size(); ++i)
                    ASSERT_NEAR(upright[i], turned[i], 2)
                        << scale << ' ' << shadowing << ' ' << w << ' ' << i;
            }
        }
}

// Within a larger viewport nothing of it is clipped.
TEST_F(TextRendererGL, TextLeavesTheViewThroughACornerAsItIs) {
    const ByteBuffer file = fontFile("Regular");
    FontAtlas atlas(file, 20);
    constexpr int edge = 100;
    const auto draw = [&](const Viewport& view, const Eigen::Affine3d& placed) {
        view.set();
        const Eigen::Matrix4d ortho =
            createOrtho(view.x, view.x + view.width, view.y, view.y + view.height, -1, 1);
        clearColorBuffer(Eigen::Vector4f::Zero());
        const Blending blending(Blending::Preset::Alpha);
        atlas.renderLine("W", ortho * placed.matrix(), Vector3d::Zero(), Vector4d::Ones(), false);
        viewport.set();
        return pixels();
    };
    const auto random = [](int i) { return std::sin(i * i * 0.37); };
    for (int i = 0; i < 40; ++i) {
        Eigen::Affine3d placed = Eigen::Affine3d::Identity();
        placed.translate(Vector3d(i % 2 * edge, i / 2 % 2 * edge, 0));
        placed.rotate(Eigen::AngleAxisd(i, Vector3d::UnitZ())).scale(Vector3d(40, 40, 1));
        placed.translate(Vector3d(-10 + 10 * random(i), -7 + 7 * random(i + 1), 0));
        const Pixels whole = draw({-1000, -1000, edge + 2000, edge + 2000}, placed);
        const Pixels clipped = draw({0, 0, edge, edge}, placed);
        int numDifferent = 0;
        for (int y = 0; y < edge; ++y)
            for (int x = 0; x < edge; ++x)
                numDifferent += std::abs(clipped[indexOf(x, y)] - whole[indexOf(x, y)]) > 8;
        EXPECT_LT(numDifferent, 5) << i;
    }
}

TEST_F(TextRendererGL, KeepsBlankWhatHasNoRoom) {
    const ByteBuffer file = fontFile("Regular");
    FontAtlas atlas(file, 700);
    const Vector2f first = atlas.glyph('M').atlas;
    const LogLine full{4, "GL.FontAtlas", "Can not prepare glyph for character 87: texture atlas is full."};
    for (const bool logged : {true, false}) {
        EXPECT_TRUE(atlas.glyph('W').size.isZero());
        EXPECT_EQ(log().takeLine(full), logged);
    }
    EXPECT_EQ(atlas.glyph('M').atlas, first);
    atlas.init();
    EXPECT_GT(atlas.glyph('W').size.x(), 500);
}

TEST_F(TextRendererGL, DrawsTheTextBeforeAnError) {
    FontAtlas& atlas = *m_text.getFont(Font());
    const Pixels expected = line(atlas, "before");
    EXPECT_EQ(line(atlas, "be\tf\nore\xFF after"), expected);
    expectLine(1, "GL.FontAtlas", "Invalid UTF-8 sequence: Invalid UTF-8");
    EXPECT_EQ(atlas.glyph(0x10FFFD).size, atlas.glyph(0x3400).size); // not in the font
}

TEST_F(TextRendererGL, RefusesWhatIsNoFont) {
    ByteBuffer file = fontFile("Regular");
    const auto entry = file.view().toStringView().find("glyf"); // then a checksum, then the offset
    std::size_t table = 0;
    for (std::size_t i = 0; i < 4; ++i)
        table = table << 8 | std::to_integer<std::size_t>(file.data()[entry + 8 + i]);
    std::fill_n(file.data() + table, 100'000, std::byte{0x7F});
    EXPECT_THROW(FontAtlas(file, -1), std::runtime_error);
    FontAtlas atlas(file, 16);
    for (int i = 0; i < 2; ++i) {
        EXPECT_TRUE(atlas.glyph('A').size.isZero());
        expectLine(4, "GL.FontAtlas", "Loading character 65 failed!");
    }
    TextRenderer::registerFontFamily("No font", {}, {}, {}, {});
    Font font;
    font.family = "No font";
    EXPECT_TRUE(draw("x", font).isEmpty());
    (void)log().take("GL.Program"); // of the first text that is drawn
    EXPECT_EQ(log().take(),
              (std::vector<LogLine>{{4, "GL.FontAtlas", "Could not create font from buffer."},
                                    {4, "GL.TextRenderer", "Could not create font from buffer"},
                                    {1, "GL.TextRenderer", "Could not create font atlas for font No font"}}));
}

TEST_F(TextRendererGL, SharesGlyphsBetweenFontsThatLookDifferent) {
    FontAtlas* const atlas = m_text.getFont(Font());
    Font font;
    for (unsigned i = 0; i < 100; ++i) {
        font.color = Vector4d(i, 0, 0, i % 7 == 0 ? NAN : 1);
        font.decorations = Flags<Decoration>::fromValue(i % 8);
        ASSERT_EQ(m_text.getFont(font), atlas);
    }
    setDpiScale(2);
    EXPECT_EQ(m_text.getFont(Font()), atlas);
    setDpiScale(1);
    font.style = Style::Bold;
    EXPECT_NE(m_text.getFont(font), atlas);
    font = Font();
    font.family = "Nobody's";
    const LogLine warning{3, "GL.TextRenderer",
                          "Could not find requested font family 'Nobody's', using 'DejaVu Sans' instead."};
    for (const bool warned : {true, false}) {
        EXPECT_EQ(m_text.getFont(font), atlas);
        EXPECT_EQ(log().takeLine(warning), warned);
    }
}

TEST_F(TextRendererGL, KeepsTheFilesOfFontsInUse) {
    Font font;
    font.family = "Replaced";
    TextRenderer::registerFontFamily(font.family, fontFile("Bold"), {}, {}, fontFile("Italic"));
    FontAtlas* const before = m_text.getFont(font);
    font.style = Style::BoldItalic; // there is none
    EXPECT_EQ(m_text.getFont(font), before);
    TextRenderer::registerFontFamily(font.family, fontFile("Regular"), {}, {}, {});
    font.style = Style::Italic;
    EXPECT_LT(m_text.getFont(font)->glyph('M').advance.x(), before->glyph('M').advance.x());
}

TEST_F(TextRendererGL, AlignsAroundTheAnchor) {
    const FontAtlas::Box box = m_text.getFont(Font())->bounds("Tj");
    EXPECT_EQ(m_text.textSize("Tj\n\nTj", Font()), Vector2i(box.size().x(), 40 + box.size().y()));
    for (const AlignH alignH : {AlignH::Left, AlignH::Center, AlignH::Right})
        for (const auto& [alignV, top] : {std::pair{AlignV::Top, 80},
                                          {AlignV::Center, 80 + (40 + static_cast<int>(box.size().y())) / 2},
                                          {AlignV::Baseline, 80 + static_cast<int>(box.max().y())},
                                          {AlignV::Bottom, 80 + 40 + static_cast<int>(box.size().y())}}) {
            const auto drawn = draw("Tj\n\nTj", Font(), alignH, alignV);
            const float right = 100 + box.max().x() * (1 - 0.5F * static_cast<float>(alignH));
            EXPECT_NEAR(drawn.max().x() + 1, right, 1);
            EXPECT_NEAR(drawn.max().y() + 1, top, 1);
            EXPECT_NEAR(drawn.sizes().y() + 1, 40 + box.size().y(), 1);
        }
}

TEST_F(TextRendererGL, PlacesTextInTheScene) {
    Texture depth(Texture::Target::Texture2D, {width, height, 1}, InternalFormat::DepthComponent24);
    glFramebufferTexture2D(GL_FRAMEBUFFER, GL_DEPTH_ATTACHMENT, GL_TEXTURE_2D, depth.id(), 0);
    depth.clear<float>(Eigen::Vector4f::Constant(0.5F));
    const ViewState view(viewport, createOrtho(-1, 1, -1, 1, 0, 10), Eigen::Matrix4d::Identity());
    const std::tuple<double, bool, bool> cases[] = {
        {-4.9, true, true}, {-5.1, true, false}, {-5.1, false, true}, {0.1, true, false}, {0.1, false, true}};
    const auto scene = depth.download<float>();
    for (const auto& [z, useDepth, visible] : cases) {
        m_canvas.clear();
        m_text.renderTextWorld(view, {0.5, 0.5, z}, "W", Font(), AlignH::Left, AlignV::Baseline, useDepth);
        EXPECT_EQ(ink().contains(Vector2i(450, 131)), visible) << z << ' ' << useDepth;
    }
    EXPECT_EQ(depth.download<float>(), scene); // which cuts no text that is drawn later
}

TEST_F(TextRendererGL, StaysInTheViewport) {
    Font font;
    font.decorations = {Decoration::Underline, Decoration::StrikeThrough};
    m_text.renderText({10, 20, 30, 40}, {-5, 10}, "wwww\nwww", font, AlignH::Left, AlignV::Baseline);
    // From three quarters of the descender, below which there is only the next line, outside.
    EXPECT_EQ(ink().min(), Vector2i(10, 26));
    EXPECT_EQ(ink().max(), Vector2i(39, 38));
}

TEST_F(TextRendererGL, TakesTheSameStepsForAnyNumberOfGlyphs) {
    const auto steps = [this](std::size_t length) {
        std::string text;
        for (int i = 0; i < 1000; ++i)
            (text += std::string(length, static_cast<char>('a' + i % 26))) += '\n';
        (void)draw(text, Font()); // rasterises, and makes room
        Testing::CallCounter<glad_glDrawArrays> draws;
        Testing::CallCounter<glad_glTexSubImage2D> glyphs;
        const std::size_t before = Testing::numAllocations();
        m_text.renderText(viewport, {0, 0}, text, Font(), AlignH::Left, AlignV::Baseline);
        const std::size_t allocations = Testing::numAllocations() - before;
        EXPECT_LE(draws.take(), 1000);
        EXPECT_EQ(glyphs.take(), 0);
        return allocations;
    };
    EXPECT_EQ(steps(40), steps(80));
    if (!Testing::countsAllocations())
        GTEST_SKIP() << "Allocations are not counted beside those of a sanitizer.";
}

} // namespace Veltrand::GL
