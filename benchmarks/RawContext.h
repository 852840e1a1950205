// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <Veltrand/Core/NotCopyable.h>

#include <memory>

namespace Veltrand::GL {

/// A context of the floors, with a hidden window of as many samples as there are and a connection to the
/// server of its own: OpenGL 4.5, core.
class RawContext : private Utils::NotCopyable {
public:
    /// @param shared a context to share objects with, which outlives this one, or null
    explicit RawContext(const RawContext* shared = nullptr);
    ~RawContext();

    void makeCurrent() const;
    static void clearCurrent();
    /// Loads the entry points for the current context.
    static void loadEntryPoints();

private:
    struct Handles;
    std::unique_ptr<Handles> m_handles;
};

} // namespace Veltrand::GL
