// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <type_traits>

namespace Veltrand::Testing {

/// Exchanges one of the loader's entry points (`glad_glFoo`) or version flags (`GLAD_GL_VERSION_4_4`) for the
/// length of a scope.
///
///     const ScopedEntryPoint without(glad_glClearTexImage, nullptr);
///     const ScopedEntryPoint counting(glad_glDrawBuffers, [](GLsizei n, const GLenum* list) { ... });
template<class Pointer>
class ScopedEntryPoint {
public:
    ScopedEntryPoint(Pointer& slot, std::type_identity_t<Pointer> replacement)
        : m_slot(slot)
        , m_original(slot) {
        slot = replacement;
    }
    ~ScopedEntryPoint() { m_slot = m_original; }
    ScopedEntryPoint(const ScopedEntryPoint&) = delete;
    ScopedEntryPoint& operator=(const ScopedEntryPoint&) = delete;

    /// What the slot held before, for replacements that hand the call on.
    [[nodiscard]] Pointer original() const { return m_original; }

private:
    Pointer& m_slot;
    Pointer m_original;
};

} // namespace Veltrand::Testing
