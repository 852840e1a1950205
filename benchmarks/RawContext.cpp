// SPDX-License-Identifier: BSD-3-Clause
#include "RawContext.h"

#include <algorithm>
#include <glad/gl.h>

// Last: its macros break other headers.
#include <GL/glx.h>
#include <GL/glxext.h>

namespace Veltrand::GL {

struct RawContext::Handles {
    Display* display = nullptr;
    Colormap colormap = 0;
    Window window = 0;
    GLXContext context = nullptr;
};

RawContext::RawContext(const RawContext* shared)
    : m_handles(std::make_unique<Handles>()) {
    const auto create = reinterpret_cast<PFNGLXCREATECONTEXTATTRIBSARBPROC>(
        glXGetProcAddressARB(reinterpret_cast<const GLubyte*>("glXCreateContextAttribsARB")));
    Handles& own = *m_handles;
    Display* const display = own.display = XOpenDisplay(nullptr);
    constexpr int configAttributes[] = {GLX_RENDER_TYPE, GLX_RGBA_BIT, GLX_ALPHA_SIZE, 8, None};
    int count = 0;
    GLXFBConfig* const configs = glXChooseFBConfig(display, DefaultScreen(display), configAttributes, &count);
    // With as many samples as there are, which costs most.
    const auto samplesOf = [display](GLXFBConfig config) {
        int samples = 0;
        glXGetFBConfigAttrib(display, config, GLX_SAMPLES, &samples);
        return samples;
    };
    const GLXFBConfig config =
        *std::max_element(configs, configs + count,
                          [&samplesOf](GLXFBConfig a, GLXFBConfig b) { return samplesOf(a) < samplesOf(b); });
    XVisualInfo* const visual = glXGetVisualFromFBConfig(display, config);
    const Window root = RootWindow(display, visual->screen);
    XSetWindowAttributes attributes{};
    attributes.colormap = own.colormap = XCreateColormap(display, root, visual->visual, AllocNone);
    own.window = XCreateWindow(display, root, 0, 0, 100, 100, 0, visual->depth, InputOutput, visual->visual,
                               CWBorderPixel | CWColormap, &attributes);
    constexpr int contextAttributes[] = {GLX_CONTEXT_MAJOR_VERSION_ARB, 4, GLX_CONTEXT_MINOR_VERSION_ARB, 5,
                                         None};
    own.context =
        create(display, config, shared ? shared->m_handles->context : nullptr, True, contextAttributes);
    XFree(visual);
    XFree(configs);
}

RawContext::~RawContext() {
    Handles& own = *m_handles;
    glXDestroyContext(own.display, own.context);
    XDestroyWindow(own.display, own.window);
    XFreeColormap(own.display, own.colormap);
    XCloseDisplay(own.display);
}

void RawContext::makeCurrent() const {
    glXMakeCurrent(m_handles->display, m_handles->window, m_handles->context);
}

void RawContext::clearCurrent() {
    if (Display* const display = glXGetCurrentDisplay())
        glXMakeCurrent(display, None, nullptr);
}

void RawContext::loadEntryPoints() {
    gladLoadGL([](const char* name) {
        return reinterpret_cast<GLADapiproc>(glXGetProcAddressARB(reinterpret_cast<const GLubyte*>(name)));
    });
}

} // namespace Veltrand::GL
