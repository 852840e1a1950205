// SPDX-License-Identifier: BSD-3-Clause
#pragma once

namespace Veltrand::Testing {

/// Calls @p callback from a shared library of its own, so that a stack trace has to pass through it.
__attribute__((visibility("default"))) void callThroughLibrary(void (*callback)());
/// The same, compiled without debug information.
__attribute__((visibility("default"))) void callWithoutDebugInformation(void (*callback)());

} // namespace Veltrand::Testing
