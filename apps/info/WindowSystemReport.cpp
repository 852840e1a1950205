// SPDX-License-Identifier: BSD-3-Clause
// Alone in its file, since Xlib's macros break other headers.
#include "info/Report.h"

#include <GL/glx.h>
#include <X11/Xlib.h>

namespace Veltrand::Apps {

namespace {

std::string orUnknown(const char* text) {
    return text ? text : "unknown";
}

} // namespace

Section windowSystemSection() {
    Section section{"Window system"};
    Display* const display = glXGetCurrentDisplay();
    if (!display) {
        section.add("no GLX context is current", "");
        return section;
    }
    int major = 0;
    int minor = 0;
    glXQueryVersion(display, &major, &minor);
    section.add("display", orUnknown(DisplayString(display)));
    section.add("X server",
                orUnknown(ServerVendor(display)) + ", release " + std::to_string(VendorRelease(display)));
    section.add("GLX", std::to_string(major) + "." + std::to_string(minor));
    section.add("GLX client", orUnknown(glXGetClientString(display, GLX_VENDOR)));
    section.add("GLX server", orUnknown(glXQueryServerString(display, DefaultScreen(display), GLX_VENDOR)));
    section.add("direct rendering", glXIsDirect(display, glXGetCurrentContext()) ? "yes" : "no");
    return section;
}

} // namespace Veltrand::Apps
