// SPDX-License-Identifier: BSD-3-Clause
#include <Veltrand/GL/detail/TargetLoan.h>

#include <Veltrand/GL/Functions.h>
#include <Veltrand/GL/InstanceManager.h>

#include <algorithm>
#include <glad/gl.h>
#include <utility>

namespace Veltrand::GL {

// Shared with the loans, which may end inside the destructor of another instance, or after this one.
class TargetLoan::ContextLoans : public InstanceManager<ContextLoans> {
public:
    [[nodiscard]] static std::shared_ptr<Loans> current() {
        return isInsideInstance() ? std::make_shared<Loans>() : get()->m_loans;
    }

private:
    std::shared_ptr<Loans> m_loans = std::make_shared<Loans>();
};

TargetLoan::Parent::Parent(StateGuard guard, GLuint framebuffer)
    : m_guard(std::move(guard))
    , m_framebuffer(framebuffer) {}

TargetLoan::Parent::~Parent() {
    m_guard.release(StateGuard::SaveFlags::All);
}

void TargetLoan::Parent::makeCurrent() {
    m_guard.restoreState(StateGuard::SaveFlags::All);
}

TargetLoan::TargetLoan(StateGuard parent, GLuint parentFramebuffer, GLuint framebuffer)
    : m_loans(ContextLoans::current())
    , m_parent(std::make_shared<Parent>(std::move(parent), parentFramebuffer))
    , m_framebuffer(framebuffer) {
    m_loans->push_back(this);
}

TargetLoan::~TargetLoan() {
    const auto above = m_loans->erase(std::ranges::find(*m_loans, this));
    for (auto loan = above; loan != m_loans->end(); ++loan)
        for (std::shared_ptr<Parent>* const parent : {&(*loan)->m_parent, &(*loan)->m_inherited})
            if (*parent && (*parent)->framebuffer() == m_framebuffer)
                *parent = m_parent;
    if (m_inherited)
        goBack(m_inherited, above);
    else if (!m_left)
        goBack(m_parent, above);
    if (static_cast<GLuint>(getInt(GL_FRAMEBUFFER_BINDING)) == m_framebuffer)
        m_parent->makeCurrent();
}

void TargetLoan::leave() {
    if (!std::exchange(m_left, true))
        m_parent->makeCurrent();
}

// Leaves it to the next loan above that is still drawn to.
void TargetLoan::goBack(const std::shared_ptr<Parent>& parent, Loans::iterator above) {
    const auto next =
        std::find_if(above, m_loans->end(), [](const TargetLoan* loan) { return !loan->m_left; });
    if (next == m_loans->end())
        parent->makeCurrent();
    else
        (*next)->m_inherited = (*next)->m_parent == parent ? nullptr : parent;
}

} // namespace Veltrand::GL
