// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// What the tests that start and stop OpenGL themselves share.

#include "support/CallCounter.h"
#include "support/LogCapture.h"
#include "support/ScopedEntryPoint.h"
#include "support/Threads.h"
#include "support/Thrown.h"
#include "support/WindowSystem.h"

#include <Veltrand/GL/ContextGLX.h>
#include <Veltrand/GL/ContextManager.h>
#include <Veltrand/GL/Debug.h>
#include <Veltrand/GL/Functions.h>
#include <Veltrand/GL/InstanceManager.h>

#include <array>
#include <cstdlib>
#include <glad/gl.h>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>

namespace Veltrand::Testing {

/// A window system that fails on demand. At the end of a test, all contexts, windows and connections have to
/// be gone.
class ContextTest : public ::testing::Test {
protected:
    /// @param category of the log lines that the tests expect
    explicit ContextTest(std::string category)
        : m_category(std::move(category)) {}

    void SetUp() override { windowSystem() = {}; }
    void TearDown() override {
        EXPECT_FALSE(GL::ContextManager::hasCurrent());
        EXPECT_EQ(windowSystem().displaysClosed, windowSystem().displaysOpened);
        EXPECT_EQ(windowSystem().windowsDestroyed, windowSystem().windowsCreated);
        EXPECT_EQ(contextsAlive(), 0);
        windowSystem() = {}; // other suites use it without asking for failures
    }

    static int contextsAlive() { return windowSystem().contextsCreated - windowSystem().contextsDestroyed; }
    void expectLine(int level, const std::string& text) {
        EXPECT_TRUE(m_log.takeLine({level, m_category, text})) << text;
    }

    LogCapture m_log;

private:
    std::string m_category;
};

/// Of the current context, whether or not the entry points are loaded.
inline int currentInt(GLenum name) {
    int value = -1;
    GL::entryPoint<void (*)(GLenum, GLint*)>("glGetIntegerv")(name, &value);
    EXPECT_EQ(GL::entryPoint<GLenum (*)()>("glGetError")(), GLenum{GL_NO_ERROR}) << name;
    return value;
}

} // namespace Veltrand::Testing

namespace Veltrand::GL {

using namespace Testing;

} // namespace Veltrand::GL
