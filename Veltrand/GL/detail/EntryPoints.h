// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <Veltrand/Core/NotCopyable.h>

#include <mutex>

namespace Veltrand::GL {

using EntryPoint = void (*)();

/// The address that the window system gives for an OpenGL function. It is non-null for unknown names too, so
/// it says nothing about presence.
[[nodiscard]] EntryPoint lookupEntryPoint(const char* name);

/// Held while entry points are loaded or contexts are created, which loads some of them for a while.
[[nodiscard]] std::mutex& entryPointMutex();

/// Loads one entry point for a scope in which the full loading has not happened yet, and takes it away again
/// so that the full loading starts clean. An entry point that is loaded already is left alone.
template<class Function>
class EarlyEntryPoint : private Utils::NotCopyable {
public:
    EarlyEntryPoint(Function& slot, const char* name)
        : m_slot(slot)
        , m_loadedHere(!slot) {
        if (m_loadedHere)
            m_slot = reinterpret_cast<Function>(lookupEntryPoint(name));
    }
    ~EarlyEntryPoint() {
        if (m_loadedHere)
            m_slot = nullptr;
    }

private:
    Function& m_slot;
    bool m_loadedHere;
};

} // namespace Veltrand::GL
