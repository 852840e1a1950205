// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <Veltrand/Core/NotCopyable.h>
#include <Veltrand/GL/Context.h>
#include <Veltrand/GL/Export.h>
#include <Veltrand/GL/GL.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <type_traits>

namespace Veltrand::GL {

struct ContextManagerState;

/// Owns the contexts of the process: the main context, current on the thread that called `init`; a background
/// context on a thread of the manager's own; and contexts for other threads. All of them share objects.
///
/// Environment, read once unless stated otherwise:
/// - `VELTRAND_DISABLE_OPENGL` defined: `openGlDisabled()` is true; applications then skip `GL::init`.
/// - `VELTRAND_USE_OPENGL_COMPATIBILITY` defined: compatibility profile instead of core.
/// - `VELTRAND_USE_OPENGL_DEBUG_CONTEXT` not empty (read at each `init`): debug context.
///
/// A forked child owns none of its parent's contexts; it may call `init` for itself if no other thread of the
/// parent was inside the library at the fork. It should end by `_exit`: drivers keep exit handlers that wait
/// for threads which exist in the parent alone.
class VELTRAND_GL_API ContextManager : private Utils::NotCopyable {
public:
    /// The one of the process, from any thread; it exists before `init` and after `deinit`.
    static ContextManager& get();

    // Start and end, on the main thread

    /// Starts OpenGL with @p context as main context, which must be current on the calling thread (that of a
    /// window toolkit: `ContextGLX::adoptCurrent`), or with a new hidden one. On return the main context is
    /// current and the background thread serves tasks. Throws `OpenGLNotFoundException` when there is no
    /// usable OpenGL, or only one below 3.3; `std::logic_error` while initialised, or while another thread
    /// starts or ends OpenGL.
    void init(std::unique_ptr<Context> context);
    /// Destroys all per-context instances, stops the background thread and destroys all contexts. A context
    /// that is current on another thread is left to it with its instances, until the thread releases it or
    /// ends; for local contexts that is logged. Without `init` it does nothing; `init` may follow again.
    /// Takes a tenth of a second. On another thread than the one that called `init`, as long as that lives,
    /// in a task, and in the constructor or destructor of a per-context instance an error is logged and
    /// OpenGL goes on.
    void deinit();

    // Running work

    /// Runs @p func with a current context and returns when it has finished: on the calling thread if that
    /// has a current context and @p alwaysInBackground is false, otherwise on the background thread, one task
    /// at a time, followed by a flush. What a background task throws is logged; what @p func throws on the
    /// calling thread propagates.
    ///
    /// An error is logged and @p func is not called before `init`, and where the caller would wait for
    /// itself: when the background thread is needed by a task that runs there, or by the constructor or
    /// destructor of a per-context instance, for which other tasks may be waiting.
    void runWithOpenGL(const std::function<void()>& func, bool alwaysInBackground = false);

    // Contexts of other threads

    /// A new context that shares objects with the others, current on the calling thread and owned by the
    /// caller. Null, logged, on the main and the background thread, before `init`, and when none can be made.
    [[nodiscard]] std::unique_ptr<Context> createContext();
    /// Makes sure that the calling thread has a current context; one is made and remembered if needed, and
    /// released when the thread ends. Throws `std::runtime_error` when none can be had.
    void ensureLocalContext();
    /// Destroys the calling thread's local context if it has one.
    void releaseLocalContext();

    // The main context

    /// Makes the main context current; on the main thread only, otherwise logged and false.
    static bool makeCurrent();
    /// Releases the main context; logged and false before `init`.
    static bool doneCurrent();
    /// Not owned by the caller; null before `init`.
    [[nodiscard]] Context* mainContext() const;

    // The calling thread

    /// Whether the thread has a current context, ours or a toolkit's.
    [[nodiscard]] static bool hasCurrent();
    /// Identifies the calling thread's current context; 0 when there is none.
    [[nodiscard]] static std::uintptr_t currentContextId();

    // What the environment decided

    /// Whether `VELTRAND_DISABLE_OPENGL` is defined. Nothing here obeys it: applications ask before `init`.
    [[nodiscard]] static bool openGlDisabled();
    /// Whether contexts made here have the core profile.
    [[nodiscard]] static bool useCoreContext();

private:
    ContextManager();
    ~ContextManager();

    static void backgroundThread(const std::shared_ptr<ContextManagerState>& state);
    static bool run(ContextManagerState& state, std::unique_lock<std::mutex>& lock);
};

/// `ContextManager::get().init(std::move(context))`
VELTRAND_GL_API void init(std::unique_ptr<Context> context = nullptr);
/// `ContextManager::get().deinit()`
VELTRAND_GL_API void deinit();

// Raw OpenGL for applications

/// The address of the OpenGL (or GLX) function @p name, for raw calls and for loaders of the application's
/// own. As a callback it fits both kinds of loader, those that take a function for it and those that take
/// `void*`; called directly, it gives the function of the type asked for:
///
///     gladLoadGL(&GL::entryPoint);
///     const auto enable = GL::entryPoint<void (*)(GLenum)>("glEnable");
///
/// What an application loads this way is its own; it does not meet the entry points of this library. GLX
/// answers non-null for names that the driver does not have, so presence follows from the context's version,
/// profile and extensions, never from this address. Any thread; needs no current context.
[[nodiscard]] VELTRAND_GL_API void (*entryPoint(const char* name))();
/// The same as any pointer type.
template<class Address>
requires std::is_pointer_v<Address>
[[nodiscard]] Address entryPoint(const char* name) {
    return reinterpret_cast<Address>(entryPoint(name));
}

} // namespace Veltrand::GL
