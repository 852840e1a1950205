// SPDX-License-Identifier: BSD-3-Clause
#include "support/AllocationCounter.h"

#include <cstdlib>
#include <new>

static thread_local std::size_t t_allocations = 0;

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool isCounting = false;
#else
constexpr bool isCounting = true;

void* operator new(std::size_t size) {
    ++t_allocations;
    if (void* const memory = std::malloc(size > 0 ? size : 1))
        return memory;
    throw std::bad_alloc();
}

void operator delete(void* memory) noexcept {
    std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}
#endif

namespace Veltrand::Testing {

std::size_t numAllocations() {
    return t_allocations;
}

bool countsAllocations() {
    return isCounting;
}

} // namespace Veltrand::Testing
