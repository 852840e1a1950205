// SPDX-License-Identifier: BSD-3-Clause
#include <Veltrand/GL/FontAtlas.h>

#include <Veltrand/Core/Log.h>
#include <Veltrand/GL/InstanceManager.h>
#include <Veltrand/GL/Program.h>
#include <Veltrand/GL/Sampler.h>
#include <Veltrand/GL/Texture.h>
#include <Veltrand/GL/VertexBuffer.h>
#include <Veltrand/GL/Viewport.h>
#include <Veltrand/GL/detail/GlyphPacking.h>
#include <Veltrand/GL/detail/LogMessage.h>
#include <Veltrand/GL/detail/MoveOnly.h>
#include <Veltrand/GL/detail/PixelStore.h>
#include <Veltrand/GL/detail/ScopedState.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <glad/gl.h>
#include <iterator>
#include <limits>
#include <stdexcept>
#include <string_view>
#include <utf8.h>

#include <ft2build.h>
#include FT_FREETYPE_H
#include FT_BITMAP_H
#include FT_OUTLINE_H

namespace Veltrand::GL {

static_assert(MoveOnly<FontAtlas>);
static_assert(sizeof(FontAtlas::Glyph) == 12 * sizeof(float));

namespace {

using Eigen::Vector2f;
using Eigen::Vector3f;

constexpr std::string_view category = "GL.FontAtlas";
constexpr unsigned int firstPrintable = 32;
constexpr unsigned int firstBeyondAscii = 128;
constexpr std::size_t verticesPerGlyph = 6;
/// Vertices that are enough for one draw call, and vertices for which memory is kept at most.
constexpr std::size_t manyVertices = std::size_t{1} << 16;
constexpr std::size_t keptVertices = manyVertices * 4;

Program makeProgram(const char* defines) {
    return {{{Program::Stage::Vertex, "VeltrandGL/FontAtlas.vert"},
             {Program::Stage::Fragment, "VeltrandGL/FontAtlas.frag"}},
            defines,
            Program::Compilation::ImmediateThrow};
}

// Each costs fragments only what it is for.

class FontAtlasProgram : public Program, public InstanceManager<FontAtlasProgram> {
public:
    FontAtlasProgram()
        : Program(makeProgram("")) {}
};

class FontAtlasShadowProgram : public Program, public InstanceManager<FontAtlasShadowProgram> {
public:
    FontAtlasShadowProgram()
        : Program(makeProgram("#define WITH_SHADOW\n")) {}
};

class FontAtlasDivisionProgram : public Program, public InstanceManager<FontAtlasDivisionProgram> {
public:
    FontAtlasDivisionProgram()
        : Program(makeProgram("#define WITH_DIVISION\n")) {}
};

class FontAtlasShadowDivisionProgram : public Program,
                                       public InstanceManager<FontAtlasShadowDivisionProgram> {
public:
    FontAtlasShadowDivisionProgram()
        : Program(makeProgram("#define WITH_SHADOW\n#define WITH_DIVISION\n")) {}
};

Program& programFor(bool shadowing, bool divides) {
    if (divides)
        return shadowing ? static_cast<Program&>(*FontAtlasShadowDivisionProgram::get())
                         : *FontAtlasDivisionProgram::get();
    return shadowing ? static_cast<Program&>(*FontAtlasShadowProgram::get()) : *FontAtlasProgram::get();
}

/// Whether texts, whose z is the same throughout, get smaller along or across the line.
bool hasPerspective(const Eigen::Matrix4d& matrix) {
    return !matrix.block<1, 2>(3, 0).isZero(0);
}

void closeLibrary(FT_Library library) {
    FT_Done_FreeType(library);
}

FT_Library openLibrary() {
    FT_Library library = nullptr;
    if (FT_Init_FreeType(&library) == FT_Err_Ok)
        return library;
    constexpr const char* text = "Could not init FreeType library.";
    logMessage(Log::Error, category, text);
    throw std::runtime_error(text);
}

/// Whether the matrix puts whole pixels of a text at this z onto whole pixels of the window.
bool mapsToPixels(const Eigen::Matrix4d& matrix, double z, const Viewport& viewport) {
    constexpr double tolerance = 1e-3;
    const double w = matrix(3, 2) * z + matrix(3, 3);
    if (hasPerspective(matrix) || !(w > 0))
        return false;
    const Eigen::Vector2d halfSize = Eigen::Vector2d(viewport.width, viewport.height) / 2;
    const Eigen::Matrix2d scale = halfSize.asDiagonal() * matrix.topLeftCorner<2, 2>() / w;
    const Eigen::Vector2d origin = (matrix.block<2, 1>(0, 2) * z + matrix.block<2, 1>(0, 3)) / w;
    const Eigen::Vector2d shift = halfSize.cwiseProduct(origin + Eigen::Vector2d::Ones());
    return (scale - Eigen::Matrix2d::Identity()).cwiseAbs().maxCoeff() * GlyphPacking::textureSize <
               tolerance &&
           (shift - shift.array().round().matrix()).cwiseAbs().maxCoeff() < tolerance;
}

/// As `std::round`, without a call on processors for which that takes one.
float roundToPixel(float length) {
    constexpr float exact = 1 << 22; // floats from twice that on are whole
    if (!(std::abs(length) < exact))
        return std::round(length);
    const int whole = static_cast<int>(length);
    const float rest = length - static_cast<float>(whole);
    return static_cast<float>(whole + int{rest >= 0.5F} - int{rest <= -0.5F});
}

/// Lengths of 26.6 fixed point numbers.
Vector2f fromFixed(const FT_Vector& vector) {
    return Vector2f(static_cast<float>(vector.x), static_cast<float>(vector.y)) / 64;
}

/// Uploads coverages to the texture that is bound. A font's own small bitmaps may have fewer greys than
/// rendered outlines, or gaps between rows.
void uploadBitmap(FT_Library library, const FT_Bitmap& bitmap, const GlyphPacking::Cell& cell) {
    const auto width = static_cast<GLsizei>(bitmap.width);
    const auto height = static_cast<GLsizei>(bitmap.rows);
    const auto upload = [&](const unsigned char* texels) {
        glTexSubImage2D(GL_TEXTURE_2D, 0, cell.x, cell.y, width, height, GL_RED, GL_UNSIGNED_BYTE, texels);
    };
    if (bitmap.pixel_mode == FT_PIXEL_MODE_GRAY && bitmap.num_grays == 256 && bitmap.pitch == width) {
        upload(bitmap.buffer);
        return;
    }
    FT_Bitmap converted;
    FT_Bitmap_Init(&converted);
    if (FT_Bitmap_Convert(library, &bitmap, &converted, 1) == FT_Err_Ok) {
        const std::size_t count = std::size_t{bitmap.width} * bitmap.rows;
        for (std::size_t i = 0; i < count; ++i)
            converted.buffer[i] =
                static_cast<unsigned char>(converted.buffer[i] * 255 / (converted.num_grays - 1));
        upload(converted.buffer);
    }
    FT_Bitmap_Done(library, &converted);
}

} // namespace

struct FontAtlas::AsciiTable {
    static constexpr std::size_t columns = firstBeyondAscii - firstPrintable;

