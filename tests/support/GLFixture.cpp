// SPDX-License-Identifier: BSD-3-Clause
#include "support/GLFixture.h"

#include <Veltrand/GL/Debug.h>
#include <Veltrand/GL/Functions.h>

#include <glad/gl.h>
#include <ostream>

namespace Veltrand::Testing {

State readState(std::initializer_list<int> names) {
    State state;
    for (const int name : names)
        glGetDoublev(static_cast<GLenum>(name), state[name].data());
    if (const auto masks = state.find(GL_COLOR_WRITEMASK); masks != state.end()) {
        std::array<GLboolean, 4> second{};
        glGetBooleani_v(GL_COLOR_WRITEMASK, 1, second.data());
        std::copy(second.begin(), second.end(), masks->second.begin() + 4);
    }
    return state;
}

void expectUnchanged(const State& before) {
    for (const auto& [name, values] : before)
        EXPECT_EQ(readState({name}).at(name), values) << "state 0x" << std::hex << name;
}

void GLFixture::SetUp() {
    glActiveTexture(GL_TEXTURE0);
    while (glGetError() != GL_NO_ERROR) {
    }
    m_log.emplace();
    m_before =
        readState({GL_VIEWPORT, GL_DRAW_FRAMEBUFFER_BINDING, GL_CURRENT_PROGRAM, GL_VERTEX_ARRAY_BINDING,
                   GL_ACTIVE_TEXTURE, GL_BLEND, GL_BLEND_SRC_RGB, GL_BLEND_SRC_ALPHA, GL_BLEND_DST_RGB,
                   GL_BLEND_DST_ALPHA, GL_DEPTH_TEST, GL_DEPTH_WRITEMASK, GL_DEPTH_FUNC, GL_SCISSOR_TEST});
}

void GLFixture::TearDown() {
    EXPECT_EQ(GL::Debug::check(false), GL::Debug::Error::NoError);
    glActiveTexture(GL_TEXTURE0);
    expectUnchanged(m_before);
    m_log.reset();
}

bool GLFixture::hasVersion(int major, int minor) {
    const auto version = GL::versionInfo();
    return version.major > major || (version.major == major && version.minor >= minor);
}

} // namespace Veltrand::Testing
