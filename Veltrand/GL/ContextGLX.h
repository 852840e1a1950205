// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <Veltrand/GL/Context.h>

#include <cstdint>

namespace Veltrand::GL {

/// A context made through GLX, with a display connection and a hidden window of its own; or one that a window
/// toolkit has made (`adoptCurrent`).
///
/// Objects that contexts share may live in the driver's data of the connection that made them, so a
/// connection is closed when the last context of its share group is gone, not before. The connections of
/// contexts that share with a toolkit's stay open, and are used again, until the process ends.
class VELTRAND_GL_API ContextGLX final : public Context {
public:
    /// See `Context::create`. Uses the display that the environment variable `DISPLAY` names.
    [[nodiscard]] static std::unique_ptr<Context> create(CreateInfo info);

    /// Wraps the GLX context that is current on the calling thread, made by GLFW, Qt, SDL or raw GLX, so that
    /// it can be handed to `GL::init` as main context:
    ///
    ///     glfwMakeContextCurrent(window);
    ///     auto context = GL::ContextGLX::adoptCurrent();
    ///     if (!context)
    ///         return 1; // a null context would make GL::init create a hidden one
    ///     GL::init(std::move(context));
    ///
    /// The context, its window and its display connection stay the toolkit's, and have to live until the
    /// wrapper is gone, which is at `GL::deinit`. That leaves current what was current before. `makeCurrent`
    /// uses the drawable that the context was last seen with. `clone()` matches profile, debug flag and reset
    /// notification; a debug message callback of the toolkit stays in place.
    ///
    /// Null, logged, without a current GLX context (one made through EGL is none), for a context below 3.3,
    /// for OpenGL ES, for one made without error checking, and for one that is wrapped or ours already.
    /// GL: glGetString, glGetStringi, glGetIntegerv, 3.3
    [[nodiscard]] static std::unique_ptr<Context> adoptCurrent();
    ~ContextGLX() override;

    bool makeCurrent() const override;
    bool doneCurrent() const override;
    [[nodiscard]] void* internalHandle() const override;
    [[nodiscard]] std::unique_ptr<Context> clone() override;

    /// Whether the calling thread has a current GLX context, ours or another's.
    [[nodiscard]] static bool hasCurrent();
    /// The handle of the calling thread's current GLX context as a number; 0 when there is none.
    [[nodiscard]] static std::uintptr_t current();
    /// Whether @p extension is one of the words of the blank-separated @p extensionList.
    [[nodiscard]] static bool isExtensionSupported(const char* extensionList, const char* extension);

    /// Whether some thread has made this context current through this class and not released it since.
    [[nodiscard]] bool isCurrentOnSomeThread() const;

private:
    struct Private;
    explicit ContextGLX(std::unique_ptr<Private> data);

    void cleanup();

    std::unique_ptr<Private> m_data;
};

} // namespace Veltrand::GL
