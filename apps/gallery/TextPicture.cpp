// SPDX-License-Identifier: BSD-3-Clause
#include "gallery/Canvas.h"
#include "gallery/LabelPainter.h"
#include "gallery/Pictures.h"

#include <Veltrand/GL/Blending.h>
#include <Veltrand/GL/OffscreenRenderHelper.h>
#include <Veltrand/GL/Program.h>
#include <Veltrand/GL/TextRenderer.h>
#include <Veltrand/GL/Texture.h>
#include <Veltrand/GL/VertexBuffer.h>
#include <Veltrand/GL/Viewport.h>

#include <array>
#include <random>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace Veltrand::Apps {

namespace {

using AlignmentH = GL::TextRenderer::AlignmentH;
using AlignmentV = GL::TextRenderer::AlignmentV;
using Decoration = GL::TextRenderer::Decoration;
using Font = GL::TextRenderer::Font;
using Style = GL::TextRenderer::Style;

const Eigen::Vector4d White(1, 1, 1, 1);
const Eigen::Vector4d Grey(0.6, 0.6, 0.6, 1);
const Eigen::Vector4d Black(0, 0, 0, 1);
const Eigen::Vector4d Orange(1, 0.55, 0.1, 1);

Font makeFont(int points, Style style = Style::Regular, const Eigen::Vector4d& color = White) {
    Font font;
    font.size = points;
    font.style = style;
    font.color = color;
    return font;
}

/// Draws blocks of text at positions from the upper left corner of a sheet in the middle of the canvas.
class Sheet {
public:
    static constexpr int width = 1600;
    static constexpr int height = 720;

    explicit Sheet(const Eigen::Vector2i& size)
        : m_viewport{0, 0, size.x(), size.y()}
        , m_left((size.x() - width) / 2)
        , m_top((size.y() + height) / 2) {}

