// SPDX-License-Identifier: BSD-3-Clause
#include <Veltrand/GL/detail/PreviousCurrent.h>

#include <Veltrand/GL/detail/ContextTable.h>

#include <GL/glx.h>
#include <utility>

namespace Veltrand::GL {

PreviousCurrent::PreviousCurrent()
    : m_display(glXGetCurrentDisplay())
    , m_draw(glXGetCurrentDrawable())
    , m_read(glXGetCurrentReadDrawable())
    , m_context(glXGetCurrentContext()) {}

PreviousCurrent::~PreviousCurrent() {
    if (m_context && glXMakeContextCurrent(m_display, m_draw, m_read, static_cast<GLXContext>(m_context)))
        ContextTable::get().noteCurrent(reinterpret_cast<ContextTable::Handle>(m_context));
}

void PreviousCurrent::forget() {
    ContextTable::get().noteReleased(
        reinterpret_cast<ContextTable::Handle>(std::exchange(m_context, nullptr)));
}

} // namespace Veltrand::GL
