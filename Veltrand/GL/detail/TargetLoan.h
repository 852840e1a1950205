// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <Veltrand/Core/NotCopyable.h>
#include <Veltrand/GL/StateGuard.h>

#include <memory>
#include <vector>

namespace Veltrand::GL {

/// A framebuffer that is lent to be drawn to, which ends with this object.
///
/// The loans of a context lie upon each other. When the uppermost one ends, its parent is drawn to again. One
/// that ends below others leaves the target to them, and the next one above goes back to its parent in its
/// place. So whatever the order in which loans end, after the last one the target is that of before the
/// first, and none goes back to a framebuffer that is not lent any more.
class TargetLoan : private Utils::NotCopyable {
public:
    /// @param parent what was drawn to before, framebuffer and viewport
    /// @param parentFramebuffer the framebuffer that @p parent has saved
    /// @param framebuffer the one that is lent, which is bound
    TargetLoan(StateGuard parent, GLuint parentFramebuffer, GLuint framebuffer);
    ~TargetLoan();

    /// Makes the parent the target, for the first time that it is called.
    void leave();

private:
    // What several loans go back to when those between have ended.
    class Parent : private Utils::NotCopyable {
    public:
        Parent(StateGuard guard, GLuint framebuffer);
        ~Parent();
        void makeCurrent();
        [[nodiscard]] GLuint framebuffer() const { return m_framebuffer; }

    private:
        StateGuard m_guard;
        GLuint m_framebuffer;
    };
    using Loans = std::vector<TargetLoan*>; // lent first comes first
    class ContextLoans;

    void goBack(const std::shared_ptr<Parent>& parent, Loans::iterator above);

    std::shared_ptr<Loans> m_loans; ///< of the context
    std::shared_ptr<Parent> m_parent;
    std::shared_ptr<Parent> m_inherited; ///< of loans below that have ended, unless it is the parent
    GLuint m_framebuffer;
    bool m_left = false;
};

} // namespace Veltrand::GL
