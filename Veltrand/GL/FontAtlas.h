// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <Veltrand/Core/AlignedBox.h>
#include <Veltrand/Core/ByteBuffer.h>
#include <Veltrand/Core/NotCopyable.h>
#include <Veltrand/GL/Export.h>
#include <Veltrand/GL/GL.h>

#include <Eigen/Core>
#include <cstddef>
#include <memory>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

struct FT_FaceRec_;
struct FT_GlyphSlotRec_;
struct FT_LibraryRec_;

namespace Veltrand::GL {

class GlyphPacking;

/// One font at one size: its glyphs, rasterised when they are first needed into a texture of 768 x 768
/// texels, and the drawing of single lines with them. `TextRenderer` chooses fonts and lays out whole texts.
///
/// Lengths are pixels of the text, with y upwards; the pen starts at (0, 0) on the baseline.
///
/// When the texture is full, glyphs that are needed for the first time stay blank. Nothing is ever thrown
/// away: a text with ever new characters at a large size fills an atlas for good.
///
/// Belongs to the context in which it was made, and to the thread on which that is current. Messages go to
/// the log category "GL.FontAtlas".
class VELTRAND_GL_API FontAtlas : private Utils::NotCopyable {
public:
    /// In pixels from the start of the pen, y upwards.
    using Box = Geometry::AlignedBox<float, 2>;

    /// Measures of a character; all zero for one that stays blank. Twelve floats.
    struct Glyph {
        Eigen::Vector2f advance{0, 0}; ///< from its pen to that of the next character
        Eigen::Vector2f size{0, 0};    ///< of the bitmap
        Eigen::Vector2f bearing{0, 0}; ///< from the pen to the bitmap's upper left corner
        Eigen::Vector2f atlas{0, 0};   ///< texel of the bitmap's first row and column
        Eigen::Vector2f boxMin{0, 0};  ///< of the outline's control points, from the pen
        Eigen::Vector2f boxMax{0, 0};  ///< likewise, the upper right corner
    };

    /// @param fontData a font file; the caller keeps it alive as long as the atlas
    /// @param pixelSize height of the em square, in pixels
    ///
    /// Throws `std::runtime_error`: "Could not init FreeType library." and "Could not create font from
    /// buffer", which are logged too, "Could not set FreeType fontsize.", and what textures and programs
    /// throw. GL: glTexImage2D, glCreateProgram, 3.3
    FontAtlas(const ByteBufferView& fontData, int pixelSize);
    ~FontAtlas();
    /// The source then has no font: its glyphs have no extent, it draws nothing, and `init` throws.
    FontAtlas(FontAtlas&& other) noexcept;
    FontAtlas& operator=(FontAtlas&& other) noexcept;

    /// Starts over with an empty texture, as the constructor does; references to glyphs end.
    /// Throws as the constructor.
    void init();

    /// The glyph of a Unicode code point, good until `init`. Control characters (below 32) have no extent. A
    /// character that the font lacks has the font's replacement glyph. One that cannot be loaded, or for
    /// which there is no room, is logged as an error and stays blank.
    /// GL: glTexSubImage2D, glPixelStorei, 1.0, for a new glyph; leaves the texture bound to unit 0
    [[nodiscard]] const Glyph& glyph(unsigned int codePoint);
    /// What the pen moves further between two neighbours, left and right; a fraction of a pixel, too.
    [[nodiscard]] const Eigen::Vector2f& kerning(const std::pair<unsigned int, unsigned int>& codePoints);

    /// The code points of UTF-8 text, up to the first error in it, which is logged at debug level.
    [[nodiscard]] std::vector<unsigned int> convertUtf8(const std::string& text) const;

    /// Draws one line with the state that is set: callers blend by the source's alpha. Line breaks are
    /// control characters here.
    ///
    /// Positions are rounded to whole pixels of the text. Where these are pixels of the window, what is drawn
    /// are the pixels of the glyphs' bitmaps; text that is turned or scaled, also by its distance, is
    /// filtered.
    /// @param viewMatrix maps pixels of the text to clip space
    /// @param position of the pen, in pixels of the text; x and y on the baseline
    /// @param color red, green, blue, alpha
    /// @param shadowing whether dark text is set off by a light shadow and light text by a dark one: one
    ///        pixel within the bitmap and to the right and below it
    ///
    /// Leaves no program, vertex array object or texture of its own bound, and a unit other than 0 active.
    /// GL: glBufferData, glDrawArrays, 3.3
    void renderLine(const std::string& text, const Eigen::Matrix4d& viewMatrix,
                    const Eigen::Vector3d& position, const Eigen::Vector4d& color, bool shadowing);
    /// The box of a line's outlines, in whole pixels; the pen's start is always in it.
    [[nodiscard]] Box bounds(const std::string& text);
    /// From one baseline to the next: 1.2 times the pixel size.
    [[nodiscard]] double lineHeightPx() const;

private:
    friend class TextRenderer;

    using CodePointPair = std::pair<unsigned int, unsigned int>;
    struct PairHash {
        std::size_t operator()(const CodePointPair& pair) const {
            return (std::size_t{pair.second} + 78705) ^ pair.first;
        }
    };
    /// Spares ASCII text the hash maps.
    struct AsciiTable;

    struct PlacedGlyph {
        const Glyph* glyph;
        Eigen::Vector2f pen;
    };
    /// A line, decoded and measured once to be placed and drawn.
    struct Line {
        std::vector<PlacedGlyph> glyphs;
        Box box;
    };

    [[nodiscard]] const Glyph& rasterise(unsigned int codePoint);
    [[nodiscard]] Eigen::Vector2f readKerning(const CodePointPair& codePoints) const;
    [[nodiscard]] Eigen::Vector2f lookUpKerning(const CodePointPair& codePoints);

    [[nodiscard]] Line layOut(const std::string& text);
    /// Adds a line to those that the next `drawLines` draws in one go.
    void addLine(const Line& line, const Eigen::Vector3d& position);
    /// Whether to draw them, rather than to take more memory for more.
    [[nodiscard]] bool hasManyLines() const;
    /// @param viewport the one that is set
    void drawLines(const Viewport& viewport, const Eigen::Matrix4d& viewMatrix, const Eigen::Vector4d& color,
                   bool shadowing);

    // In this order: FreeType goes first, then the OpenGL objects, then the caches.
    std::unordered_map<unsigned int, Glyph> m_glyphs;
    std::unordered_map<CodePointPair, Eigen::Vector2f, PairHash> m_kernings;
    std::unique_ptr<AsciiTable> m_ascii;
    std::vector<Eigen::Vector3f> m_positions;
    std::vector<Eigen::Vector2f> m_texCoords;
    std::unique_ptr<Texture> m_texture;
    std::unique_ptr<Sampler> m_smoothSampler; ///< for text that is turned or scaled
    std::unique_ptr<VertexBuffer> m_vertexBuffer;
    std::unique_ptr<FT_LibraryRec_, void (*)(FT_LibraryRec_*)> m_library;
    FT_FaceRec_* m_face = nullptr;
    FT_GlyphSlotRec_* m_slot = nullptr;
    int m_pixelSize;
    std::unique_ptr<GlyphPacking> m_packing;
};

} // namespace Veltrand::GL
