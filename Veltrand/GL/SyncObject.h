// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <Veltrand/Core/NotCopyable.h>
#include <Veltrand/GL/Export.h>
#include <Veltrand/GL/GL.h>

#include <chrono>

namespace Veltrand::GL {

/// A fence in the command stream that the GPU or the calling thread can wait for, also from another context
/// of the same share group. A moved-from object has nothing to wait for: nobody waits, which is no success.
class VELTRAND_GL_API SyncObject : private Utils::NotCopyable {
public:
    /// How `waitClient` ended.
    enum class WaitResult : GLenum {
        AlreadySignaled = 0x911A,    // GL_ALREADY_SIGNALED
        TimeoutExpired = 0x911B,     // GL_TIMEOUT_EXPIRED
        ConditionSatisfied = 0x911C, // GL_CONDITION_SATISFIED
        WaitFailed = 0x911D,         // GL_WAIT_FAILED
    };

    /// A fence after every command issued so far in the current context. GL: glFenceSync, 3.2
    SyncObject();
    ~SyncObject();
    /// The source then owns nothing.
    SyncObject(SyncObject&& other) noexcept;
    SyncObject& operator=(SyncObject&& other) noexcept;

    /// Lets the current context's later commands wait for the fence; the thread goes on. A fence of another
    /// context must have been flushed there. GL: glWaitSync, 3.2
    void wait() const;
    /// Flushes the current context and blocks the thread until the fence has passed or @p timeout is over;
    /// zero (or less) only asks. GL: glClientWaitSync, 3.2
    [[nodiscard]] WaitResult waitClient(std::chrono::nanoseconds timeout) const;

private:
    void* m_sync;
};

} // namespace Veltrand::GL
