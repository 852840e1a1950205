// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <Veltrand/Core/NotCopyable.h>
#include <Veltrand/GL/Context.h>
#include <Veltrand/GL/detail/LocalContexts.h>

#include <atomic>
#include <condition_variable>
#include <functional>
#include <future>
#include <memory>
#include <mutex>
#include <optional>
#include <sys/types.h>
#include <thread>
#include <unistd.h>

namespace Veltrand::GL {

/// The main context. Its thread makes and destroys it, while any thread may ask for it or release it.
class MainContext : private Utils::NotCopyable {
public:
    [[nodiscard]] Context* get() const { return m_context; }
    void set(std::unique_ptr<Context> context) { m_context = context.release(); }
    /// Waits for a release by another thread.
    [[nodiscard]] std::unique_ptr<Context> take();
    /// Empty without a context.
    [[nodiscard]] std::optional<bool> doneCurrent();

private:
    std::atomic<Context*> m_context{nullptr};
    std::recursive_mutex m_mutex; // a message of the driver may ask for the context during its release
};

/// One life of the manager, from `init` to `deinit`. The background thread holds it too, so that whichever of
/// the two threads is done first leaves it to the other.
struct ContextManagerState {
    /// The thread that brings it from one phase to the next is the only one to do so; others are refused.
    enum class Phase { Unborn, Starting, Started, Ending };

    std::atomic<Phase> phase{Phase::Unborn};
    MainContext mainContext;
    std::atomic<std::thread::id> mainThread{}; // none once that thread has ended
    std::atomic<std::thread::id> backgroundThreadId{};
    std::unique_ptr<Context> backgroundContext;
    std::function<void()> pendingTask;
    std::mutex callerMutex; // held by a caller from hand-over to completion
    std::thread backgroundThread;
    std::condition_variable taskSignal;
    std::mutex taskMutex; // guards the pending task; the background thread lets go of it only while it waits
    std::atomic<bool> stopRequested{false};
    std::atomic<bool> backgroundRunning{false};
    LocalContexts localContexts;

    std::promise<bool> serving;           // set once: whether the background thread came to serve
    std::atomic<bool> hasContexts{false}; // both contexts exist; readable from any thread
    pid_t process = getpid();
};

/// The record of the present life. It outlives the manager: destructors of other static objects, and threads
/// that end during exit, still ask.
[[nodiscard]] std::shared_ptr<ContextManagerState> currentState();
/// The next life's record takes its place.
void renewState();

} // namespace Veltrand::GL
