// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <Veltrand/Core/NotCopyable.h>

#include <cstddef>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>
#include <unordered_map>

namespace Veltrand::GL {

class Context;

/// The contexts that threads have asked for between one start and one end of OpenGL, one for each thread. No
/// context is made or destroyed under its lock.
class LocalContexts : private Utils::NotCopyable {
public:
    /// Makes the calling thread's context current; empty without one.
    [[nodiscard]] std::optional<bool> makeCurrent();
    /// Remembers a context for the calling thread. False after `close`.
    [[nodiscard]] bool add(std::unique_ptr<Context> context);
    [[nodiscard]] std::unique_ptr<Context> take();

    /// Destroys the contexts, except that those which are current on other threads are left to them.
    /// @return how many were left
    std::size_t close();

private:
    using Map = std::unordered_map<std::thread::id, std::unique_ptr<Context>>;

    std::mutex m_mutex;
    Map m_contexts;
    bool m_closed = false;
};

/// Keeps a context that is current on a thread when OpenGL ends until that thread calls
/// `destroyLeftContexts`.
void leaveToThread(std::thread::id thread, std::unique_ptr<Context> context);
enum class LeftCurrent { Destroyed, Kept };
/// Destroys the contexts that were left to the calling thread, the current one among them only where that is
/// asked for. Another one that is current stays so.
void destroyLeftContexts(LeftCurrent current = LeftCurrent::Destroyed);

} // namespace Veltrand::GL
