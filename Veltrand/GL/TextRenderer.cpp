// SPDX-License-Identifier: BSD-3-Clause
#include <Veltrand/GL/TextRenderer.h>

#include <Veltrand/Core/Log.h>
#include <Veltrand/Core/String.h>
#include <Veltrand/GL/Blending.h>
#include <Veltrand/GL/FontAtlas.h>
#include <Veltrand/GL/Functions.h>
#include <Veltrand/GL/LineRenderer.h>
#include <Veltrand/GL/StateGuard.h>
#include <Veltrand/GL/ViewState.h>
#include <Veltrand/GL/Viewport.h>
#include <Veltrand/GL/detail/FontFamilyRegistry.h>
#include <Veltrand/GL/detail/LogMessage.h>
#include <Veltrand/GL/detail/TextPlacement.h>

#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <exception>
#include <glad/gl.h>
#include <string_view>
#include <tuple>

namespace Veltrand::GL {

namespace {

constexpr std::string_view category = "GL.TextRenderer";

/// Draws into a viewport, blended and depth-tested but without depth of its own, until the end of its scope.
class TextState {
public:
    explicit TextState(const Viewport& viewport) {
        glGetIntegerv(GL_SCISSOR_BOX, m_scissorBox.data());
        viewport.set();
        glEnable(GL_SCISSOR_TEST);
        glScissor(viewport.x, viewport.y, viewport.width, viewport.height);
        glEnable(GL_DEPTH_TEST);
        glDepthFunc(GL_LEQUAL);
        glDepthMask(GL_FALSE); // glyphs do not fill their quads
    }
    ~TextState() { glScissor(m_scissorBox[0], m_scissorBox[1], m_scissorBox[2], m_scissorBox[3]); }
    TextState(const TextState&) = delete;
    TextState& operator=(const TextState&) = delete;

private:
    StateGuard m_guard{{StateGuard::SaveFlags::Viewport, StateGuard::SaveFlags::Program,
                        StateGuard::SaveFlags::Depth, StateGuard::SaveFlags::Scissor}};
    Blending m_blending{Blending::Function::SrcAlpha, Blending::Function::OneMinusSrcAlpha};
    std::array<GLint, 4> m_scissorBox{};
};

/// Maps pixels of a viewport, and window depths, to clip space.
Eigen::Matrix4d windowProjection(const Viewport& viewport) {
    return createOrtho(0, viewport.width, 0, viewport.height, 0, -1);
}

FontFamilyRegistry::File copyFile(const ByteBufferView& bytes) {
    return std::make_shared<const ByteBuffer>(bytes);
}

} // namespace

struct TextRenderer::Face {
    FontFamilyRegistry::File file; // outlives the atlas, which reads it
    FontAtlas atlas;

