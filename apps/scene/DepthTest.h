// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <Veltrand/Core/NotCopyable.h>
#include <Veltrand/GL/ContextManager.h>
#include <Veltrand/GL/Functions.h>

namespace Veltrand::Apps {

/// Hides what lies behind something, for a scope: OpenGL's depth test.
class DepthTest : private Utils::NotCopyable {
public:
    DepthTest()
        : m_wasOn(GL::getBool(Capability)) {
        call("glEnable");
    }
    ~DepthTest() {
        if (!m_wasOn)
            call("glDisable");
    }

private:
    static constexpr GL::GLenum Capability = 0x0B71; // GL_DEPTH_TEST

    static void call(const char* function) {
        using Switch = void (*)(GL::GLenum);
        reinterpret_cast<Switch>(GL::entryPoint(function))(Capability);
    }

    bool m_wasOn;
};

} // namespace Veltrand::Apps
