// SPDX-License-Identifier: BSD-3-Clause
#include "support/WindowSystem.h"

#include <GL/glx.h>
#include <GL/glxext.h>
#include <X11/Xlib.h>
#include <X11/Xproto.h>
#include <cstring>
#include <dlfcn.h>
#include <mutex>

// The executable's definitions come before those of the libraries it is linked with.

namespace Veltrand::Testing {

WindowSystem& windowSystem() {
    static WindowSystem instance;
    return instance;
}

std::vector<std::pair<int, int>> WindowSystem::requestedVersions() const {
    std::vector<std::pair<int, int>> versions;
    for (const auto& request : requests)
        versions.emplace_back(request.at(1), request.at(3));
    return versions;
}

namespace {

std::mutex g_mutex;

void count(int WindowSystem::*counter) {
    const std::lock_guard lock(g_mutex);
    ++(windowSystem().*counter);
}

template<class Function>
Function* real(Function*, const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

// A request that the server answers with an error.
void raiseXError(Display* display) {
    XSync(display, False);
    XErrorEvent event{};
    event.type = X_Error;
    event.display = display;
    event.error_code = BadMatch;
    const XErrorHandler handler = XSetErrorHandler(nullptr);
    XSetErrorHandler(handler);
    handler(display, &event);
}

GLXContext createContextAttribs(Display* display, GLXFBConfig config, GLXContext share, Bool direct,
                                const int* attributes) {
    static const auto create = reinterpret_cast<PFNGLXCREATECONTEXTATTRIBSARBPROC>(
        real(&glXGetProcAddressARB,
             "glXGetProcAddressARB")(reinterpret_cast<const GLubyte*>("glXCreateContextAttribsARB")));
    WindowSystem& ws = windowSystem();
    std::vector<int> request;
    bool reset = false;
    for (const int* attribute = attributes; attribute[0] != None; attribute += 2) {
        request.insert(request.end(), attribute, attribute + 2);
        reset |= attribute[0] == GLX_CONTEXT_RESET_NOTIFICATION_STRATEGY_ARB;
    }
    std::pair<int, int> version{0, 0};
    if (request.size() >= 4 && request[0] == GLX_CONTEXT_MAJOR_VERSION_ARB)
        version = {request[1], request[3]};
    bool refuse = (reset && ws.failResetRequests) || version > ws.newestVersion;
    {
        const std::lock_guard lock(g_mutex);
        ws.requests.push_back(request);
        refuse |= ws.failRequestsAfter == 0;
        if (ws.failRequestsAfter > 0)
            --ws.failRequestsAfter;
    }
    if (refuse) {
        raiseXError(display);
        return nullptr;
    }
    const GLXContext context = create(display, config, share, direct, attributes);
    const std::lock_guard lock(g_mutex);
    ws.contextsCreated += context != nullptr;
    return context;
}

} // namespace

} // namespace Veltrand::Testing

using Veltrand::Testing::count;
using Veltrand::Testing::g_mutex;
using Veltrand::Testing::real;
using Veltrand::Testing::WindowSystem;
using Veltrand::Testing::windowSystem;

#pragma GCC visibility push(default)
extern "C" {

Display* XOpenDisplay(const char* name) {
    if (windowSystem().failOpenDisplay)
        return nullptr;
    count(&WindowSystem::displaysOpened);
    return real(&XOpenDisplay, "XOpenDisplay")(name);
}

int XCloseDisplay(Display* display) {
    count(&WindowSystem::displaysClosed);
    return real(&XCloseDisplay, "XCloseDisplay")(display);
}

Window XCreateWindow(Display* display, Window parent, int x, int y, unsigned int width, unsigned int height,
                     unsigned int border, int depth, unsigned int type, Visual* visual, unsigned long mask,
                     XSetWindowAttributes* attributes) {
    if (windowSystem().failWindow)
        width = 0; // the server refuses it; a name comes back all the same
    count(&WindowSystem::windowsCreated);
    return real(&XCreateWindow, "XCreateWindow")(display, parent, x, y, width, height, border, depth, type,
                                                 visual, mask, attributes);
}

int XDestroyWindow(Display* display, Window window) {
    count(&WindowSystem::windowsDestroyed);
    return real(&XDestroyWindow, "XDestroyWindow")(display, window);
}

Bool glXQueryVersion(Display* display, int* major, int* minor) {
    const Bool known = real(&glXQueryVersion, "glXQueryVersion")(display, major, minor);
    if (windowSystem().glxVersion != std::pair{1, 4}) {
        *major = windowSystem().glxVersion.first;
        *minor = windowSystem().glxVersion.second;
    }
    return known;
}

GLXFBConfig* glXChooseFBConfig(Display* display, int screen, const int* attributes, int* count) {
    if (windowSystem().failConfigs)
        return nullptr;
    return real(&glXChooseFBConfig, "glXChooseFBConfig")(display, screen, attributes, count);
}

const char* glXQueryExtensionsString(Display* display, int screen) {
    if (windowSystem().hideCreateContext)
        return "GLX_ARB_create_context_profile";
    return real(&glXQueryExtensionsString, "glXQueryExtensionsString")(display, screen);
}

Bool glXMakeCurrent(Display* display, GLXDrawable drawable, GLXContext context) {
    {
        const std::lock_guard lock(g_mutex);
        int& remaining = windowSystem().failMakeCurrentAfter;
        if (context && remaining == 0)
            return False;
        if (context && remaining > 0)
            --remaining;
    }
    return real(&glXMakeCurrent, "glXMakeCurrent")(display, drawable, context);
}

void glXDestroyContext(Display* display, GLXContext context) {
    count(&WindowSystem::contextsDestroyed);
    real(&glXDestroyContext, "glXDestroyContext")(display, context);
}

__GLXextFuncPtr glXGetProcAddressARB(const GLubyte* name) {
    if (std::strcmp(reinterpret_cast<const char*>(name), "glXCreateContextAttribsARB") == 0)
        return reinterpret_cast<__GLXextFuncPtr>(&Veltrand::Testing::createContextAttribs);
    return real(&glXGetProcAddressARB, "glXGetProcAddressARB")(name);
}
}
#pragma GCC visibility pop