    Face(FontFamilyRegistry::File bytes, int pixelSize)
        : file(std::move(bytes))
        , atlas(*file, pixelSize) {}
};

bool TextRenderer::Font::operator<(const Font& other) const {
    // The bits of the colour, which are ordered where numbers need not be.
    const auto key = [](const Font& font) {
        std::array<std::uint64_t, 4> channels{};
        for (std::size_t i = 0; i < channels.size(); ++i)
            channels[i] = std::bit_cast<std::uint64_t>(font.color[static_cast<Eigen::Index>(i)]);
        return std::tuple(std::string_view(font.family), font.size, font.style, font.decorations.value(),
                          channels);
    };
    return key(*this) < key(other);
}

TextRenderer::TextRenderer() = default;
TextRenderer::~TextRenderer() = default;

void TextRenderer::registerFontFamily(const std::string& name, const ByteBufferView& regular,
                                      const ByteBufferView& bold, const ByteBufferView& boldItalic,
                                      const ByteBufferView& italic) {
    FontFamilyRegistry::instance().add(
        name, {{copyFile(regular), copyFile(bold), copyFile(boldItalic), copyFile(italic)}});
}

FontAtlas* TextRenderer::getFont(const Font& font) const {
    Font effective = font;
    effective.size = effectiveSize(font.size, dpiScale());
    if (const auto found = m_fonts.find(effective); found != m_fonts.end())
        return found->second;
    const FontFamilyRegistry& registry = FontFamilyRegistry::instance();
    const FontFamilyRegistry::FontSource* source = registry.find(font.family);
    if (!source) {
        logMessage(Log::Warning, category, [&] {
            return "Could not find requested font family '" + font.family + "', using '" +
                   FontFamilyRegistry::builtIn + "' instead.";
        });
        source = registry.find(FontFamilyRegistry::builtIn);
    }
    try {
        FontAtlas& atlas = face(source->file(static_cast<int>(font.style)), fontPixelSize(effective.size));
        m_fonts.emplace(std::move(effective), &atlas);
        return &atlas;
    } catch (const std::exception& exception) {
        logMessage(Log::Error, category, exception.what());
        return nullptr;
    }
}

FontAtlas& TextRenderer::face(const std::shared_ptr<const ByteBuffer>& file, int pixelSize) const {
    const std::pair key(file.get(), pixelSize);
    auto found = m_faces.find(key);
    if (found == m_faces.end())
        found = m_faces.emplace(key, std::make_unique<Face>(file, pixelSize)).first;
    return found->second->atlas;
}

double TextRenderer::lineHeightPx(const Font& font) const {
    const FontAtlas* const atlas = getFont(font);
    return atlas ? atlas->lineHeightPx() : 0;
}

std::vector<std::string> TextRenderer::splitLines(const std::string& text) {
    return String::split(text, "\n");
}

Eigen::Vector2i TextRenderer::textSize(const std::string& text, const Font& font) const {
    FontAtlas* const atlas = getFont(font);
    if (!atlas)
        return {0, 0};
    const std::vector<std::string> lines = splitLines(text);
    double width = 0;
    double lastHeight = 0;
    for (const std::string& line : lines) {
        const Eigen::Vector2f size = atlas->bounds(line).size();
        width = std::max(width, std::ceil(double{size.x()}));
        lastHeight = std::ceil(double{size.y()});
    }
    const double height =
        static_cast<double>(lines.size() - 1) * std::ceil(atlas->lineHeightPx()) + lastHeight;
    return {static_cast<int>(width), static_cast<int>(height)};
}

void TextRenderer::renderText(const Viewport& viewport, const Eigen::Vector2d& position,
                              const std::string& text, const Font& font, AlignmentH alignH,
                              AlignmentV alignV) const {
    renderTextImpl(viewport, position.x(), position.y(), 0, text, font, alignH, alignV);
}

void TextRenderer::renderTextWorld(const ViewState& viewState, const Eigen::Vector3d& position,
                                   const std::string& text, const Font& font, AlignmentH alignH,
                                   AlignmentV alignV, bool useDepth) const {
    bool behindCamera = false;
    const Eigen::Vector3d window = viewState.project(position, &behindCamera);
    if (behindCamera || (useDepth && !(window.z() >= 0 && window.z() <= 1)))
        return;
    const Viewport& viewport = viewState.viewport();
    renderTextImpl(viewport, window.x() - viewport.x, window.y() - viewport.y, useDepth ? window.z() : 0,
                   text, font, alignH, alignV);
}

void TextRenderer::renderTextImpl(const Viewport& viewport, double x, double y, double z,
                                  const std::string& text, const Font& font, AlignmentH alignH,
                                  AlignmentV alignV) const {
    FontAtlas* const atlas = getFont(font);
    if (!atlas) {
        logMessage(Log::Debug, category,
                   [&] { return "Could not create font atlas for font " + font.family; });
        return;
    }
    if (viewport.width <= 0 || viewport.height <= 0 || !std::isfinite(x) || !std::isfinite(y))
        return;
    try {
        drawText(*atlas, viewport, {x, y, z}, text, font, alignH, alignV);
    } catch (const std::exception& exception) {
        logMessage(Log::Error, category, exception.what());
    }
}

void TextRenderer::drawText(FontAtlas& atlas, const Viewport& viewport, const Eigen::Vector3d& anchor,
                            const std::string& text, const Font& font, AlignmentH alignH, AlignmentV alignV) {
    std::vector<FontAtlas::Line> lines;
    for (const std::string& line : splitLines(text))
        lines.push_back(atlas.layOut(line));
    const bool underline = font.decorations.test(Decoration::Underline);
    const bool strikeThrough = font.decorations.test(Decoration::StrikeThrough);
    const LineBox reference = underline || strikeThrough ? atlas.bounds("Tj") : LineBox();
    const double lineHeight = std::ceil(atlas.lineHeightPx());
    double baseline =
        anchor.y() + verticalOffset(alignV, lines.front().box, lines.back().box, lineHeight, lines.size());

    const TextState state(viewport);
    const Eigen::Matrix4d projection = windowProjection(viewport);
    std::vector<Eigen::Vector3d> segments;
    for (const FontAtlas::Line& line : lines) {
        const double left = anchor.x() + horizontalOffset(alignH, line.box);
        const double right = left + double{line.box.size().x()};
        const auto addSegment = [&](double height) {
            segments.emplace_back(left, height, anchor.z());
            segments.emplace_back(right, height, anchor.z());
        };
        if (underline && right > left)
            addSegment(underlineY(baseline, reference));
        if (strikeThrough && right > left)
            addSegment(strikeThroughY(baseline, reference));
        atlas.addLine(line, {left, baseline, anchor.z()});
        if (atlas.hasManyLines() || &line == &lines.back())
            atlas.drawLines(viewport, projection, font.color, font.decorations.test(Decoration::Shadow));
        baseline -= lineHeight;
    }
    if (!segments.empty())
        LineRenderer::get()->renderLines(segments,
                                         LineRenderer::Options(font.color, atlas.lineHeightPx() * 0.08),
                                         ViewState(viewport, projection, Eigen::Matrix4d::Identity()));
}

} // namespace Veltrand::GL
