// SPDX-License-Identifier: BSD-3-Clause
#include <Veltrand/GL/detail/ShareGroup.h>

#include <Veltrand/GL/detail/Endings.h>

#include <X11/Xlib.h>

namespace Veltrand::GL {

ShareGroup::~ShareGroup() {
    if (m_process != getpid() || isProcessEnding())
        return;
    for (Display* display : m_idle)
        XCloseDisplay(display);
}

Display* ShareGroup::takeConnection() {
    {
        const std::lock_guard lock(m_mutex);
        if (!m_idle.empty()) {
            Display* const display = m_idle.back();
            m_idle.pop_back();
            return display;
        }
    }
    return XOpenDisplay(m_displayName.empty() ? nullptr : m_displayName.c_str());
}

void ShareGroup::returnConnection(Display* display) {
    XSync(display, False);
    const std::lock_guard lock(m_mutex);
    m_idle.push_back(display);
}

} // namespace Veltrand::GL
