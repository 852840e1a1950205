// SPDX-License-Identifier: BSD-3-Clause
#include "support/GLTest.h"

#include <Veltrand/GL/Blending.h>

namespace Veltrand::GL {

using BlendingGL = Testing::GLFixture;
using StateGuardGL = Testing::GLFixture;
using Flag = StateGuard::SaveFlags;

namespace {

std::vector<int> factors() {
    return {getInt(GL_BLEND_SRC_RGB), getInt(GL_BLEND_DST_RGB), getInt(GL_BLEND_SRC_ALPHA),
            getInt(GL_BLEND_DST_ALPHA)};
}

} // namespace

TEST_F(StateGuardGL, EveryPieceComesBackAfterTwoChanges) {
    const Testing::StateNames pieces{"blend",          "blend functions",   "depth test",
                                     "depth function", "depth mask",        "scissor test",
                                     "line smoothing", "polygon smoothing", "stencil test"};
    Viewport outer;
    outer.retrieve();
    const Canvas canvas(4, 4); // a framebuffer, a program and a viewport that differ from the outer ones
    for (const bool adverse : {true, false}) {
        Testing::setState(pieces, adverse);
        const auto before = Testing::takeStateSnapshot();
        {
            const StateGuard guard(Flag::All);
            Framebuffer::unbind();
            glUseProgram(0);
            outer.set();
            Testing::setState(pieces, !adverse);
            glDepthFunc(GL_GEQUAL);
            glStencilMask(3);
        }
        EXPECT_EQ(Testing::differences(before, Testing::takeStateSnapshot()), Testing::StateNames{});
    }
}

TEST_F(StateGuardGL, ViewportsAndDrawBuffersComeBackEachForItself) {
    if (!hasVersion(4, 1))
        GTEST_SKIP() << "several viewports need OpenGL 4.1";
    const auto read = [](GLuint i) {
        std::array<float, 4> viewport{};
        glGetFloati_v(GL_VIEWPORT, i, viewport.data());
        return std::tuple(viewport, glIsEnabledi(GL_SCISSOR_TEST, i), glIsEnabledi(GL_BLEND, i),
                          getIntIndexed(GL_BLEND_SRC_RGB, i), getIntIndexed(GL_BLEND_DST_ALPHA, i),
                          getIntIndexed(GL_BLEND_EQUATION_RGB, i));
    };
    const auto readAll = [&read] {
        std::vector<decltype(read(0))> all;
        for (GLuint i = 0; i < 8; ++i)
            all.push_back(read(i));
        return all;
    };
    const StateGuard outer(Flag::All);
    for (const GLuint own : {0U, 1U, 7U}) {
        glViewportIndexedf(own, 0.5F, 1, 2, 3.25F);
        glEnablei(GL_SCISSOR_TEST, own);
        glEnablei(GL_BLEND, own);
        glBlendFuncSeparatei(own, GL_ZERO, GL_ONE, GL_ONE, GL_DST_ALPHA);
        glBlendEquationi(own, GL_MAX);
        const auto before = readAll();
        {
            StateGuard guard(Flag::All);
            const StateGuard moved(std::move(guard));
            Viewport{0, 0, 1, 1}.set();
            Blending blending(Blending::Preset::Alpha);
            blending.setEquation(Blending::Equation::Min);
            Blending other(Blending::Preset::Off); // with factors that are the same for all
            other = std::move(blending);
            glDisable(GL_SCISSOR_TEST);
        }
        EXPECT_EQ(readAll(), before) << own;
    }
    glBlendEquation(GL_FUNC_ADD);
}

TEST_F(StateGuardGL, StencilIsSavedByTheScissorBitAndRestoredByItsOwn) {
    using State = std::array<unsigned, 2>;
    for (const auto& [flags, restored] : {std::pair(Flags<Flag>(Flag::Scissor), State{1, 3}),
                                          {Flag::Scissor | Flag::Stencil, {1, 0x5A}},
                                          {Flag::Stencil, {0, 0xFFFFFFFF}}}) {
        glEnable(GL_SCISSOR_TEST);
        glStencilMask(0x5A);
        {
            const StateGuard guard(flags);
            glDisable(GL_SCISSOR_TEST);
            glStencilMask(3);
        }
        GLint64 mask = 0; // all ones would be clamped to 31 bits
        glGetInteger64v(GL_STENCIL_WRITEMASK, &mask);
        EXPECT_EQ((State{glIsEnabled(GL_SCISSOR_TEST), static_cast<unsigned>(mask)}), restored);
        Testing::setState({"scissor test", "stencil mask"}, false);
    }
}

TEST_F(StateGuardGL, ReleasedPiecesAndMovedGuardsRestoreNothing) {
    glEnable(GL_BLEND);
    {
        StateGuard guard(Flag::Blending | Flag::Depth);
        glDisable(GL_BLEND);
        glEnable(GL_DEPTH_TEST);
        guard.restoreState(Flag::Depth | Flag::Program);
        EXPECT_FALSE(glIsEnabled(GL_DEPTH_TEST) || glIsEnabled(GL_BLEND));
        glEnable(GL_DEPTH_TEST);
        guard.release(Flag::Blending);
        const StateGuard moved(std::move(guard));
    }
    EXPECT_FALSE(glIsEnabled(GL_DEPTH_TEST) || glIsEnabled(GL_BLEND));
    std::optional<StateGuard> outer(Flag::Depth);
    { const StateGuard inner(std::move(*outer)); }
    glEnable(GL_DEPTH_TEST);
    outer->restoreState(Flag::All); // which it has nothing for any more
    EXPECT_TRUE(glIsEnabled(GL_DEPTH_TEST));
    glDisable(GL_DEPTH_TEST);
}

TEST_F(BlendingGL, RestoresOnlyWhatItChanged) {
    using F = Blending::Function;
    glBlendEquationSeparate(GL_MIN, GL_MAX);
    glBlendFuncSeparate(GL_DST_COLOR, GL_SRC_COLOR, GL_DST_ALPHA, GL_SRC_ALPHA);
    const auto before = Testing::takeStateSnapshot();
    {
        Blending blending(Blending::Preset::Alpha);
        EXPECT_EQ(getInt(GL_BLEND_EQUATION_RGB), GL_FUNC_ADD);
        EXPECT_EQ(factors(),
                  (std::vector<int>{GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA, GL_ONE, GL_ONE_MINUS_SRC_ALPHA}));
        // The second change must not overwrite what the first one saved.
        blending.setEquation(Blending::Equation::FuncSubtract, Blending::Equation::FuncReverseSubtract);
        blending.setFunction(F::ConstantAlpha, F::Src1Color);
        EXPECT_EQ(factors(),
                  (std::vector<int>{GL_CONSTANT_ALPHA, GL_SRC1_COLOR, GL_CONSTANT_ALPHA, GL_SRC1_COLOR}));
    }
    {
        const Blending blending(F::One, F::SrcColor, F::Zero, F::OneMinusDstAlpha);
        EXPECT_TRUE(glIsEnabled(GL_BLEND));
        EXPECT_EQ(factors(), (std::vector<int>{GL_ONE, GL_SRC_COLOR, GL_ZERO, GL_ONE_MINUS_DST_ALPHA}));
    }
    EXPECT_EQ(Testing::takeStateSnapshot(), before);
    {
        // An equation set by other means is none of this scope's business.
        const Blending blending(Blending::Preset::Off);
        glBlendEquation(GL_MAX);
    }
    EXPECT_EQ(getInt(GL_BLEND_EQUATION_RGB), GL_MAX);
    glBlendEquation(GL_FUNC_ADD);
    glBlendFunc(GL_ONE, GL_ZERO);
}

TEST_F(BlendingGL, TheConstantColourIsSavedOnceAndMoves) {
    const auto blue = [] {
        float color[4];
        glGetFloatv(GL_BLEND_COLOR, color);
        return color[2];
    };
    {
        Blending first(Blending::Preset::Alpha);
        first.setBlendColor({0.1F, 0.2F, 0.25F, 0.4F});
        first.setBlendColor({0.1F, 0.2F, 0.5F, 0.4F});
        {
            const Blending second(std::move(first));
            EXPECT_EQ(blue(), 0.5F);
        }
        EXPECT_EQ(blue(), 0.0F);
        EXPECT_FALSE(glIsEnabled(GL_BLEND));
        glEnable(GL_BLEND);
    }
    EXPECT_TRUE(glIsEnabled(GL_BLEND)) << "a moved-from object restored";
    glDisable(GL_BLEND);
}

} // namespace Veltrand::GL
