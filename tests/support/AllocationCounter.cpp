// SPDX-License-Identifier: BSD-3-Clause
#include "support/AllocationCounter.h"

#include <cstdlib>
#include <new>

namespace {

thread_local std::size_t t_allocations = 0;

} // namespace

namespace Veltrand::Testing {

std::size_t numAllocations() {
    return t_allocations;
}

} // namespace Veltrand::Testing

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
