// SPDX-License-Identifier: BSD-3-Clause
#include "support/CallCounter.h"
#include "support/Canvas.h"
#include "support/GLFixture.h"

#include <Veltrand/Core/Resource.h>
#include <Veltrand/GL/FontAtlas.h>
#include <Veltrand/GL/Functions.h>

#include <Eigen/Geometry>
#include <algorithm>
#include <cmath>
#include <cstring>
#include <glad/gl.h>
#include <gtest/gtest.h>
#include <numeric>

#include <ft2build.h>
#include FT_FREETYPE_H
#include FT_OUTLINE_H

namespace Veltrand::GL {

namespace {

using Eigen::Vector2f;
using Eigen::Vector3d;
using Eigen::Vector4d;
using Testing::LogLine;

constexpr std::string_view category = "GL.FontAtlas";
constexpr int width = 600;
constexpr int height = 160;

ByteBuffer fontFile(const char* style = "Regular") {
    return Resource::query("VeltrandGLFonts", std::string("DejaVuSans-") + style + ".ttf").value();
}

/// The pixels of a line in the alpha channel, where quads that overlap add up.
using Coverage = std::vector<int>;

std::size_t pixelIndex(int x, int y) {
    return static_cast<std::size_t>(y) * width + static_cast<std::size_t>(x);
}

struct Reference {
    Coverage coverage = Coverage(std::size_t{width} * height);
    FontAtlas::Box bounds{Vector2f::Zero(), Vector2f::Zero()};
};

/// What FreeType alone makes of a line.
Reference reference(const ByteBuffer& file, int pixelSize, const std::u32string& text,
                    const Vector3d& position) {
    Reference result;
    FT_Library library = nullptr;
    FT_Face face = nullptr;
    FT_Init_FreeType(&library);
    FT_New_Memory_Face(library, reinterpret_cast<const FT_Byte*>(file.data()),
                       static_cast<FT_Long>(file.size()), 0, &face);
    FT_Set_Pixel_Sizes(face, 0, static_cast<FT_UInt>(pixelSize));
    double pen = 0;
    FT_UInt previous = 0;
    for (const char32_t c : text) {
        const FT_UInt index = FT_Get_Char_Index(face, c);
        FT_Vector kerning{0, 0};
        if (previous != 0)
            FT_Get_Kerning(face, previous, index, FT_KERNING_UNFITTED, &kerning);
        pen += static_cast<double>(kerning.x) / 64;
        FT_Load_Glyph(face, index, FT_LOAD_RENDER);
        const FT_GlyphSlot slot = face->glyph;
        const int left = static_cast<int>(std::round(position.x() + pen + slot->bitmap_left));
        const int top = static_cast<int>(std::round(position.y() + slot->bitmap_top));
        for (int y = 0; y < static_cast<int>(slot->bitmap.rows); ++y)
            for (int x = 0; x < static_cast<int>(slot->bitmap.width); ++x) {
                int& pixel = result.coverage[pixelIndex(left + x, top - 1 - y)];
                pixel = std::min(255, pixel + slot->bitmap.buffer[y * slot->bitmap.pitch + x]);
            }
        FT_BBox box;
        FT_Outline_Get_CBox(&slot->outline, &box);
        const auto shift = static_cast<float>(pen);
        result.bounds.extend(Vector2f(std::floor(shift + static_cast<float>(box.xMin) / 64),
                                      std::floor(static_cast<float>(box.yMin) / 64)));
        result.bounds.extend(Vector2f(std::ceil(shift + static_cast<float>(box.xMax) / 64),
                                      std::ceil(static_cast<float>(box.yMax) / 64)));
        pen += static_cast<double>(slot->advance.x >> 6);
        previous = index;
    }
    FT_Done_FreeType(library);
    return result;
}

class FontAtlasGL : public Testing::GLFixture {
protected:
    void SetUp() override {
        glUseProgram(0); // the canvas's own
        GLFixture::SetUp();
    }

    using Pixel = Eigen::Vector<unsigned char, 4>;

