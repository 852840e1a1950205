// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "support/LogCapture.h"

#include <array>
#include <gtest/gtest.h>
#include <optional>

namespace Veltrand::Testing {

/// The state that every function of the library has to leave alone unless it says otherwise.
struct GLState {
    std::array<int, 4> viewport{};
    int framebuffer = 0;
    int program = 0;
    int vertexArray = 0;
    int activeTexture = 0;
    std::array<int, 4> blendFactors{};
    bool blend = false;
    bool depthTest = false;
    bool depthMask = false;
    int depthFunction = 0;
    bool scissor = false;
    friend bool operator==(const GLState&, const GLState&) = default;
    friend std::ostream& operator<<(std::ostream& out, const GLState& state);
};

/// Base of tests that need a context. OpenGL is started once per executable, on the thread that runs the
/// tests; the main context is current in each test.
///
/// Around each test it compares the state that every function has to leave alone (viewport, framebuffer,
/// program, vertex array, blend, depth, scissor, active texture) and reads the pending OpenGL error; a
/// difference or an error fails the test. A test that means to change state puts it back itself.
class GLFixture : public ::testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

    /// Log lines of the test; an unexpected one of level 3 or above fails it.
    LogCapture& log() { return *m_log; }

    /// Whether the context has at least this version.
    [[nodiscard]] static bool hasVersion(int major, int minor);

private:
    [[nodiscard]] static GLState readState();

    std::optional<LogCapture> m_log;
    GLState m_before;
};

} // namespace Veltrand::Testing
