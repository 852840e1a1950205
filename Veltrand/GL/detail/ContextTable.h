// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <Veltrand/Core/NotCopyable.h>

#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <sys/types.h>
#include <thread>
#include <unordered_map>
#include <vector>

namespace Veltrand::GL {

class Context;
class ShareGroup;

/// What is known of every living context of ours, by its handle: with which others it shares objects, and on
/// which thread it is current. Usable from any thread.
///
/// OpenGL may end (`GL::deinit`) while a thread goes on with a context. That is then *left* to its thread:
/// its per-context instances stay until the thread lets go of it, by releasing it or by ending.
class ContextTable : private Utils::NotCopyable {
public:
    using Handle = std::uintptr_t; ///< 0 for no context; functions that are given an unknown one do nothing

    /// Never destroyed, since contexts may be destroyed by static objects.
    static ContextTable& get();

    /// Whether the context was not known yet.
    bool add(Handle context, std::shared_ptr<ShareGroup> group);
    /// Who is asked for the end of a context that is left to a thread.
    void setOwner(Handle context, Context& owner);
    void remove(Handle context);

    /// The group that a context sharing with @p context belongs to; a new one for 0.
    [[nodiscard]] std::shared_ptr<ShareGroup> groupOf(Handle context);
    /// The group of contexts that share with contexts made elsewhere, on the display of that name.
    [[nodiscard]] std::shared_ptr<ShareGroup> foreignGroup(const std::string& displayName);

    /// The calling thread has made the context current, or has released it.
    void noteCurrent(Handle context);
    void noteReleased(Handle context);
    /// On which thread this library has made the context current and not released it since; the default id
    /// for none. About another thread than the calling one the window system does not tell.
    [[nodiscard]] std::thread::id threadOf(Handle context);
    [[nodiscard]] bool isCurrentOnAnotherThread(Handle context);
    /// Of the contexts which no other thread than the calling one was the last to make current.
    [[nodiscard]] std::vector<Context*> ownersOfThisThread();

    /// Whether OpenGL, which ends on the calling thread for @p endingThread, leaves the context to a third
    /// one, now or earlier.
    [[nodiscard]] bool leaveToItsThread(Handle context, std::thread::id endingThread);
    /// Whether the context was left to the calling thread, which now lets go of it.
    [[nodiscard]] bool takeLeft(Handle context);

private:
    struct Record {
        std::shared_ptr<ShareGroup> group;
        Context* owner = nullptr;
        std::thread::id thread{};
        std::thread::id lastThread{}; // where it is or was current; none once that thread has ended
        bool left = false;
        pid_t process = 0;
    };

    static void endThread();
    [[nodiscard]] std::shared_ptr<ShareGroup> foreignGroupLocked(const std::string& displayName);

    std::mutex m_mutex;
    std::unordered_map<Handle, Record> m_records;
    // When contexts made elsewhere end is not known, and until then they may hold objects made through our
    // connections, so that these stay open and serve whatever context comes next.
    std::unordered_map<std::string, std::shared_ptr<ShareGroup>> m_foreign;
};

} // namespace Veltrand::GL
