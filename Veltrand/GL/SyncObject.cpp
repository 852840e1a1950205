// SPDX-License-Identifier: BSD-3-Clause
#include <Veltrand/GL/SyncObject.h>

#include <Veltrand/GL/detail/MoveOnly.h>

#include <algorithm>
#include <glad/gl.h>
#include <utility>

namespace Veltrand::GL {

static_assert(MoveOnly<SyncObject>);
static_assert(GLenum(SyncObject::WaitResult::AlreadySignaled) == GL_ALREADY_SIGNALED &&
              GLenum(SyncObject::WaitResult::TimeoutExpired) == GL_TIMEOUT_EXPIRED &&
              GLenum(SyncObject::WaitResult::ConditionSatisfied) == GL_CONDITION_SATISFIED &&
              GLenum(SyncObject::WaitResult::WaitFailed) == GL_WAIT_FAILED);

SyncObject::SyncObject()
    : m_sync(glFenceSync(GL_SYNC_GPU_COMMANDS_COMPLETE, 0)) {}

SyncObject::~SyncObject() {
    if (m_sync)
        glDeleteSync(static_cast<GLsync>(m_sync));
}

SyncObject::SyncObject(SyncObject&& other) noexcept
    : m_sync(std::exchange(other.m_sync, nullptr)) {}

SyncObject& SyncObject::operator=(SyncObject&& other) noexcept {
    SyncObject taken(std::move(other));
    std::swap(m_sync, taken.m_sync);
    return *this;
}

void SyncObject::wait() const {
    if (!m_sync)
        return;
    glWaitSync(static_cast<GLsync>(m_sync), 0, GL_TIMEOUT_IGNORED);
}

SyncObject::WaitResult SyncObject::waitClient(std::chrono::nanoseconds timeout) const {
    if (!m_sync)
        return WaitResult::WaitFailed;
    const auto limit = static_cast<GLuint64>(std::max<std::chrono::nanoseconds::rep>(timeout.count(), 0));
    return static_cast<WaitResult>(
        glClientWaitSync(static_cast<GLsync>(m_sync), GL_SYNC_FLUSH_COMMANDS_BIT, limit));
}

} // namespace Veltrand::GL
