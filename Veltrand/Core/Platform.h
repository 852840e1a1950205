// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <Veltrand/Core/Export.h>

#include <string>

/// What the operating system knows about this process.
namespace Veltrand::Platform {

/// The value of an environment variable; empty when it is empty or not defined. As with `getenv`, no other
/// thread may change the environment meanwhile.
[[nodiscard]] VELTRAND_CORE_API std::string getEnvironmentVariable(const std::string& name);

/// The calls that led here, innermost first, without this function itself; each line reads
/// "#0 function (file:line)". Inlined functions have lines of their own. Where a module carries no debug
/// information, its path and the offset into it stand for file and line, and "??" for an unknown function.
///
/// Reads the debug information of all loaded modules, which takes a good part of a second in a large program
/// the first time. Safe from any thread, but not in signal handlers. When memory runs out the text ends
/// early.
[[nodiscard]] VELTRAND_CORE_API std::string stacktrace() noexcept;

} // namespace Veltrand::Platform
