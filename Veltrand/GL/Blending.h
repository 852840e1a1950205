// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <Veltrand/Core/NotCopyable.h>
#include <Veltrand/GL/EigenForward.h>
#include <Veltrand/GL/Export.h>
#include <Veltrand/GL/GL.h>

#include <array>
#include <memory>
#include <optional>

namespace Veltrand::GL {

/// Changes how colours are blended until the end of its scope, then puts back what was there before: on or
/// off and factors always, equation and constant colour if they were changed through this object. What draw
/// buffers have each for themselves comes back too.
///
///     const Blending blending(Blending::Preset::Alpha);
///
/// Belongs to the context that is current where it is made: destroy it there, on the same thread.
class VELTRAND_GL_API Blending : private Utils::NotCopyable {
public:
    /// The two ways of blending that most drawing needs.
    enum class Preset : int {
        Off = 0, ///< no blending
        Alpha =
            1, ///< source over destination with straight alpha; the result's alpha is the coverage of both
    };

    /// What a colour is multiplied by before the two are put together.
    enum class Function : GLenum {
        Zero = 0,                       // GL_ZERO
        One = 1,                        // GL_ONE
        SrcColor = 0x0300,              // GL_SRC_COLOR
        OneMinusSrcColor = 0x0301,      // GL_ONE_MINUS_SRC_COLOR
        SrcAlpha = 0x0302,              // GL_SRC_ALPHA
        OneMinusSrcAlpha = 0x0303,      // GL_ONE_MINUS_SRC_ALPHA
        DstAlpha = 0x0304,              // GL_DST_ALPHA
        OneMinusDstAlpha = 0x0305,      // GL_ONE_MINUS_DST_ALPHA
        DstColor = 0x0306,              // GL_DST_COLOR
        OneMinusDstColor = 0x0307,      // GL_ONE_MINUS_DST_COLOR
        SrcAlphaSaturate = 0x0308,      // GL_SRC_ALPHA_SATURATE
        ConstantColor = 0x8001,         // GL_CONSTANT_COLOR
        OneMinusConstantColor = 0x8002, // GL_ONE_MINUS_CONSTANT_COLOR
        ConstantAlpha = 0x8003,         // GL_CONSTANT_ALPHA
        OneMinusConstantAlpha = 0x8004, // GL_ONE_MINUS_CONSTANT_ALPHA
        Src1Alpha = 0x8589,             // GL_SRC1_ALPHA
        Src1Color = 0x88F9,             // GL_SRC1_COLOR
        OneMinusSrc1Color = 0x88FA,     // GL_ONE_MINUS_SRC1_COLOR
        OneMinusSrc1Alpha = 0x88FB,     // GL_ONE_MINUS_SRC1_ALPHA
    };

    /// How source and destination are put together; `Min` and `Max` take no factors.
    enum class Equation : GLenum {
        FuncAdd = 0x8006,             // GL_FUNC_ADD
        Min = 0x8007,                 // GL_MIN
        Max = 0x8008,                 // GL_MAX
        FuncSubtract = 0x800A,        // GL_FUNC_SUBTRACT
        FuncReverseSubtract = 0x800B, // GL_FUNC_REVERSE_SUBTRACT
    };

    /// As `setPreset`.
    [[nodiscard]] explicit Blending(Preset preset);
    /// Blending on, with the same factors for colour and alpha.
    [[nodiscard]] Blending(Function src, Function dst);
    /// Blending on.
    [[nodiscard]] Blending(Function srcRGB, Function dstRGB, Function srcAlpha, Function dstAlpha);
    ~Blending();

    /// The source then neither sets nor restores anything. A target of the assignment forgets what it would
    /// have restored, except a saved equation or colour that the source has not saved.
    Blending(Blending&& other) noexcept;
    Blending& operator=(Blending&& other) noexcept;

    /// Takes the present switch and factors as those to put back. GL: glGetIntegerv, 1.4
    void getState();

    /// GL: glEnable, glDisable, 1.0
    void setBlendingEnabled(bool enabled);
    /// GL: glBlendFuncSeparate, 1.4
    void setFunction(Function srcRGB, Function dstRGB, Function srcAlpha, Function dstAlpha);
    /// The same factors for colour and alpha.
    void setFunction(Function src, Function dst);
    /// GL: glBlendEquationSeparate, 2.0
    void setEquation(Equation rgb, Equation alpha);
    /// The same equation for colour and alpha.
    void setEquation(Equation equation);
    /// What the Constant factors refer to, as red, green, blue, alpha. GL: glBlendColor, 1.4
    void setBlendColor(const Eigen::Vector4f& color);
    /// A value without a preset changes nothing.
    void setPreset(Preset preset);

private:
    struct Equations {
        GLenum rgb;
        GLenum alpha;
    };
    struct Indexed;

    Indexed& indexed();

    bool m_released = false;
    bool m_enabled = false;
    GLenum m_srcRGB = 0;
    GLenum m_srcAlpha = 0;
    GLenum m_dstRGB = 0;
    GLenum m_dstAlpha = 0;
    std::optional<Equations> m_equations;
    std::optional<std::array<float, 4>> m_color;
    std::unique_ptr<Indexed> m_indexed; ///< null where all draw buffers have the same
};

} // namespace Veltrand::GL
