// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <Veltrand/Core/NotCopyable.h>
#include <Veltrand/Core/Version.h>
#include <Veltrand/GL/Export.h>
#include <Veltrand/GL/GL.h>

#include <memory>

namespace Veltrand::GL {

/// An OpenGL context: it can be made current on a thread, released, cloned into a sharing context, and torn
/// down cleanly. A context is current on at most one thread.
class VELTRAND_GL_API Context : private Utils::NotCopyable {
public:
    /// What a new context is to be like.
    struct CreateInfo {
        Utils::Version version;         ///< lowest version wanted; a major below 1: the first that can
                                        ///< be had of 4.6, 4.5, 4.3, 4.2, 4.1, 4.0 and 3.3
        bool compatibility = false;     ///< compatibility profile instead of core
        bool debug = false;             ///< debug context, with the default message callback installed
        void* sharedContext = nullptr;  ///< native handle of a context to share objects with, which has
                                        ///< to have the same reset notification
        bool resetNotification = false; ///< ask to lose the context on a GPU reset
    };

    /// A new context with a hidden drawable of its own, current on the calling thread; null on failure, which
    /// is logged. May be called from any thread. A function-local static that gets it only after the library
    /// has been used is destroyed first when the process ends, while that is not known yet: better a global.
    [[nodiscard]] static std::unique_ptr<Context> create(CreateInfo info);

    /// Deinitialises the context; no context is current afterwards. One that is current on another thread is
    /// left to it until that thread ends, which is logged.
    virtual ~Context();

    /// Makes the context current on the calling thread in place of any other. False when the window system
    /// refuses, and, logged, when the context is current on another thread.
    virtual bool makeCurrent() const = 0;
    /// Leaves the calling thread without a current context, whichever it was.
    virtual bool doneCurrent() const = 0;
    /// The window system's handle of the context.
    [[nodiscard]] virtual void* internalHandle() const = 0;
    /// A context of the same kind and creation parameters that shares objects with this one, current on the
    /// calling thread. Throws `std::runtime_error` when it cannot be created or made current.
    [[nodiscard]] virtual std::unique_ptr<Context> clone() = 0;
    /// Prepares a hand-over to another thread, on the thread that gives the context away.
    virtual void detachFromCurrentThread() {}
    /// Completes a hand-over, on the thread that takes the context.
    virtual void moveToCurrentThread() {}
    /// Makes the context current, destroys its per-context instances, waits for it to finish and releases it.
    /// Whether that could be done.
    virtual bool deinitialize();

protected:
    Context() = default;

    /// Installs `Debug::defaultMessageCallback` synchronously in the current context, also before the entry
    /// points are loaded.
    static void installDefaultDebugMessageHandler();

    /// Whether `deinitialize` has been called.
    [[nodiscard]] bool isDeinitialized() const { return m_deinitialized; }

private:
    bool m_deinitialized = false;
};

} // namespace Veltrand::GL
