// SPDX-License-Identifier: BSD-3-Clause
#include "support/GLFixture.h"

#include <Veltrand/GL/Debug.h>
#include <Veltrand/GL/Functions.h>

#include <glad/gl.h>

namespace Veltrand::Testing {

namespace {

// What tests need not put back: functions may leave it changed, and no other test relies on it.
const StateNames exempt{
    "array buffer",   "texture unit 0",     "attribute 1",      "attribute 2",  "attribute 3",
    "storage buffer", "storage block 0",    "storage block 1",  "clear color",  "scissor box",
    "restart index",  "program point size", "stencil function", "stencil mask", "pack",
    "unpack"};

} // namespace

void GLFixture::SetUp() {
    glActiveTexture(GL_TEXTURE0);
    while (glGetError() != GL_NO_ERROR) {
    }
    m_log.emplace();
    m_before = takeStateSnapshot();
}

void GLFixture::TearDown() {
    EXPECT_EQ(GL::Debug::check(false), GL::Debug::Error::NoError);
    glActiveTexture(GL_TEXTURE0);
    StateNames changed = differences(m_before, takeStateSnapshot());
    std::erase_if(changed, [](const std::string& name) { return exempt.contains(name); });
    EXPECT_EQ(changed, StateNames{});
    m_log.reset();
}

bool GLFixture::hasVersion(int major, int minor) {
    const auto version = GL::versionInfo();
    return version.major > major || (version.major == major && version.minor >= minor);
}

} // namespace Veltrand::Testing
