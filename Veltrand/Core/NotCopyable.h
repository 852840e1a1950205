// SPDX-License-Identifier: BSD-3-Clause
#pragma once

namespace Veltrand::Utils {

/// Base of owners: forbids copies, leaves moves to the derived class.
class NotCopyable {
public:
    NotCopyable(const NotCopyable&) = delete;
    NotCopyable& operator=(const NotCopyable&) = delete;

protected:
    NotCopyable() = default;
    ~NotCopyable() = default;
    /// Nothing moves here; the derived class says what does.
    NotCopyable(NotCopyable&&) noexcept = default;
    NotCopyable& operator=(NotCopyable&&) noexcept = default;
};

} // namespace Veltrand::Utils
