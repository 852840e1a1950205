// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <Veltrand/Core/ByteBuffer.h>
#include <Veltrand/Core/Flags.h>
#include <Veltrand/GL/Export.h>
#include <Veltrand/GL/GL.h>
#include <Veltrand/GL/InstanceManager.h>

#include <Eigen/Core>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace Veltrand::GL {

class FontAtlas;

/// Draws text of one or more lines, in the window or at points of a scene.
///
///     TextRenderer::Font font;
///     font.size = 12;
///     font.decorations = TextRenderer::Decoration::Shadow;
///     TextRenderer::get()->renderText(viewport, {10, 10}, "Grüße", font, TextRenderer::AlignmentH::Left,
///                                     TextRenderer::AlignmentV::Baseline);
///
/// Text is UTF-8 and lies on whole pixels, so that it is sharp. Of text with an error in its encoding the
/// part before it is drawn. The font "DejaVu Sans" is built in; others are registered as font files.
///
/// Per context, see `InstanceManager`: everything but `registerFontFamily` needs the context current, and
/// nothing throws. Messages go to the log category "GL.TextRenderer".
class VELTRAND_GL_API TextRenderer : public InstanceManager<TextRenderer> {
public:
    /// Which of the files of a family.
    enum class Style : int {
        Regular = 0,
        Bold = 1,
        BoldItalic = 2,
        Italic = 3,
    };

    /// What is drawn besides the glyphs.
    enum class Decoration : unsigned int {
        Shadow = 1, ///< one pixel around glyphs, light for dark text and dark for light text
        Underline = 2,
        StrikeThrough = 4,
    };

    /// What text looks like.
    struct VELTRAND_GL_API Font {
        std::string family = "DejaVu Sans"; ///< this one, or a registered one
        /// In points, 72 of which are 96 pixels times the DPI scale; -1 for 16 pixels at any DPI scale.
        int size = -1;
        Style style = Style::Regular;      ///< the regular one stands in for a style that the family has not
        Flags<Decoration> decorations;     ///< none at first
        Eigen::Vector4d color{1, 1, 1, 1}; ///< red, green, blue, alpha

        /// Some order, in which no two different fonts are equal.
        [[nodiscard]] bool operator<(const Font& other) const;
    };

    /// What of the text lies at the anchor: for each line its left edge, its middle, its right edge.
    enum class AlignmentH : int {
        Left = 0,
        Center = 1,
        Right = 2,
    };

    /// What of the text lies at the anchor.
    enum class AlignmentV : int {
        Top = 0,      ///< the top of the first line's outlines
        Center = 1,   ///< the middle of the outlines
        Baseline = 2, ///< the baseline of the first line
        Bottom = 3,   ///< the bottom of the last line's outlines
    };

    TextRenderer();
    ~TextRenderer() override;

    /// Adds a font family for all contexts, or replaces it: fonts asked for afterwards use it, those that
    /// have been in use keep theirs. Not while another thread draws text. Needs no context.
    /// @param regular and the others: font files, which are copied. All but the first may be empty; a style
    ///        without a file is drawn with the regular one.
    static void registerFontFamily(const std::string& name, const ByteBufferView& regular,
                                   const ByteBufferView& bold, const ByteBufferView& boldItalic,
                                   const ByteBufferView& italic);

    /// The glyphs of a font, made when it is first asked for, and good as long as the renderer. Fonts that
    /// differ in colour or decoration share them, but each that is asked for or drawn with, colours included,
    /// keeps an entry until the renderer goes.
    ///
    /// An unknown family is logged as a warning, "Could not find requested font family 'NAME', using 'DejaVu
    /// Sans' instead.", once per font. Null when the font cannot be made, which is logged as an error.
    [[nodiscard]] FontAtlas* getFont(const Font& font) const;

    /// Pixels from one baseline to the next; 0 when the font cannot be made.
    [[nodiscard]] double lineHeightPx(const Font& font) const;
    /// Width and height in pixels; (0, 0) when the font cannot be made. The height reaches from one baseline
    /// to the next for all lines but the last, which counts with its outlines.
    [[nodiscard]] Eigen::Vector2i textSize(const std::string& text, const Font& font) const;
    /// The text, split at every "\n": one more line than there are such characters.
    [[nodiscard]] static std::vector<std::string> splitLines(const std::string& text);

    // Drawing
    //
    // Text is limited to the viewport, blended by its alpha (the framebuffer's own alpha too), and passes the
    // depth test where it is not behind what has been drawn. It leaves no depth. What is changed for it
    // (viewport, scissor test and box, depth test and mask, blending, program) is put back, and all other
    // state is used as the caller set it. No vertex array object and no array buffer are bound afterwards,
    // texture unit 1 is empty and active, and generic attribute 3 is changed by lines under and through text.
    // New glyphs leave a texture bound to unit 0, also when text is measured. Without a font nothing is
    // drawn, which is logged. GL: glBufferData, glDrawArrays, 3.3

    /// Draws text in front of everything, at a position in pixels from the viewport's lower left corner.
    void renderText(const Viewport& viewport, const Eigen::Vector2d& position, const std::string& text,
                    const Font& font, AlignmentH alignH, AlignmentV alignV) const;
    /// Draws text at a world point, in the plane of the window.
    /// @param useDepth whether the text is as deep in the scene as its point, and not drawn where that lies
    ///        nearer than the near plane or farther than the far one; otherwise it is in front of everything,
    ///        and a point behind the eye is projected through it
    void renderTextWorld(const ViewState& viewState, const Eigen::Vector3d& position, const std::string& text,
                         const Font& font, AlignmentH alignH, AlignmentV alignV, bool useDepth) const;
    /// Draws text at a position in the viewport and a window depth from 0 (near) to 1 (far).
    void renderTextImpl(const Viewport& viewport, double x, double y, double z, const std::string& text,
                        const Font& font, AlignmentH alignH, AlignmentV alignV) const;

private:
    /// One font file at one size.
    struct Face;

    [[nodiscard]] FontAtlas& face(const std::shared_ptr<const ByteBuffer>& file, int pixelSize) const;

    static void drawText(FontAtlas& atlas, const Viewport& viewport, const Eigen::Vector3d& anchor,
                         const std::string& text, const Font& font, AlignmentH alignH, AlignmentV alignV);

    mutable std::map<Font, FontAtlas*> m_fonts;
    mutable std::map<std::pair<const ByteBuffer*, int>, std::unique_ptr<Face>> m_faces;
};

VELTRAND_FLAG_OPERATORS(TextRenderer::Decoration)

} // namespace Veltrand::GL
