// SPDX-License-Identifier: BSD-3-Clause
#include "support/AdverseState.h"

#include <algorithm>
#include <glad/gl.h>
#include <utility>

namespace Veltrand::Testing {

namespace {

void setFunctions(bool adverse) {
    const auto pick = [adverse](GLenum bad, GLenum good) { return adverse ? bad : good; };
    glBlendFunc(pick(GL_ZERO, GL_ONE), GL_ZERO);
    glBlendEquation(pick(GL_FUNC_REVERSE_SUBTRACT, GL_FUNC_ADD));
    glDepthFunc(pick(GL_NEVER, GL_LESS));
    glStencilFunc(pick(GL_NEVER, GL_ALWAYS), 0, 0xFFFFFFFF);
    glCullFace(pick(GL_FRONT_AND_BACK, GL_BACK));
    glFrontFace(pick(GL_CW, GL_CCW));
    glLogicOp(pick(GL_INVERT, GL_COPY));
    glSampleMaski(0, adverse ? 0 : 0xFFFFFFFF);
    const float clear = adverse ? 0.25F : 0;
    glClearColor(clear, clear, clear, clear);
    glClearDepth(adverse ? 0.5 : 1);
    glClearStencil(adverse ? 3 : 0);
    glActiveTexture(pick(GL_TEXTURE5, GL_TEXTURE0));
    if (adverse)
        glScissor(1, 1, 1, 1);
}

void setMasks(bool masked) {
    const GLboolean open = masked ? GL_FALSE : GL_TRUE;
    glColorMask(open, GL_TRUE, open, open);
    glColorMaski(1, GL_TRUE, open, GL_TRUE, open);
    glDepthMask(open);
    glStencilMaskSeparate(GL_FRONT, masked ? 0 : 0xFFFFFFFF);
    glStencilMaskSeparate(GL_BACK, masked ? 7 : 0xFFFFFFFF);
    glPolygonMode(GL_FRONT_AND_BACK, masked ? GL_POINT : GL_FILL);
}

} // namespace

AdverseState::AdverseState(std::vector<int> capabilities, bool masks)
    : m_capabilities(std::move(capabilities)) {
    setFunctions(true);
    setMasks(masks);
    for (const int capability : m_capabilities)
        glEnable(static_cast<GLenum>(capability));
    for (const auto& group :
         {readState({GL_BLEND, GL_DEPTH_TEST, GL_SCISSOR_TEST, GL_STENCIL_TEST, GL_CULL_FACE,
                     GL_COLOR_LOGIC_OP, GL_POLYGON_SMOOTH, GL_LINE_SMOOTH, GL_RASTERIZER_DISCARD,
                     GL_CLIP_DISTANCE0, GL_CLIP_DISTANCE7, GL_SAMPLE_MASK, GL_POLYGON_OFFSET_FILL,
                     GL_DEPTH_CLAMP, GL_DITHER, GL_FRAMEBUFFER_SRGB, GL_PRIMITIVE_RESTART}),
          readState({GL_BLEND_SRC_RGB, GL_BLEND_DST_RGB, GL_BLEND_SRC_ALPHA, GL_BLEND_DST_ALPHA,
                     GL_BLEND_EQUATION_RGB, GL_BLEND_EQUATION_ALPHA, GL_DEPTH_FUNC, GL_DEPTH_WRITEMASK,
                     GL_STENCIL_FUNC, GL_STENCIL_WRITEMASK, GL_STENCIL_BACK_WRITEMASK, GL_CULL_FACE_MODE,
                     GL_FRONT_FACE, GL_LOGIC_OP_MODE}),
          readState({GL_POLYGON_MODE, GL_COLOR_WRITEMASK, GL_SCISSOR_BOX, GL_VIEWPORT, GL_COLOR_CLEAR_VALUE,
                     GL_DEPTH_CLEAR_VALUE, GL_STENCIL_CLEAR_VALUE, GL_ACTIVE_TEXTURE, GL_CURRENT_PROGRAM,
                     GL_VERTEX_ARRAY_BINDING, GL_DRAW_FRAMEBUFFER_BINDING, GL_READ_FRAMEBUFFER_BINDING})})
        m_before.insert(group.begin(), group.end());
}

AdverseState::~AdverseState() {
    expectUnchanged(m_before);
    for (const int capability : m_capabilities)
        if (capability != GL_DITHER)
            glDisable(static_cast<GLenum>(capability));
    setFunctions(false);
    setMasks(false);
}

} // namespace Veltrand::Testing
