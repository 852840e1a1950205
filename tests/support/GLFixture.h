// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "support/LogCapture.h"

#include <array>
#include <gtest/gtest.h>
#include <initializer_list>
#include <map>
#include <optional>

namespace Veltrand::Testing {

/// OpenGL state by name, up to four values each; colour masks also of the second draw buffer.
using State = std::map<int, std::array<double, 8>>;
[[nodiscard]] State readState(std::initializer_list<int> names);
/// Fails the test for each value that is not as it was.
void expectUnchanged(const State& before);

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
    std::optional<LogCapture> m_log;
    State m_before;
};

} // namespace Veltrand::Testing
