// SPDX-License-Identifier: BSD-3-Clause
#include <Veltrand/GL/detail/ScopedState.h>

#include <Veltrand/GL/Functions.h>

#include <cstddef>

namespace Veltrand::GL {

DisabledCapabilities::DisabledCapabilities(std::span<const GLenum> capabilities) {
    m_disabled.reserve(capabilities.size());
    for (const GLenum capability : capabilities)
        if (glIsEnabled(capability)) {
            m_disabled.push_back(capability);
            glDisable(capability);
        }
}

DisabledCapabilities::~DisabledCapabilities() {
    for (const GLenum capability : m_disabled)
        glEnable(capability);
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

FirstBufferOnly::FirstBufferOnly(First first)
    : m_masks(static_cast<std::size_t>(getInt(GL_MAX_DRAW_BUFFERS))) {
    for (std::size_t i = 0; i < m_masks.size(); ++i) {
        const auto buffer = static_cast<GLuint>(i);
        glGetBooleani_v(GL_COLOR_WRITEMASK, buffer, m_masks[i].data());
        if (i == 0 && first == First::AsItIs)
            continue;
        const GLboolean written = i == 0 && first == First::Written ? GL_TRUE : GL_FALSE;
        glColorMaski(buffer, written, written, written, written);
    }
}

FirstBufferOnly::~FirstBufferOnly() {
    for (std::size_t i = 0; i < m_masks.size(); ++i) {
        const auto& mask = m_masks[i];
        glColorMaski(static_cast<GLuint>(i), mask[0], mask[1], mask[2], mask[3]);
    }
}

UploadAlignment::UploadAlignment()
    : m_alignment(getInt(GL_UNPACK_ALIGNMENT)) {}

UploadAlignment::~UploadAlignment() {
    glPixelStorei(GL_UNPACK_ALIGNMENT, m_alignment);
}

DrawingBindings::DrawingBindings()
    : m_activeTexture(static_cast<GLenum>(getInt(GL_ACTIVE_TEXTURE)))
    , m_vertexArray(static_cast<GLuint>(getInt(GL_VERTEX_ARRAY_BINDING))) {}

DrawingBindings::~DrawingBindings() {
    glActiveTexture(m_activeTexture);
    glBindVertexArray(m_vertexArray);
}

} // namespace Veltrand::GL
