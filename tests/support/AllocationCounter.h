// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstddef>

namespace Veltrand::Testing {

/// How often the calling thread has called `operator new`.
[[nodiscard]] std::size_t numAllocations();
/// False where a sanitizer keeps the operators to itself.
[[nodiscard]] bool countsAllocations();

} // namespace Veltrand::Testing
