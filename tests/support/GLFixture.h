// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "support/LogCapture.h"
#include "support/StateSnapshot.h"

#include <gtest/gtest.h>
#include <optional>

namespace Veltrand::Testing {

/// Base of tests that need a context. OpenGL is started once per executable, on the thread that runs the
/// tests; the main context is current in each test.
///
/// Around each test it compares the state that every function has to leave alone (viewport, framebuffers,
/// program, vertex array, blend, depth, scissor test, masks and more) and reads the pending OpenGL error; a
/// difference or an error fails the test. A test that means to change state puts it back itself.
class GLFixture : public ::testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

    /// Log lines of the test; an unexpected one of level 3 or above fails it.
    LogCapture& log() { return *m_log; }
    void expectLine(int level, const std::string& category, const std::string& text) {
        EXPECT_TRUE(m_log->takeLine({level, category, text})) << text;
    }

    /// Whether the context has at least this version.
    [[nodiscard]] static bool hasVersion(int major, int minor);

private:
    std::optional<LogCapture> m_log;
    StateSnapshot m_before;
};

} // namespace Veltrand::Testing