    Coverage coverage(FontAtlas& atlas, const std::string& text, const Vector3d& position,
                      const Eigen::Matrix4d& matrix = createOrtho2d(width, height)) {
        m_canvas.clear();
        glEnable(GL_BLEND);
        glBlendFunc(GL_ONE, GL_ONE);
        atlas.renderLine(text, matrix, position, Vector4d::Ones(), false);
        glBlendFunc(GL_ONE, GL_ZERO);
        glDisable(GL_BLEND);
        Coverage result;
        for (const Pixel& pixel : m_canvas.texture().download<Pixel>())
            result.push_back(pixel[3]);
        return result;
    }

    const ByteBuffer m_file = fontFile();
    Testing::Canvas m_canvas{width, height};
};

} // namespace

TEST_F(FontAtlasGL, DrawsFreeTypesPixels) {
    const struct {
        const char* style;
        int size;
        std::string text;
        std::u32string codePoints;
        Vector3d position;
    } cases[] = {
        {"Regular", 8, "The quick brown fox, AVATAR", U"The quick brown fox, AVATAR", {3, 40, 0}},
        {"Regular",
         16,
         "LT Yo, \xCE\xA9\xCE\xBC\xD0\x96\xD1\x89\xE2\x88\x9E \xF0\x9D\x94\xB8",
         U"LT Yo, \u03A9\u03BC\u0416\u0449\u221E \U0001D538",
         {20, 31, 0}},
        {"Bold", 13, "fi Te W.", U"fi Te W.", {17.5, 20.25, 0}},
        {"BoldItalic", 33, "Tja, 09%", U"Tja, 09%", {40, 63, 0}},
        {"Italic", 96, "AVjg\xC3\x85", U"AVjg\u00C5", {30, 40, 0}},
    };
    for (const auto& [style, size, text, codePoints, position] : cases) {
        SCOPED_TRACE(text);
        const ByteBuffer file = fontFile(style);
        FontAtlas atlas(file, size);
        const Reference expected = reference(file, size, codePoints, position);
        EXPECT_EQ(coverage(atlas, text, position), expected.coverage);
        EXPECT_EQ(atlas.bounds(text), expected.bounds);
    }
}

TEST_F(FontAtlasGL, FiltersTurnedText) {
    FontAtlas atlas(m_file, 32);
    const auto sum = [](const Coverage& c) { return std::accumulate(c.begin(), c.end(), 0.0); };
    const double upright = sum(coverage(atlas, "Turned", {100, 80, 0}));
    Eigen::Affine3d turn(Eigen::Translation3d(100, 30, 0));
    turn.rotate(Eigen::AngleAxisd(0.3, Vector3d::UnitZ()));
    const Coverage turned =
        coverage(atlas, "Turned", Vector3d::Zero(), createOrtho2d(width, height) * turn.matrix());
    EXPECT_NEAR(sum(turned) / upright, 1, 0.005);
}

TEST_F(FontAtlasGL, DrawsTheShadowInItsMargin) {
    FontAtlas atlas(m_file, 16);
    for (const int brightness : {0, 255}) { // of the text and of what is below it
        const auto level = static_cast<float>(brightness) / 255;
        glClearColor(level, level, level, 1);
        glClear(GL_COLOR_BUFFER_BIT);
        glEnable(GL_BLEND);
        glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
        atlas.renderLine("l", createOrtho2d(width, height), {50, 50, 0}, Vector4d(level, level, level, 1),
                         true);
        glBlendFunc(GL_ONE, GL_ZERO);
        glDisable(GL_BLEND);
        const FontAtlas::Glyph& glyph = atlas.glyph('l');
        const auto pixels = m_canvas.texture().download<Pixel>();
        int contrast = 0;
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x) {
                const int difference = std::abs(pixels[pixelIndex(x, y)][0] - brightness);
                contrast = std::max(contrast, difference);
                const Vector2f inBitmap = Vector2f(static_cast<float>(x - 50), static_cast<float>(49 - y)) +
                                          Vector2f(-glyph.bearing.x(), glyph.bearing.y());
                const bool inside =
                    (inBitmap.array() >= 0).all() && (inBitmap.array() <= glyph.size.array()).all();
                EXPECT_TRUE(difference == 0 || inside) << inBitmap.transpose();
            }
        EXPECT_GT(contrast, 200);
    }
}

