// SPDX-License-Identifier: BSD-3-Clause
#include <Veltrand/GL/Blending.h>

#include <Veltrand/GL/Functions.h>
#include <Veltrand/GL/detail/IndexedState.h>
#include <Veltrand/GL/detail/MoveOnly.h>

#include <Eigen/Core>
#include <glad/gl.h>
#include <utility>

namespace Veltrand::GL {

static_assert(MoveOnly<Blending>);
static_assert(GLenum(Blending::Function::Zero) == GL_ZERO && GLenum(Blending::Function::One) == GL_ONE &&
              GLenum(Blending::Function::SrcColor) == GL_SRC_COLOR &&
              GLenum(Blending::Function::OneMinusSrcColor) == GL_ONE_MINUS_SRC_COLOR &&
              GLenum(Blending::Function::SrcAlpha) == GL_SRC_ALPHA &&
              GLenum(Blending::Function::OneMinusSrcAlpha) == GL_ONE_MINUS_SRC_ALPHA &&
              GLenum(Blending::Function::DstAlpha) == GL_DST_ALPHA &&
              GLenum(Blending::Function::OneMinusDstAlpha) == GL_ONE_MINUS_DST_ALPHA &&
              GLenum(Blending::Function::DstColor) == GL_DST_COLOR &&
              GLenum(Blending::Function::OneMinusDstColor) == GL_ONE_MINUS_DST_COLOR &&
              GLenum(Blending::Function::SrcAlphaSaturate) == GL_SRC_ALPHA_SATURATE &&
              GLenum(Blending::Function::ConstantColor) == GL_CONSTANT_COLOR &&
              GLenum(Blending::Function::OneMinusConstantColor) == GL_ONE_MINUS_CONSTANT_COLOR &&
              GLenum(Blending::Function::ConstantAlpha) == GL_CONSTANT_ALPHA &&
              GLenum(Blending::Function::OneMinusConstantAlpha) == GL_ONE_MINUS_CONSTANT_ALPHA &&
              GLenum(Blending::Function::Src1Alpha) == GL_SRC1_ALPHA &&
              GLenum(Blending::Function::Src1Color) == GL_SRC1_COLOR &&
              GLenum(Blending::Function::OneMinusSrc1Color) == GL_ONE_MINUS_SRC1_COLOR &&
              GLenum(Blending::Function::OneMinusSrc1Alpha) == GL_ONE_MINUS_SRC1_ALPHA);
static_assert(GLenum(Blending::Equation::FuncAdd) == GL_FUNC_ADD &&
              GLenum(Blending::Equation::Min) == GL_MIN && GLenum(Blending::Equation::Max) == GL_MAX &&
              GLenum(Blending::Equation::FuncSubtract) == GL_FUNC_SUBTRACT &&
              GLenum(Blending::Equation::FuncReverseSubtract) == GL_FUNC_REVERSE_SUBTRACT);

namespace {

GLenum getEnum(GLenum name) {
    return static_cast<GLenum>(getInt(name));
}

} // namespace

struct Blending::Indexed {
    IndexedValues<bool> enabled;
    IndexedValues<BlendFactors> factors;
    IndexedValues<BlendEquations> equations; ///< saved with those of all
};

Blending::Indexed& Blending::indexed() {
    if (!m_indexed)
        m_indexed = std::make_unique<Indexed>();
    return *m_indexed;
}

Blending::Blending(Preset preset) {
    getState();
    setPreset(preset);
}

Blending::Blending(Function src, Function dst)
    : Blending(src, dst, src, dst) {}

Blending::Blending(Function srcRGB, Function dstRGB, Function srcAlpha, Function dstAlpha) {
    getState();
    setBlendingEnabled(true);
    setFunction(srcRGB, dstRGB, srcAlpha, dstAlpha);
}

Blending::~Blending() {
    if (m_released)
        return;
    setBlendingEnabled(m_enabled);
    glBlendFuncSeparate(m_srcRGB, m_dstRGB, m_srcAlpha, m_dstAlpha);
    if (m_equations)
        glBlendEquationSeparate(m_equations->rgb, m_equations->alpha);
    if (m_color)
        glBlendColor((*m_color)[0], (*m_color)[1], (*m_color)[2], (*m_color)[3]);
    if (m_indexed) {
        setEnabled(GL_BLEND, m_indexed->enabled);
        setBlendFactors(m_indexed->factors);
        setBlendEquations(m_indexed->equations);
    }
}

Blending::Blending(Blending&& other) noexcept
    : m_released(other.m_released)
    , m_enabled(other.m_enabled)
    , m_srcRGB(other.m_srcRGB)
    , m_srcAlpha(other.m_srcAlpha)
    , m_dstRGB(other.m_dstRGB)
    , m_dstAlpha(other.m_dstAlpha)
    , m_equations(other.m_equations)
    , m_color(other.m_color)
    , m_indexed(std::move(other.m_indexed)) {
    other.m_released = true;
}

Blending& Blending::operator=(Blending&& other) noexcept {
    if (this == &other)
        return *this;
    m_released = other.m_released;
    m_enabled = other.m_enabled;
    m_srcRGB = other.m_srcRGB;
    m_srcAlpha = other.m_srcAlpha;
    m_dstRGB = other.m_dstRGB;
    m_dstAlpha = other.m_dstAlpha;
    if (m_indexed && !other.m_equations)
        std::swap(indexed().equations, other.indexed().equations);
    m_indexed = std::move(other.m_indexed);
    if (other.m_equations)
        m_equations = other.m_equations;
    if (other.m_color)
        m_color = other.m_color;
    other.m_released = true;
    return *this;
}

void Blending::getState() {
    m_enabled = getBool(GL_BLEND);
    m_srcRGB = getEnum(GL_BLEND_SRC_RGB);
    m_srcAlpha = getEnum(GL_BLEND_SRC_ALPHA);
    m_dstRGB = getEnum(GL_BLEND_DST_RGB);
    m_dstAlpha = getEnum(GL_BLEND_DST_ALPHA);
    auto enabled = blendingOtherThan(m_enabled);
    auto factors = blendFactorsOtherThan({m_srcRGB, m_dstRGB, m_srcAlpha, m_dstAlpha});
    if (!m_indexed && enabled.empty() && factors.empty())
        return;
    indexed().enabled = std::move(enabled);
    indexed().factors = std::move(factors);
}

void Blending::setBlendingEnabled(bool enabled) {
    if (m_released)
        return;
    if (enabled)
        glEnable(GL_BLEND);
    else
        glDisable(GL_BLEND);
}

void Blending::setFunction(Function srcRGB, Function dstRGB, Function srcAlpha, Function dstAlpha) {
    if (m_released)
        return;
    glBlendFuncSeparate(static_cast<GLenum>(srcRGB), static_cast<GLenum>(dstRGB),
                        static_cast<GLenum>(srcAlpha), static_cast<GLenum>(dstAlpha));
}

void Blending::setFunction(Function src, Function dst) {
    setFunction(src, dst, src, dst);
}

void Blending::setEquation(Equation rgb, Equation alpha) {
    if (m_released)
        return;
    if (!m_equations) {
        m_equations = Equations{getEnum(GL_BLEND_EQUATION_RGB), getEnum(GL_BLEND_EQUATION_ALPHA)};
        auto equations = blendEquationsOtherThan({m_equations->rgb, m_equations->alpha});
        if (!equations.empty())
            indexed().equations = std::move(equations);
    }
    glBlendEquationSeparate(static_cast<GLenum>(rgb), static_cast<GLenum>(alpha));
}

void Blending::setEquation(Equation equation) {
    setEquation(equation, equation);
}

void Blending::setBlendColor(const Eigen::Vector4f& color) {
    if (m_released)
        return;
    if (!m_color)
        glGetFloatv(GL_BLEND_COLOR, m_color.emplace().data());
    glBlendColor(color.x(), color.y(), color.z(), color.w());
}

void Blending::setPreset(Preset preset) {
    if (preset == Preset::Off) {
        setBlendingEnabled(false);
    } else if (preset == Preset::Alpha) {
        setBlendingEnabled(true);
        setFunction(Function::SrcAlpha, Function::OneMinusSrcAlpha, Function::One,
                    Function::OneMinusSrcAlpha);
        setEquation(Equation::FuncAdd);
    }
}

} // namespace Veltrand::GL
