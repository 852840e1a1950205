// SPDX-License-Identifier: BSD-3-Clause
#include "support/GLFixture.h"

#include <Veltrand/GL/Debug.h>
#include <Veltrand/GL/Functions.h>

#include <glad/gl.h>
#include <ostream>

namespace Veltrand::Testing {

std::ostream& operator<<(std::ostream& out, const GLState& s) {
    const auto row = [&out](const char* name, const std::array<int, 4>& values) {
        out << name;
        for (int value : values)
            out << ' ' << value;
        out << ", ";
    };
    row("viewport", s.viewport);
    row("blend factors", s.blendFactors);
    return out << "framebuffer " << s.framebuffer << ", program " << s.program << ", vertex array "
               << s.vertexArray << ", active texture " << s.activeTexture << ", blend " << s.blend
               << ", depth test " << s.depthTest << ", depth mask " << s.depthMask << ", depth function "
               << s.depthFunction << ", scissor " << s.scissor;
}

GLState GLFixture::readState() {
    GLState s;
    glGetIntegerv(GL_VIEWPORT, s.viewport.data());
    s.framebuffer = GL::getInt(GL_FRAMEBUFFER_BINDING);
    s.program = GL::getInt(GL_CURRENT_PROGRAM);
    s.vertexArray = GL::getInt(GL_VERTEX_ARRAY_BINDING);
    s.activeTexture = GL::getInt(GL_ACTIVE_TEXTURE);
    s.blendFactors = {GL::getInt(GL_BLEND_SRC_RGB), GL::getInt(GL_BLEND_SRC_ALPHA),
                      GL::getInt(GL_BLEND_DST_RGB), GL::getInt(GL_BLEND_DST_ALPHA)};
    s.blend = GL::getBool(GL_BLEND);
    s.depthTest = GL::getBool(GL_DEPTH_TEST);
    s.depthMask = GL::getBool(GL_DEPTH_WRITEMASK);
    s.depthFunction = GL::getInt(GL_DEPTH_FUNC);
    s.scissor = GL::getBool(GL_SCISSOR_TEST);
    return s;
}

void GLFixture::SetUp() {
    glActiveTexture(GL_TEXTURE0);
    while (glGetError() != GL_NO_ERROR) {
    }
    m_log.emplace();
    m_before = readState();
}

void GLFixture::TearDown() {
    EXPECT_EQ(GL::Debug::check(false), GL::Debug::Error::NoError);
    glActiveTexture(GL_TEXTURE0);
    EXPECT_EQ(readState(), m_before);
    m_log.reset();
}

bool GLFixture::hasVersion(int major, int minor) {
    const auto version = GL::versionInfo();
    return version.major > major || (version.major == major && version.minor >= minor);
}

} // namespace Veltrand::Testing
