// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstddef>

namespace Veltrand::Testing {

/// How often the calling thread has taken memory with `new`; the executable links AllocationCounter.cpp.
[[nodiscard]] std::size_t numAllocations();

} // namespace Veltrand::Testing
