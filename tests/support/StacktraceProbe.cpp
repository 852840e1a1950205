// SPDX-License-Identifier: BSD-3-Clause
#include "support/StacktraceProbe.h"

namespace Veltrand::Testing {

__attribute__((noinline)) void callThroughLibrary(void (*callback)()) {
    callback();
    asm volatile(""); // keeps the call from becoming a jump
}

} // namespace Veltrand::Testing
