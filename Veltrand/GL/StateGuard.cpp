// SPDX-License-Identifier: BSD-3-Clause
#include <Veltrand/GL/StateGuard.h>

#include <Veltrand/GL/Functions.h>
#include <Veltrand/GL/detail/IndexedState.h>

#include <glad/gl.h>
#include <type_traits>
#include <utility>

namespace Veltrand::GL {

static_assert(std::is_nothrow_move_constructible_v<StateGuard> && !std::is_copy_constructible_v<StateGuard>);

namespace {

GLuint getName(GLenum name) {
    return static_cast<GLuint>(getInt(name));
}

/// A mask of all ones does not fit what glGetIntegerv returns and would come back clamped.
GLuint getMask(GLenum name) {
    GLint64 value = 0;
    glGetInteger64v(name, &value);
    return static_cast<GLuint>(value);
}

void setEnabled(GLenum capability, bool enabled) {
    if (enabled)
        glEnable(capability);
    else
        glDisable(capability);
}

} // namespace

struct StateGuard::Indexed {
    IndexedValues<ViewportRectangle> viewports;
    IndexedValues<bool> blending;
    IndexedValues<BlendFactors> blendFactors;
    IndexedValues<bool> scissorTests;
};

StateGuard::StateGuard(Flags<SaveFlags> flags)
    : m_flags(flags) {
    if (flags.test(SaveFlags::Viewport))
        m_viewport.retrieve();
    if (flags.test(SaveFlags::Framebuffer))
        m_framebuffer = getName(GL_FRAMEBUFFER_BINDING);
    if (flags.test(SaveFlags::Program))
        m_program = getName(GL_CURRENT_PROGRAM);
    if (flags.test(SaveFlags::Blending)) {
        m_blend = getBool(GL_BLEND);
        m_blendSrcRGB = getName(GL_BLEND_SRC_RGB);
        m_blendSrcAlpha = getName(GL_BLEND_SRC_ALPHA);
        m_blendDstRGB = getName(GL_BLEND_DST_RGB);
        m_blendDstAlpha = getName(GL_BLEND_DST_ALPHA);
    }
    if (flags.test(SaveFlags::Depth)) {
        m_depthTest = getBool(GL_DEPTH_TEST);
        m_depthFunc = getName(GL_DEPTH_FUNC);
        m_depthMask = getBool(GL_DEPTH_WRITEMASK);
    }
    if (flags.test(SaveFlags::Scissor)) {
        m_scissorTest = getBool(GL_SCISSOR_TEST);
        m_stencilTest = getBool(GL_STENCIL_TEST);
        m_stencilMask = getMask(GL_STENCIL_WRITEMASK);
    }
    if (flags.test(SaveFlags::Smoothing)) {
        m_lineSmooth = getBool(GL_LINE_SMOOTH);
        m_polygonSmooth = getBool(GL_POLYGON_SMOOTH);
    }
    saveIndexed();
}

void StateGuard::saveIndexed() {
    Indexed indexed;
    if (m_flags.test(SaveFlags::Viewport))
        indexed.viewports =
            viewportsOtherThan({static_cast<float>(m_viewport.x), static_cast<float>(m_viewport.y),
                                static_cast<float>(m_viewport.width), static_cast<float>(m_viewport.height)});
    if (m_flags.test(SaveFlags::Blending)) {
        indexed.blending = blendingOtherThan(m_blend);
        indexed.blendFactors =
            blendFactorsOtherThan({m_blendSrcRGB, m_blendDstRGB, m_blendSrcAlpha, m_blendDstAlpha});
    }
    if (m_flags.test(SaveFlags::Scissor))
        indexed.scissorTests = scissorTestsOtherThan(m_scissorTest);
    if (!indexed.viewports.empty() || !indexed.blending.empty() || !indexed.blendFactors.empty() ||
        !indexed.scissorTests.empty())
        m_indexed = std::make_unique<Indexed>(std::move(indexed));
}

StateGuard::~StateGuard() {
    restoreState(SaveFlags::All);
}

StateGuard::StateGuard(StateGuard&& other) noexcept
    : m_framebuffer(std::exchange(other.m_framebuffer, 0))
    , m_program(std::exchange(other.m_program, 0))
    , m_viewport(std::exchange(other.m_viewport, {}))
    , m_blendSrcRGB(std::exchange(other.m_blendSrcRGB, 0))
    , m_blendSrcAlpha(std::exchange(other.m_blendSrcAlpha, 0))
    , m_blendDstRGB(std::exchange(other.m_blendDstRGB, 0))
    , m_blendDstAlpha(std::exchange(other.m_blendDstAlpha, 0))
    , m_depthFunc(std::exchange(other.m_depthFunc, 0))
    , m_flags(std::exchange(other.m_flags, {}))
    , m_blend(std::exchange(other.m_blend, false))
    , m_depthTest(std::exchange(other.m_depthTest, false))
    , m_depthMask(std::exchange(other.m_depthMask, true))
    , m_scissorTest(std::exchange(other.m_scissorTest, false))
    , m_lineSmooth(std::exchange(other.m_lineSmooth, false))
    , m_polygonSmooth(std::exchange(other.m_polygonSmooth, false))
    , m_stencilTest(std::exchange(other.m_stencilTest, false))
    , m_stencilMask(std::exchange(other.m_stencilMask, 0xFFFFFFFF))
    , m_indexed(std::move(other.m_indexed)) {}

void StateGuard::restoreState(Flags<SaveFlags> flags) {
    const Flags<SaveFlags> active = flags & m_flags;
    if (active.test(SaveFlags::Viewport))
        m_viewport.set();
    if (active.test(SaveFlags::Framebuffer))
        glBindFramebuffer(GL_FRAMEBUFFER, m_framebuffer);
    if (active.test(SaveFlags::Program))
        glUseProgram(m_program);
    if (active.test(SaveFlags::Blending)) {
        setEnabled(GL_BLEND, m_blend);
        glBlendFuncSeparate(m_blendSrcRGB, m_blendDstRGB, m_blendSrcAlpha, m_blendDstAlpha);
    }
    if (active.test(SaveFlags::Depth)) {
        setEnabled(GL_DEPTH_TEST, m_depthTest);
        glDepthFunc(m_depthFunc);
        glDepthMask(m_depthMask ? GL_TRUE : GL_FALSE);
    }
    if (active.test(SaveFlags::Scissor))
        setEnabled(GL_SCISSOR_TEST, m_scissorTest);
    if (active.test(SaveFlags::Smoothing)) {
        setEnabled(GL_LINE_SMOOTH, m_lineSmooth);
        setEnabled(GL_POLYGON_SMOOTH, m_polygonSmooth);
    }
    if (active.test(SaveFlags::Stencil)) {
        setEnabled(GL_STENCIL_TEST, m_stencilTest);
        glStencilMask(m_stencilMask);
    }
    if (m_indexed)
        restoreIndexed(active);
}

// After the functions that set all of them alike.
void StateGuard::restoreIndexed(Flags<SaveFlags> active) {
    if (active.test(SaveFlags::Viewport))
        setViewports(m_indexed->viewports);
    if (active.test(SaveFlags::Blending)) {
        setEnabled(GL_BLEND, m_indexed->blending);
        setBlendFactors(m_indexed->blendFactors);
    }
    if (active.test(SaveFlags::Scissor))
        setEnabled(GL_SCISSOR_TEST, m_indexed->scissorTests);
}

void StateGuard::release(Flags<SaveFlags> flags) {
    m_flags &= ~flags;
}

} // namespace Veltrand::GL
