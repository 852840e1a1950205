// SPDX-License-Identifier: BSD-3-Clause
#pragma once

namespace Veltrand::GL {

/// Has @p action, one of a few, called once when the calling thread ends, after the destructors of its
/// thread-local objects; what was asked for last comes first. The end of the process does not count: `exit`
/// runs the destructors of thread-local objects too, and may have been called from inside the window system
/// or the driver.
void callAtThreadEnd(void (*action)());
/// Calls now what waits for the end of the calling thread.
void callThreadEndActions();

/// Keeps the library mapped until the last code of the calling thread has run, so that a plugin may be
/// unloaded while a thread of the library's own, which nobody joins, is on its way out.
void keepLibraryUntilThreadEnd();

/// Whether the destructors of static objects run, because the process ends or the library is unloaded. Then
/// nothing calls the window system or the driver: a toolkit may have closed its display, the driver may have
/// cleaned up, and either may be the caller.
[[nodiscard]] bool isProcessEnding();
void noteProcessEnd();

} // namespace Veltrand::GL
