// SPDX-License-Identifier: BSD-3-Clause

/// Calls @p callback from a module that the test loads while it runs.
extern "C" __attribute__((visibility("default"), noinline)) void callThroughModule(void (*callback)()) {
    callback();
    asm volatile(""); // keeps the call from becoming a jump
}