    [[nodiscard]] static bool contains(unsigned int codePoint) {
        return codePoint - firstPrintable < columns;
    }

    [[nodiscard]] std::int16_t& kerning(const CodePointPair& pair) {
        return kernings[(pair.first - firstPrintable) * columns + (pair.second - firstPrintable)];
    }

    std::array<const Glyph*, columns> glyphs{};
    // Along the line, in 64ths of a pixel: small enough to stay in the processor's cache.
    static constexpr std::int16_t unknown = std::numeric_limits<std::int16_t>::min();
    std::array<std::int16_t, columns* columns> kernings = [] {
        std::array<std::int16_t, columns * columns> none{};
        none.fill(unknown);
        return none;
    }();
};

FontAtlas::FontAtlas(const ByteBufferView& fontData, int pixelSize)
    : m_ascii(std::make_unique<AsciiTable>())
    , m_library(openLibrary(), closeLibrary)
    , m_pixelSize(pixelSize) {
    if (FT_New_Memory_Face(m_library.get(), reinterpret_cast<const FT_Byte*>(fontData.data()),
                           static_cast<FT_Long>(fontData.size()), 0, &m_face) != FT_Err_Ok) {
        logMessage(Log::Error, category, "Could not create font from buffer.");
        throw std::runtime_error("Could not create font from buffer");
    }
    init();
}

FontAtlas::~FontAtlas() = default;
FontAtlas::FontAtlas(FontAtlas&& other) noexcept = default;

FontAtlas& FontAtlas::operator=(FontAtlas&& other) noexcept {
    if (this == &other)
        return *this;
    m_glyphs = std::move(other.m_glyphs);
    m_kernings = std::move(other.m_kernings);
    m_ascii = std::move(other.m_ascii);
    m_positions = std::move(other.m_positions);
    m_texCoords = std::move(other.m_texCoords);
    m_texture = std::move(other.m_texture);
    m_smoothSampler = std::move(other.m_smoothSampler);
    m_vertexBuffer = std::move(other.m_vertexBuffer);
    m_library = std::move(other.m_library);
    m_face = other.m_face;
    m_slot = other.m_slot;
    m_pixelSize = other.m_pixelSize;
    m_packing = std::move(other.m_packing);
    return *this;
}

void FontAtlas::init() {
    if (!m_library || m_pixelSize < 0 ||
        FT_Set_Pixel_Sizes(m_face, 0, static_cast<FT_UInt>(m_pixelSize)) != FT_Err_Ok)
        throw std::runtime_error("Could not set FreeType fontsize.");
    m_slot = m_face->glyph;
    (void)FontAtlasProgram::get();
    m_texture = std::make_unique<Texture>(
        Texture::Target::Texture2D, Eigen::Vector3i(GlyphPacking::textureSize, GlyphPacking::textureSize, 1),
        InternalFormat::R8);
    m_texture->setFiltering(Sampler::MinFilter::Nearest, Sampler::MagFilter::Nearest);
    // Nothing is to the left of the first column, where a shadow looks for it.
    m_texture->setWrapping(Sampler::Wrap::ClampToBorder);
    m_smoothSampler = std::make_unique<Sampler>();
    m_smoothSampler->setFiltering(Sampler::MinFilter::Linear, Sampler::MagFilter::Linear);
    m_smoothSampler->setWrapping(Sampler::Wrap::ClampToBorder);
    m_texture->clear<float>(Eigen::Vector4f::Zero());
    m_vertexBuffer = std::make_unique<VertexBuffer>(Buffer::Usage::StaticDraw);
    m_packing = std::make_unique<GlyphPacking>(m_pixelSize);
    m_ascii->glyphs.fill(nullptr);
    m_glyphs.clear();
    m_glyphs.emplace(0U, Glyph{});
}

// The ASCII table is asked before the hash maps, and filled from them.

const FontAtlas::Glyph& FontAtlas::glyph(unsigned int codePoint) {
    if (!m_ascii) {
        static const Glyph none;
        return none;
    }
    if (codePoint < firstPrintable)
        return m_glyphs.at(0);
    const bool ascii = AsciiTable::contains(codePoint);
    if (ascii)
        if (const Glyph* const known = m_ascii->glyphs[codePoint - firstPrintable])
            return *known;
    const auto found = m_glyphs.find(codePoint);
    if (found == m_glyphs.end())
        return rasterise(codePoint);
    if (ascii)
        m_ascii->glyphs[codePoint - firstPrintable] = &found->second;
    return found->second;
}

const FontAtlas::Glyph& FontAtlas::rasterise(unsigned int codePoint) {
    // Without room for it a glyph of any size could be asked for, which is not worth its pixels.
    const FT_Int32 flags = m_packing->isFull() ? FT_LOAD_DEFAULT : FT_LOAD_RENDER;
    if (FT_Load_Char(m_face, codePoint, flags) != FT_Err_Ok) {
        logMessage(Log::Error, category,
                   [&] { return "Loading character " + std::to_string(codePoint) + " failed!"; });
        return m_glyphs.at(0);
    }
    const FT_Bitmap& bitmap = m_slot->bitmap;
    const auto cell = m_packing->place(static_cast<int>(bitmap.width), static_cast<int>(bitmap.rows));
    if (!cell) {
        logMessage(Log::Error, category, [&] {
            return "Can not prepare glyph for character " + std::to_string(codePoint) +
                   ": texture atlas is full.";
        });
        return m_glyphs.try_emplace(codePoint).first->second;
    }
    if (bitmap.width > 0 && bitmap.rows > 0) {
        const UploadAlignment alignment;
        const PlainTransfer plain(TransferDirection::Upload);
        glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
        m_texture->bind(0);
        uploadBitmap(m_library.get(), bitmap, *cell);
    }
    FT_BBox box;
    FT_Outline_Get_CBox(&m_slot->outline, &box);
    Glyph glyph;
    glyph.advance = {static_cast<float>(m_slot->advance.x >> 6), static_cast<float>(m_slot->advance.y >> 6)};
    glyph.size = {static_cast<float>(bitmap.width), static_cast<float>(bitmap.rows)};
    glyph.bearing = {static_cast<float>(m_slot->bitmap_left), static_cast<float>(m_slot->bitmap_top)};
    glyph.atlas = {static_cast<float>(cell->x), static_cast<float>(cell->y)};
    glyph.boxMin = fromFixed({box.xMin, box.yMin});
    glyph.boxMax = fromFixed({box.xMax, box.yMax});
    return m_glyphs.emplace(codePoint, glyph).first->second;
}

const Vector2f& FontAtlas::kerning(const CodePointPair& codePoints) {
    auto found = m_kernings.find(codePoints);
    if (found == m_kernings.end())
        found = m_kernings.emplace(codePoints, readKerning(codePoints)).first;
    return found->second;
}

Vector2f FontAtlas::lookUpKerning(const CodePointPair& codePoints) {
    if (!AsciiTable::contains(codePoints.first) || !AsciiTable::contains(codePoints.second))
        return kerning(codePoints);
    std::int16_t& known = m_ascii->kerning(codePoints);
    if (known != AsciiTable::unknown)
        return {static_cast<float>(known) / 64, 0.0F};
    const Vector2f& read = kerning(codePoints);
    const float fixed = read.x() * 64;
    if (read.y() == 0 && std::abs(fixed) <= std::numeric_limits<std::int16_t>::max())
        known = static_cast<std::int16_t>(fixed);
    return read;
}

Vector2f FontAtlas::readKerning(const CodePointPair& codePoints) const {
    if (!m_library || !FT_HAS_KERNING(m_face))
        return {0, 0};
    FT_Vector kerning{0, 0};
    if (FT_Get_Kerning(m_face, FT_Get_Char_Index(m_face, codePoints.first),
                       FT_Get_Char_Index(m_face, codePoints.second), FT_KERNING_UNFITTED,
                       &kerning) != FT_Err_Ok) {
        logMessage(Log::Debug, category, [&] {
            return "Could not compute kerning between characters " + std::to_string(codePoints.first) +
                   " and " + std::to_string(codePoints.second) + '.';
        });
        return {0, 0};
    }
    return fromFixed(kerning);
}

std::vector<unsigned int> FontAtlas::convertUtf8(const std::string& text) const {
    std::vector<unsigned int> codePoints;
    const auto isAscii = [](char byte) { return static_cast<unsigned char>(byte) < firstBeyondAscii; };
    if (std::all_of(text.begin(), text.end(), isAscii)) {
        codePoints.assign(text.begin(), text.end());
        return codePoints;
    }
    codePoints.reserve(text.size());
    try {
        utf8::utf8to32(text.begin(), text.end(), std::back_inserter(codePoints));
    } catch (const utf8::exception& exception) {
        logMessage(Log::Debug, category,
                   [&] { return std::string("Invalid UTF-8 sequence: ") + exception.what(); });
    }
    return codePoints;
}

FontAtlas::Line FontAtlas::layOut(const std::string& text) {
    Line line{{}, Box(Vector2f::Zero(), Vector2f::Zero())};
    if (!m_library)
        return line;
    const std::vector<unsigned int> codePoints = convertUtf8(text);
    line.glyphs.resize(codePoints.size());
    // Plain floats stay in registers, which vectors of two do not.
    float penX = 0;
    float penY = 0;
    float left = 0;
    float right = 0;
    float bottom = 0;
    float top = 0;
    for (std::size_t i = 0; i < codePoints.size(); ++i) {
        if (i > 0) {
            const Vector2f closer = lookUpKerning({codePoints[i - 1], codePoints[i]});
            penX += closer.x();
            penY += closer.y();
        }
        const Glyph& placed = glyph(codePoints[i]);
        line.glyphs[i] = {&placed, {penX, penY}};
        left = std::min(left, penX + placed.boxMin.x());
        right = std::max(right, penX + placed.boxMax.x());
        bottom = std::min(bottom, penY + placed.boxMin.y());
        top = std::max(top, penY + placed.boxMax.y());
        penX += placed.advance.x();
        penY += placed.advance.y();
    }
    line.box = Box({std::floor(left), std::floor(bottom)}, {std::ceil(right), std::ceil(top)});
    return line;
}

FontAtlas::Box FontAtlas::bounds(const std::string& text) {
    return layOut(text).box;
}

void FontAtlas::addLine(const Line& line, const Eigen::Vector3d& position) {
    const Vector3f start = position.cast<float>();
    std::size_t end = m_positions.size();
    m_positions.resize(end + verticesPerGlyph * line.glyphs.size());
    m_texCoords.resize(m_positions.size());
    for (const PlacedGlyph& placed : line.glyphs) {
        const Glyph& glyph = *placed.glyph;
        if ((glyph.advance.x() <= 0 && glyph.advance.y() <= 0) || glyph.size.x() <= 0 || glyph.size.y() <= 0)
            continue;
        // One texel more to the right and below, which is free in the atlas, for the shadow.
        const float width = glyph.size.x() + 1;
        const float height = glyph.size.y() + 1;
        const float left = roundToPixel(start.x() + placed.pen.x() + glyph.bearing.x());
        const float top = roundToPixel(start.y() + placed.pen.y() + glyph.bearing.y());
        const float right = left + width;
        const float bottom = top - height;
        constexpr float texels = GlyphPacking::textureSize;
        const float texLeft = glyph.atlas.x() / texels;
        const float texTop = glyph.atlas.y() / texels;
        const float texRight = (glyph.atlas.x() + width) / texels;
        const float texBottom = (glyph.atlas.y() + height) / texels;
        const auto addVertex = [&](float x, float y, float texX, float texY) {
            m_positions[end] = {x, y, start.z()};
            m_texCoords[end++] = {texX, texY};
        };
        addVertex(left, top, texLeft, texTop);
        addVertex(left, bottom, texLeft, texBottom);
        addVertex(right, bottom, texRight, texBottom);
        addVertex(right, top, texRight, texTop);
        addVertex(left, top, texLeft, texTop);
        addVertex(right, bottom, texRight, texBottom);
    }
    m_positions.resize(end);
    m_texCoords.resize(end);
}

bool FontAtlas::hasManyLines() const {
    return m_positions.size() >= manyVertices;
}

void FontAtlas::drawLines(const Viewport& viewport, const Eigen::Matrix4d& viewMatrix,
                          const Eigen::Vector4d& color, bool shadowing) {
    if (m_positions.empty())
        return;
    const auto forget = [](FontAtlas* atlas) {
        atlas->m_positions.clear();
        atlas->m_texCoords.clear();
        if (atlas->m_positions.capacity() > keptVertices) {
            atlas->m_positions.shrink_to_fit();
            atlas->m_texCoords.shrink_to_fit();
        }
    };
    // Drawn or not: what fails is not left to the next text.
    const std::unique_ptr<FontAtlas, decltype(forget)> pending(this, forget);
    m_vertexBuffer->bind();
    m_vertexBuffer->setData(m_positions, m_texCoords);
    const bool isFiltered = !mapsToPixels(viewMatrix, double{m_positions.front().z()}, viewport);
    // Clippers leave glyphs alone that are much smaller than the view, and what leaves it is not drawn.
    const bool mayBeClipped = isFiltered || 4 * m_pixelSize > std::min(viewport.width, viewport.height);
    Program& program = programFor(shadowing, mayBeClipped);
    program.enable();
    if (isFiltered)
        program.setArgument("u_fontTexture", *m_texture, *m_smoothSampler);
    else
        program.setArgument("u_fontTexture", *m_texture);
    program.setArgument("u_isFiltered", isFiltered);
    program.setArgument("u_viewMatrix", viewMatrix);
    program.setArgument("u_shadowing", shadowing);
    program.setArgument("u_color", color);
    m_vertexBuffer->draw(Primitive::Triangles);
    program.unbindImages(true);
    program.disable();
}

void FontAtlas::renderLine(const std::string& text, const Eigen::Matrix4d& viewMatrix,
                           const Eigen::Vector3d& position, const Eigen::Vector4d& color, bool shadowing) {
    addLine(layOut(text), position);
    Viewport viewport;
    viewport.retrieve();
    drawLines(viewport, viewMatrix, color, shadowing);
}

double FontAtlas::lineHeightPx() const {
    return m_pixelSize * 1.2;
}

} // namespace Veltrand::GL
