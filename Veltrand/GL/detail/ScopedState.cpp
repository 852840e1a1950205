// SPDX-License-Identifier: BSD-3-Clause
#include <Veltrand/GL/detail/ScopedState.h>

#include <Veltrand/GL/Functions.h>

#include <cstddef>

namespace Veltrand::GL {

namespace {

// Clipping would read distances that the vertex shader does not write; eight are the fewest there are. Before
// OpenGL 4.3 primitives restart in arrays without indices too.
constexpr std::array obstacles = {
    GLenum{GL_CULL_FACE},           GLenum{GL_COLOR_LOGIC_OP},  GLenum{GL_POLYGON_SMOOTH},
    GLenum{GL_RASTERIZER_DISCARD},  GLenum{GL_DITHER},          GLenum{GL_SAMPLE_ALPHA_TO_COVERAGE},
    GLenum{GL_SAMPLE_ALPHA_TO_ONE}, GLenum{GL_SAMPLE_COVERAGE}, GLenum{GL_SAMPLE_MASK},
    GLenum{GL_CLIP_DISTANCE0},      GLenum{GL_CLIP_DISTANCE1},  GLenum{GL_CLIP_DISTANCE2},
    GLenum{GL_CLIP_DISTANCE3},      GLenum{GL_CLIP_DISTANCE4},  GLenum{GL_CLIP_DISTANCE5},
    GLenum{GL_CLIP_DISTANCE6},      GLenum{GL_CLIP_DISTANCE7},  GLenum{GL_PRIMITIVE_RESTART}};

constexpr GLenum alphaTest = 0x0BC0;          // GL_ALPHA_TEST
constexpr GLenum polygonStipple = 0x0B42;     // GL_POLYGON_STIPPLE
constexpr GLenum clampFragmentColor = 0x891B; // GL_CLAMP_FRAGMENT_COLOR
constexpr std::array fixedFunction = {alphaTest, polygonStipple};

constexpr std::array tests = {GLenum{GL_DEPTH_TEST}, GLenum{GL_STENCIL_TEST}};
constexpr std::array testsAndScissor = {GLenum{GL_DEPTH_TEST}, GLenum{GL_STENCIL_TEST},
                                        GLenum{GL_SCISSOR_TEST}};

// From OpenGL 4.1 on, with a scissor test of its own for each.
bool hasSeveralViewports() {
    return glScissorIndexed != nullptr;
}

} // namespace

DisabledCapabilities::DisabledCapabilities(std::span<const GLenum> capabilities)
    : m_capabilities(capabilities) {
    for (std::size_t i = 0; i < capabilities.size(); ++i)
        if (glIsEnabled(capabilities[i])) {
            m_disabled.set(i);
            glDisable(capabilities[i]);
        }
}

DisabledCapabilities::~DisabledCapabilities() {
    for (std::size_t i = 0; i < m_capabilities.size(); ++i)
        if (m_disabled[i])
            glEnable(m_capabilities[i]);
}

DisabledIndices::DisabledIndices(GLenum capability, GLuint count)
    : m_capability(capability) {
    for (GLuint i = 0; i < count; ++i)
        if (glIsEnabledi(capability, i)) {
            m_disabled.set(i);
            glDisablei(capability, i);
        }
}

DisabledIndices::~DisabledIndices() {
    for (GLuint i = 0; i < m_disabled.size(); ++i)
        if (m_disabled[i])
            glEnablei(m_capability, i);
}

FilledPolygons::FilledPolygons() {
    glGetIntegerv(GL_POLYGON_MODE, m_mode.data());
    glPolygonMode(GL_FRONT_AND_BACK, GL_FILL);
}

FilledPolygons::~FilledPolygons() {
    const auto front = static_cast<GLenum>(m_mode[0]);
    const auto back = static_cast<GLenum>(m_mode[1]);
    // A core context has one mode for both sides, and may answer with one number.
    if (back == 0 || back == front) {
        glPolygonMode(GL_FRONT_AND_BACK, front);
    } else {
        glPolygonMode(GL_FRONT, front);
        glPolygonMode(GL_BACK, back);
    }
}

LowerLeftOrigin::LowerLeftOrigin() {
    if (!glClipControl || getInt(GL_CLIP_ORIGIN) == GL_LOWER_LEFT)
        return;
    m_changed = true;
    m_depthMode = static_cast<GLenum>(getInt(GL_CLIP_DEPTH_MODE));
    glClipControl(GL_LOWER_LEFT, m_depthMode);
}

LowerLeftOrigin::~LowerLeftOrigin() {
    if (m_changed)
        glClipControl(GL_UPPER_LEFT, m_depthMode);
}

NoFixedFunction::NoFixedFunction()
    : m_present((getInt(GL_CONTEXT_PROFILE_MASK) & GL_CONTEXT_CORE_PROFILE_BIT) == 0)
    , m_capabilities(m_present ? std::span<const GLenum>(fixedFunction) : std::span<const GLenum>()) {
    if (!m_present)
        return;
    m_clamping = static_cast<GLenum>(getInt(clampFragmentColor));
    glClampColor(clampFragmentColor, GL_FALSE);
}

NoFixedFunction::~NoFixedFunction() {
    if (m_present)
        glClampColor(clampFragmentColor, m_clamping);
}

SquareDrawing::SquareDrawing()
    : m_obstacles(obstacles) {}

UntestedFragments::UntestedFragments()
    : m_tests(hasSeveralViewports() ? std::span<const GLenum>(tests)
                                    : std::span<const GLenum>(testsAndScissor))
    , m_scissor(GL_SCISSOR_TEST, hasSeveralViewports() ? 1 : 0) {}

ColorMasks::ColorMasks()
    : m_masks(static_cast<std::size_t>(getInt(GL_MAX_DRAW_BUFFERS))) {
    for (GLuint i = 0; i < numBuffers(); ++i)
        glGetBooleani_v(GL_COLOR_WRITEMASK, i, m_masks[i].data());
}

ColorMasks::~ColorMasks() {
    for (GLuint i = 0; i < numBuffers(); ++i) {
        const auto& mask = m_masks[i];
        glColorMaski(i, mask[0], mask[1], mask[2], mask[3]);
    }
}

AllBuffersWritten::AllBuffersWritten() {
    glColorMask(GL_TRUE, GL_TRUE, GL_TRUE, GL_TRUE);
}

FirstBufferOnly::FirstBufferOnly(First first) {
    for (GLuint i = first == First::AsItIs ? 1 : 0; i < numBuffers(); ++i) {
        const GLboolean written = i == 0 && first == First::Written ? GL_TRUE : GL_FALSE;
        glColorMaski(i, written, written, written, written);
    }
}

UploadAlignment::UploadAlignment()
    : m_alignment(getInt(GL_UNPACK_ALIGNMENT)) {}

UploadAlignment::~UploadAlignment() {
    glPixelStorei(GL_UNPACK_ALIGNMENT, m_alignment);
}

ReadFramebuffer::ReadFramebuffer()
    : m_framebuffer(static_cast<GLuint>(getInt(GL_READ_FRAMEBUFFER_BINDING))) {}

ReadFramebuffer::~ReadFramebuffer() {
    glBindFramebuffer(GL_READ_FRAMEBUFFER, m_framebuffer);
}

TextureBinding::TextureBinding(GLenum target)
    : m_target(target)
    , m_activeTexture(static_cast<GLenum>(getInt(GL_ACTIVE_TEXTURE))) {
    glActiveTexture(GL_TEXTURE0);
    const GLenum binding = target == GL_TEXTURE_1D ? GL_TEXTURE_BINDING_1D : GL_TEXTURE_BINDING_2D;
    m_texture = static_cast<GLuint>(getInt(binding));
}

TextureBinding::~TextureBinding() {
    glActiveTexture(GL_TEXTURE0);
    glBindTexture(m_target, m_texture);
    glActiveTexture(m_activeTexture);
}

DrawingBindings::DrawingBindings()
    : m_activeTexture(static_cast<GLenum>(getInt(GL_ACTIVE_TEXTURE)))
    , m_vertexArray(static_cast<GLuint>(getInt(GL_VERTEX_ARRAY_BINDING))) {}

DrawingBindings::~DrawingBindings() {
    glActiveTexture(m_activeTexture);
    glBindVertexArray(m_vertexArray);
}

} // namespace Veltrand::GL
