// SPDX-License-Identifier: BSD-3-Clause
#include <Veltrand/GL/Context.h>

#include <Veltrand/GL/ContextGLX.h>
#include <Veltrand/GL/InstanceManager.h>

#include <cstdint>
#include <glad/gl.h>
#include <utility>

namespace Veltrand::GL {

std::unique_ptr<Context> Context::create(CreateInfo info) {
    return ContextGLX::create(std::move(info));
}

Context::~Context() = default;

bool Context::deinitialize() {
    m_deinitialized = true;
    // With another context current, its instances would be destroyed, and it would be released.
    if (!makeCurrent()) {
        InstanceManagerBase::setAside(reinterpret_cast<std::uintptr_t>(internalHandle()));
        return false;
    }
    InstanceManagerBase::deinitCurrent();
    if (glFinish)
        glFinish();
    return doneCurrent();
}

} // namespace Veltrand::GL
