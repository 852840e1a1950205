// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <Veltrand/Core/NotCopyable.h>
#include <Veltrand/GL/ContextManager.h>
#include <Veltrand/GL/Functions.h>

namespace Veltrand::Apps {

/// Switches a capability of OpenGL on, for a scope.
class ScopedCapability : private Utils::NotCopyable {
public:
    explicit ScopedCapability(GL::GLenum capability)
        : m_capability(capability)
        , m_wasOn(GL::getBool(capability)) {
        call("glEnable");
    }
    ~ScopedCapability() {
        if (!m_wasOn)
            call("glDisable");
    }

private:
    void call(const char* function) const { GL::entryPoint<void (*)(GL::GLenum)>(function)(m_capability); }

    GL::GLenum m_capability;
    bool m_wasOn;
};

/// Hides what lies behind something.
class DepthTest : private ScopedCapability {
public:
    DepthTest()
        : ScopedCapability(0x0B71) {} // GL_DEPTH_TEST
};

/// Leaves out what is seen from behind, which in closed surfaces is hidden anyway.
class FaceCulling : private ScopedCapability {
public:
    FaceCulling()
        : ScopedCapability(0x0B44) {} // GL_CULL_FACE
};

} // namespace Veltrand::Apps