TEST_F(FontAtlasGL, KeepsBlankWhatHasNoRoom) {
    FontAtlas atlas(m_file, 700);
    const FontAtlas::Glyph first = atlas.glyph('M');
    EXPECT_GT(first.size.y(), 500);
    const LogLine full{4, std::string(category),
                       "Can not prepare glyph for character 87: texture atlas is full."};
    for (const bool logged : {true, false}) {
        EXPECT_TRUE(atlas.glyph('W').size.isZero());
        EXPECT_EQ(log().takeLine(full), logged);
    }
    EXPECT_TRUE(atlas.glyph('M').atlas == first.atlas && atlas.glyph('W').advance.isZero());
    const Coverage drawn = coverage(atlas, "WM", {0, 0, 0});
    EXPECT_GT(*std::max_element(drawn.begin(), drawn.end()), 250);
    atlas.init();
    EXPECT_GT(atlas.glyph('W').size.x(), 500);
}

TEST_F(FontAtlasGL, DrawsTheTextBeforeAnError) {
    FontAtlas atlas(m_file, 16);
    const Coverage expected = coverage(atlas, "before", {10, 10, 0});
    EXPECT_EQ(log().take(category), std::vector<LogLine>{});
    EXPECT_EQ(coverage(atlas, "be\tf\nore\xFF after", {10, 10, 0}), expected);
    EXPECT_EQ(log().take(category),
              (std::vector<LogLine>{{1, std::string(category), "Invalid UTF-8 sequence: Invalid UTF-8"}}));
    Testing::CallCounter<glad_glDrawArrays> draws;
    (void)coverage(atlas, "\t\n\x1F ", {10, 10, 0});
    (void)coverage(atlas, "", {10, 10, 0});
    EXPECT_EQ(draws.take(), 0);
    EXPECT_EQ(atlas.bounds(""), FontAtlas::Box(Vector2f::Zero(), Vector2f::Zero()));
    // Characters that the font lacks look like each other, and like nothing else.
    EXPECT_EQ(atlas.glyph(0x10FFFD).size, atlas.glyph(0x3400).size);
    EXPECT_GT(atlas.glyph(0x3400).size.x(), 5);
    (void)coverage(atlas, std::string(100'000, 'x'), {10, 10, 0});
    EXPECT_EQ(draws.take(), 1);
}

TEST_F(FontAtlasGL, RefusesWhatIsNoFont) {
    const auto failure = [](const ByteBufferView& bytes, int size) -> std::string {
        try {
            const FontAtlas atlas(bytes, size);
        } catch (const std::runtime_error& error) {
            return error.what();
        }
        return {};
    };
    const LogLine noFont{4, std::string(category), "Could not create font from buffer."};
    const std::string text = "no font at all";
    for (const ByteBufferView bytes : {ByteBufferView(), ByteBufferView(text.data(), text.size())}) {
        EXPECT_EQ(failure(bytes, 16), "Could not create font from buffer");
        EXPECT_TRUE(log().takeLine(noFont));
    }
    EXPECT_EQ(failure(m_file, -1), "Could not set FreeType fontsize.");

    // Outlines of nonsense: the table is found in the font's directory.
    ByteBuffer broken = m_file;
    const auto at = [&broken](std::size_t i) {
        return static_cast<std::size_t>(std::to_integer<int>(broken.data()[i]));
    };
    std::size_t entry = 12;
    while (std::memcmp(broken.data() + entry, "glyf", 4) != 0)
        entry += 16;
    const std::size_t table =
        at(entry + 8) << 24 | at(entry + 9) << 16 | at(entry + 10) << 8 | at(entry + 11);
    std::fill(broken.data() + table, broken.data() + table + 100'000, std::byte{0x7F});
    FontAtlas atlas(broken, 16);
    for (int i = 0; i < 2; ++i) {
        EXPECT_TRUE(atlas.glyph('A').size.isZero());
        EXPECT_TRUE(log().takeLine({4, std::string(category), "Loading character 65 failed!"}));
    }
}

} // namespace Veltrand::GL