    // [snippet]
    void text(int x, int y, const std::string& text, const Font& font, AlignmentH alignH = AlignmentH::Left,
              AlignmentV alignV = AlignmentV::Baseline) const {
        m_viewport.set();
        GL::TextRenderer::get()->renderText(m_viewport, Eigen::Vector2d(m_left + x, m_top - y), text, font,
                                            alignH, alignV);
    }
    // [/snippet]
    [[nodiscard]] PixelRect rect(int x, int y, int w, int h) const {
        return {m_left + x, m_top - y - h, w, h};
    }

private:
    GL::Viewport m_viewport;
    int m_left;
    int m_top;
};

void drawSizes(const Sheet& sheet, int x, int y) {
    constexpr std::array<std::pair<int, int>, 11> pointsAndPixels{{{6, 8},
                                                                   {8, 10},
                                                                   {9, 12},
                                                                   {11, 14},
                                                                   {12, 16},
                                                                   {15, 20},
                                                                   {18, 24},
                                                                   {24, 32},
                                                                   {36, 48},
                                                                   {48, 64},
                                                                   {72, 96}}};
    for (const auto& [points, pixels] : pointsAndPixels) {
        y += pixels * 6 / 5;
        const std::string sentence = pixels < 24   ? "Sphinx of black quartz, judge my vow: 0123456789"
                                     : pixels < 60 ? "Sphinx of quartz"
                                                   : "AVjÅgx";
        sheet.text(x, y, std::to_string(pixels), makeFont(9, Style::Regular, Grey));
        sheet.text(x + 30, y, sentence, makeFont(points));
    }
}

void drawStyles(const Sheet& sheet, int x, int y) {
    // [snippet]
    const std::array<std::pair<Style, const char*>, 4> styles{{{Style::Regular, "Regular"},
                                                               {Style::Bold, "Bold"},
                                                               {Style::BoldItalic, "Bold italic"},
                                                               {Style::Italic, "Italic"}}};
    for (const auto& [style, name] : styles)
        sheet.text(x, y += 30, std::string(name) + " To WAVE, fjord & ligne", makeFont(18, style));
    Font font = makeFont(18);
    font.decorations = Decoration::Underline;
    sheet.text(x, y += 36, "Underline gjpq", font);
    font.decorations = Decoration::StrikeThrough;
    sheet.text(x + 230, y, "Strike-through", font);
    font = makeFont(9, Style::Bold, Orange);
    font.decorations = {Decoration::Underline, Decoration::StrikeThrough, Decoration::Shadow};
    sheet.text(x + 440, y, "all of it, small", font);
    // [/snippet]
}

void drawScripts(const Sheet& sheet, int x, int y) {
    for (const char* const line :
         {"Latin: Zażółć gęślą jaźń, façade, Åse, Größe ẞ, ﬁn", "Greek: Ξεσκεπάζω την ψυχοφθόρα βδελυγμία",
          "Cyrillic: Съешь же ещё этих мягких булок", "Symbols: ∑∫√∞ ≤≥≠±×÷ ←↑→↓⇒ ♠♣♥♦ ☀☂✓✗ €£¥ 37 °C µm Ω"})
        sheet.text(x, y += 28, line, makeFont(15));
}

void drawAlignments(const Sheet& sheet, int x, int y) {
    const std::array<std::pair<AlignmentH, const char*>, 3> columns{
        {{AlignmentH::Left, "left"}, {AlignmentH::Center, "centre"}, {AlignmentH::Right, "right"}}};
    const std::array<std::pair<AlignmentV, const char*>, 4> rows{{{AlignmentV::Top, "Top"},
                                                                  {AlignmentV::Center, "Centre"},
                                                                  {AlignmentV::Baseline, "Baseline"},
                                                                  {AlignmentV::Bottom, "Bottom"}}};
    for (const auto& [alignV, rowName] : rows) {
        int anchor = x;
        for (const auto& [alignH, columnName] : columns) {
            const Eigen::Vector3f color = Orange.head<3>().cast<float>();
            LabelPainter::fill(sheet.rect(anchor - 90, y, 180, 1), color * 0.6F);
            LabelPainter::fill(sheet.rect(anchor, y - 30, 1, 60), color * 0.6F);
            sheet.text(anchor, y, std::string(rowName) + "\nj " + columnName, makeFont(12), alignH, alignV);
            anchor += 260;
        }
        y += 82;
    }
}

void drawNoise(const PixelRect& rect) {
    std::mt19937 random(1);
    std::uniform_real_distribution<float> brightness(0, 1);
    std::vector<float> texels(static_cast<std::size_t>(rect.width) * static_cast<std::size_t>(rect.height));
    for (float& texel : texels)
        texel = brightness(random);
    GL::Texture image(GL::Texture::Target::Texture2D, Eigen::Vector3i(rect.width, rect.height, 1),
                      GL::InternalFormat::R32F);
    image.upload(texels);
    const auto show = GL::Program::createVertexFragment(
        "VeltrandScene/Panel.vert", "VeltrandScene/Image.frag", "", GL::Program::Compilation::ImmediateThrow);
    setViewport(rect);
    show->enable();
    show->setArgument("image", image);
    GL::VertexBuffer::createFullscreenSquare()->draw(GL::Primitive::TriangleFan);
    show->disable();
    show->unbindSamplers("image");
}

void drawShadows(const Sheet& sheet, int x, int y) {
    LabelPainter::fill(sheet.rect(x, y, 250, 215), White.head<3>().cast<float>());
    LabelPainter::fill(sheet.rect(x + 260, y, 250, 215), Black.head<3>().cast<float>());
    drawNoise(sheet.rect(x + 520, y, 250, 215));
    for (int panel = 0; panel < 3; ++panel) {
        int line = y + 10;
        for (const auto& color : {White, Black, Orange})
            for (const int points : {18, 9}) {
                Font font = makeFont(points, Style::Regular, color);
                font.decorations = Decoration::Shadow;
                line += points * 5 / 3 + 8;
                sheet.text(x + 260 * panel + 15, line,
                           points == 18 ? "Shadowed" : "Shadowed text of 12 pixels", font);
                font.decorations = {};
                if (points == 18)
                    sheet.text(x + 260 * panel + 150, line, "plain", font);
            }
    }
}

void drawSheet(const Eigen::Vector2i& size) {
    const Sheet sheet(size);
    drawSizes(sheet, 20, 10);
    drawStyles(sheet, 20, 500);
    drawScripts(sheet, 820, 5);
    drawAlignments(sheet, 920, 180);
    drawShadows(sheet, 820, 490);
}

} // namespace

std::string drawText(const Scene&, const Canvas& canvas) {
    const Eigen::Vector2i whole(Sheet::width, Sheet::height);
    const double scale =
        canvas.size().cast<double>().cwiseQuotient(whole.cast<double>()).cwiseMin(1).minCoeff();
    if (scale < 1) {
        // What has no room in its own size is drawn apart and made smaller.
        const Eigen::Vector2i size = (scale * whole.cast<double>()).cast<int>();
        const Eigen::Vector2i corner = (canvas.size() - size) / 2;
        setViewport({corner.x(), corner.y(), size.x(), size.y()});
        GL::OffscreenRenderHelper helper;
        auto buffer = helper.create(whole, GL::InternalFormat::RGBA8, GL::InternalFormat::DepthComponent24);
        if (buffer.isEmpty())
            throw std::runtime_error("the driver cannot draw text apart.");
        drawSheet(whole);
        setViewport({corner.x(), corner.y(), size.x(), size.y()});
        buffer.blendToParent();
    } else {
        drawSheet(canvas.size());
    }
    return "Sentences in sizes from 8 to 96 pixels, in four styles, in Latin, Greek and Cyrillic letters, "
           "placed "
           "around cross-hairs, and with outlines on white, black and noise.";
}

} // namespace Veltrand::Apps
