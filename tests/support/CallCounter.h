// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <Veltrand/Core/NotCopyable.h>

#include <utility>

namespace Veltrand::Testing {

/// Counts the calls of an OpenGL entry point over a scope and passes them on: `CallCounter<glad_glFlush> n;`
template<auto& slot, class Function = std::remove_reference_t<decltype(slot)>>
class CallCounter;

template<auto& slot, class Result, class... Args>
class CallCounter<slot, Result (*)(Args...)> : private Utils::NotCopyable {
public:
    CallCounter() {
        s_count = 0;
        s_original = std::exchange(slot, &call);
    }
    ~CallCounter() { slot = s_original; }

    /// The calls since the last time that it was asked.
    [[nodiscard]] int take() { return std::exchange(s_count, 0); }

private:
    static Result call(Args... args) {
        ++s_count;
        return s_original(args...);
    }

    inline static Result (*s_original)(Args...) = nullptr;
    inline static int s_count = 0;
};

} // namespace Veltrand::Testing
