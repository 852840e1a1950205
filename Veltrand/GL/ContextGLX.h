// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <Veltrand/GL/Context.h>

#include <cstdint>

namespace Veltrand::GL {

/// A context made through GLX, with a display connection and a hidden window of its own.
///
/// Objects that contexts share may live in the driver's data of the connection that made them, so a
/// connection is closed when the last context of its share group is gone, not before.
class VELTRAND_GL_API ContextGLX final : public Context {
public:
    /// See `Context::create`. Uses the display that the environment variable `DISPLAY` names.
    [[nodiscard]] static std::unique_ptr<Context> create(CreateInfo info);
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
